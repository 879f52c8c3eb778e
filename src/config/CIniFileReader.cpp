#include "CIniFileReader.h"

#include <algorithm>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/PieceReader.h"
#include "config/IniSyntax.h"

namespace {

// The key is in the first column: the first bytes rule out most lines.
bool MatchKey(std::string_view line, const std::string& key, std::string& value)
{
    if (line.substr(0, key.size()) != key)
        return false;

    const auto pair = qor::ini::SplitKeyValue(qor::BeforeNul(line));
    if (!pair || pair->key != key)
        return false;

    value = pair->value;
    return true;
}

}  // namespace

CIniFileReader::CIniFileReader(const std::string& path) : opened_(false), path_(path) {}

CIniFileReader::~CIniFileReader() = default;

bool CIniFileReader::isOpen() const
{
    return opened_;
}

void CIniFileReader::checkfile(std::string& path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
}

int CIniFileReader::get_section_len(std::string line, int length)
{
    const auto bracket = line.find(']');
    return bracket == std::string::npos ? length : static_cast<int>(bracket) - 1;
}

bool CIniFileReader::find_str(const char* line, const std::string& key, std::string& value)
{
    return line != nullptr && MatchKey(line, key, value);
}

bool CIniFileReader::find_key(std::string key, std::string& value)
{
    const qor::CancelGuard guard;
    const qor::UniqueFd file = qor::OpenForReading(path_);
    opened_ = static_cast<bool>(file);
    if (!file)
        return false;

    qor::PieceReader pieces(file.get());
    std::string_view line;
    while (pieces.Next(line)) {
        if (MatchKey(line, key, value))
            return true;
    }
    return false;
}

bool CIniFileReader::find_section(std::string section, std::string key, std::string& value)
{
    const qor::CancelGuard guard;
    const qor::UniqueFd file = qor::OpenForReading(path_);
    opened_ = static_cast<bool>(file);
    if (!file)
        return false;

    qor::PieceReader pieces(file.get());
    std::string_view line;
    while (pieces.NextBeginningWith('[', section, line)) {
        if (!qor::ini::SectionName(qor::BeforeNul(line)).Means(section))
            continue;

        // Intended: the header that ends this loop is not examined; see the header file.
        while (pieces.Next(line) && !qor::ini::IsHeader(line)) {
            if (!qor::ini::IsComment(line) && MatchKey(line, key, value))
                return true;
        }
    }
    return false;
}

void CIniFileReader::list_section(std::list<std::string>& names)
{
    names.clear();

    const qor::CancelGuard guard;
    const qor::UniqueFd file = qor::OpenForReading(path_);
    opened_ = static_cast<bool>(file);
    if (!file)
        return;

    qor::PieceReader pieces(file.get());
    std::string_view line;
    while (pieces.NextBeginningWith('[', "", line))
        names.emplace_back(qor::ini::ListedName(qor::BeforeNul(line)));
}
