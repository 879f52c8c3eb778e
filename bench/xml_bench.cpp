// A whole XML document, node by node and attribute by attribute: the reader beside a plain loop
// over libxml2's text reader, which it is built on. That loop is the limit.
#include <libxml/parser.h>
#include <libxml/xmlreader.h>

#include <cstring>
#include <string>
#include <tuple>

#include "IXmlReader.h"
#include "support/Engine.h"
#include "support/Files.h"

namespace {

using qor::bench::Size;

constexpr char kDocument[] = "/opt/catalog.xml";
constexpr double kSeconds = 0.25;  // of one measurement at least: a walk is long

// What a program makes of a document; all that a walk was given shows in it.
struct Summary {
    std::size_t nodes = 0;
    std::size_t attributes = 0;
    std::size_t emptyElements = 0;
    std::size_t typeSum = 0;
    std::size_t textBytes = 0;
    std::size_t hash = 0;
    bool complete = false;

    void AddText(const char* text, std::size_t length)
    {
        textBytes += length;
        hash = hash * 31 + static_cast<unsigned char>(text[length == 0 ? 0 : length - 1]);
    }

    auto All() const
    {
        return std::tie(nodes, attributes, emptyElements, typeSum, textBytes, hash, complete);
    }
};

// The steps of a walk, by the library and by libxml2.

class Ours : public IXmlReader
{
public:
    int QueryInterface(const void*, void**) override { return -1; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }

    bool Open()
    {
        (void)FileStream::OpenFile(kDocument, nullptr, false);
        return SetInput(nullptr) == 0;
    }
    bool Next(int& type)
    {
        XmlNodeType next;
        const int result = Read(&next);
        ended_ = result == 1;
        type = static_cast<int>(next);
        return result == 0;
    }
    bool Ended() const { return ended_; }
    bool IsEmpty() { return IsEmptyElement(); }
    bool FirstAttribute() { return MoveToFirstAttribute() == 0; }
    bool NextAttribute() { return MoveToNextAttribute() == 0; }
    void ToElement() { (void)MoveToElement(); }
    void AddName(Summary& summary)
    {
        const char* text;
        unsigned int length;
        if (GetLocalName(&text, &length) == 0)
            summary.AddText(text, length);
    }
    void AddValue(Summary& summary)
    {
        const char* text;
        unsigned int length;
        if (GetValue(&text, &length) == 0)
            summary.AddText(text, length);
    }

private:
    bool ended_ = false;
};

// Frees what the parser keeps, too, as the end of a document does for the reader.
class Plain
{
public:
    Plain() = default;
    Plain(const Plain&) = delete;
    Plain& operator=(const Plain&) = delete;
    ~Plain()
    {
        xmlFreeTextReader(reader_);
        xmlCleanupParser();
    }

    bool Open() { return reader_ != nullptr; }
    bool Next(int& type)
    {
        const int result = xmlTextReaderRead(reader_);
        ended_ = result == 0;
        type = xmlTextReaderNodeType(reader_);
        return result == 1;
    }
    bool Ended() const { return ended_; }
    bool IsEmpty() { return xmlTextReaderIsEmptyElement(reader_) == 1; }
    bool FirstAttribute() { return xmlTextReaderMoveToFirstAttribute(reader_) == 1; }
    bool NextAttribute() { return xmlTextReaderMoveToNextAttribute(reader_) == 1; }
    void ToElement() { (void)xmlTextReaderMoveToElement(reader_); }
    void AddName(Summary& summary) { Add(summary, xmlTextReaderConstName(reader_)); }
    void AddValue(Summary& summary) { Add(summary, xmlTextReaderConstValue(reader_)); }

private:
    static void Add(Summary& summary, const xmlChar* text)
    {
        if (text != nullptr)
            summary.AddText(reinterpret_cast<const char*>(text),
                            std::strlen(reinterpret_cast<const char*>(text)));
    }

    const xmlTextReaderPtr reader_ = xmlReaderForFile(kDocument, nullptr, 0);
    bool ended_ = false;
};

// Elements, their ends and attributes are asked for their names, attributes and all others for
// their values.
template <typename Reader>
Summary Walk()
{
    Summary summary;
    Reader reader;
    if (!reader.Open())
        return summary;
    for (int type; reader.Next(type);) {
        ++summary.nodes;
        summary.typeSum += static_cast<std::size_t>(type);
        if (type != XmlNodeType_Element && type != XmlNodeType_EndElement) {
            reader.AddValue(summary);
            continue;
        }
        reader.AddName(summary);
        if (type != XmlNodeType_Element)
            continue;
        summary.emptyElements += reader.IsEmpty();
        for (bool more = reader.FirstAttribute(); more; more = reader.NextAttribute()) {
            ++summary.attributes;
            reader.AddName(summary);
            reader.AddValue(summary);
        }
        reader.ToElement();
    }
    summary.complete = reader.Ended();
    return summary;
}

static_assert(XmlNodeType_Element == static_cast<int>(XML_READER_TYPE_ELEMENT) &&
              XmlNodeType_EndElement == static_cast<int>(XML_READER_TYPE_END_ELEMENT));

// The running text on one package.
constexpr char kNote[] =
    "</b> had broken, and leaves the rest as it was. Servers that are up to date are passed over; "
    "all others restart once, after their services have come to rest. Packages of the same kind "
    "may be installed together.";

// A catalogue of update packages, with white space, entities, comments and a CDATA section each.
std::string Document(std::size_t size)
{
    std::string text = "<?xml version='1.0'?>\n<catalog>\n";
    for (int i = 0; text.size() < size; ++i) {
        const std::string number = std::to_string(i);
        text += "  <package id='" + number + "' kind='driver' version='1." + number + "'>\n";
        text += "    <name>Package &lt;" + number + "&gt;</name><reboot/>\n";
        text += "    <!-- checked --><text><![CDATA[Fixes what <b>" + number + kNote +
                "]]></text>\n  </package>\n";
    }
    return text + "</catalog>\n";
}

void Measure(benchmark::State& state, Summary (*walk)(), std::size_t size)
{
    qor::test::WriteFile(kDocument, Document(size));
    const Summary expected = Walk<Plain>();
    qor::bench::Measure(
        state, [&] { benchmark::DoNotOptimize(walk()); },
        [&] {
            return expected.complete && expected.attributes > 0 && walk().All() == expected.All();
        });
}

[[maybe_unused]] const bool kRegistered = [] {
    for (const Size& size : {Size{"16K", 1 << 14}, Size{"128K", 1 << 17}, Size{"1M", 1 << 20}}) {
        const auto add = [&](const char* who, Summary (*walk)()) {
            qor::bench::Add(std::string("xml.") + size.name, who, [=](auto& state) {
                Measure(state, walk, size.count);
            })->MinTime(kSeconds);
        };
        add("ours", Walk<Ours>);
        add("limit", Walk<Plain>);
    }
    return true;
}();

}  // namespace
