#include "tool/Table.h"

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "IWbemClassObject.h"
#include "shared/ObjectTree.h"
#include "tool/ValueText.h"

namespace one_request {
namespace {

constexpr char kHidden[] = "ReturnValue";
constexpr std::size_t kIndent = 2;
constexpr std::size_t kGap = 2;  // between columns

using Cells = std::vector<std::string>;

const ObjectArray* AsArray(const boost::any& value)
{
    return boost::any_cast<ObjectArray>(&value);
}

IWbemClassObject* const* AsNested(const boost::any& value)
{
    return boost::any_cast<IWbemClassObject*>(&value);
}

bool IsPlain(const boost::any& value)
{
    return AsArray(value) == nullptr && AsNested(value) == nullptr;
}

// Rows of cells, each column as wide as its widest cell; the last one is not padded.
void PrintRows(std::ostream& out, const std::vector<Cells>& rows, std::size_t indent)
{
    std::vector<std::size_t> widths;
    for (const Cells& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }

    for (const Cells& row : rows) {
        std::string line(indent, ' ');
        for (std::size_t i = 0; i < row.size(); ++i)
            line += row[i] + std::string(widths[i] - DisplayWidth(row[i]) + kGap, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

// The rows of the plain properties up to the next object; `property` moves past them.
template <typename Iterator>
std::vector<Cells> TakePlainRows(IWbemClassObject& object, Iterator& property)
{
    std::vector<Cells> rows;
    for (; object.hasNext(property) && IsPlain(property->second); ++property) {
        if (property->first != kHidden)
            rows.push_back({property->first, ValueText(property->first, property->second)});
    }
    return rows;
}

// The names that occur in the elements, in the order of their first occurrence.
Cells ColumnNames(const std::vector<IWbemClassObject*>& elements)
{
    Cells names;
    for (IWbemClassObject* const element : elements) {
        for (auto it = element->getIterator(); element->hasNext(it); ++it) {
            if (std::find(names.begin(), names.end(), it->first) == names.end())
                names.push_back(it->first);
        }
    }
    return names;
}

void PrintArray(std::ostream& out, const std::vector<IWbemClassObject*>& elements,
                std::size_t indent)
{
    const Cells names = ColumnNames(elements);
    std::vector<Cells> rows = {names};
    for (IWbemClassObject* const element : elements) {
        Cells row(names.size());
        for (auto it = element->getIterator(); element->hasNext(it); ++it) {
            const auto column = std::find(names.begin(), names.end(), it->first) - names.begin();
            row[static_cast<std::size_t>(column)] = ValueText(it->first, it->second);
        }
        rows.push_back(row);
    }
    PrintRows(out, rows, indent);
}

void PrintProperties(std::ostream& out, IWbemClassObject& object, std::size_t indent)
{
    auto property = object.getIterator();
    while (object.hasNext(property)) {
        PrintRows(out, TakePlainRows(object, property), indent);
        for (; object.hasNext(property) && !IsPlain(property->second); ++property) {
            out << std::string(indent, ' ') << property->first << '\n';
            if (const auto* const nested = AsNested(property->second))
                PrintProperties(out, **nested, indent + kIndent);
            else
                PrintArray(out, **AsArray(property->second), indent + kIndent);
        }
    }
}

}  // namespace

void PrintTable(std::ostream& out, IWbemClassObject& object)
{
    PrintProperties(out, object, 0);
}

}  // namespace one_request
