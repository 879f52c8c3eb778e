#include "CTraceRead.h"

#include <fcntl.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "util/Handles.h"
#include "util/PieceReader.h"

namespace {

constexpr char kOperationSuffix[] = "_trc";
constexpr std::size_t kStampLength = 19;

// A stored record: time stamp, space, read code of ten characters, space, body.
constexpr std::size_t kBodyOffset = 31;

std::string_view WithoutLineFeed(std::string_view line)
{
    return line.substr(0, line.find('\n'));
}

// Whether a line belongs to a time before `date`; an order of bytes, as strncmp(3) has it.
bool IsBefore(std::string_view line, std::string_view date)
{
    return line.substr(0, kStampLength) < date.substr(0, kStampLength);
}

bool HasReadType(std::string_view line, unsigned int readType)
{
    const auto code = line.find("0x");
    if (code == std::string_view::npos)
        return false;
    const auto space = line.find(' ', code);
    if (space == std::string_view::npos)
        return false;

    const std::string digits(line.substr(code, space - code));
    return (std::strtoul(digits.c_str(), nullptr, 16) & readType) != 0;
}

// The body of a selected record, behind the read code.
std::string_view Body(std::string_view line)
{
    if (line.size() < kBodyOffset)
        throw std::out_of_range("operation log record of 30 bytes or fewer");  // Intended.
    return line.substr(kBodyOffset);
}

std::string WithoutReadCode(std::string_view line)
{
    const std::string_view body = Body(line);
    std::string record;
    record.reserve(kStampLength + 1 + body.size());
    record.append(line.substr(0, kStampLength + 1)).append(body);
    return record;
}

// Calls use(line) for each line of a file, in pieces and without line feeds, from `fromDate` on
// unless it is null.
template <typename Use>
void ForEachLine(const std::string& path, const char* fromDate, Use use)
{
    const qor::UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return;

    qor::PieceReader pieces(file.get());
    std::string_view piece;
    while (pieces.Next(piece)) {
        const std::string_view line = qor::BeforeNul(piece);
        if (fromDate == nullptr || !IsBefore(line, fromDate))
            use(WithoutLineFeed(line));
    }
}

}  // namespace

CTraceRead::CTraceRead(const char* component) : CTraceBase(component) {}

CTraceRead::~CTraceRead() = default;

void CTraceRead::ReadOperationLog(unsigned int readType, unsigned int maxRecords,
                                  std::list<std::string>& out, std::string* fromDate)
{
    records_.clear();
    if (fromDate == nullptr)
        return;

    std::list<std::string> files;
    (void)GetFileList(component_.c_str(), kOperationSuffix, files);  // none when it fails
    if (files.empty()) {
        CTraceUtility::WriteDebug(component_.c_str(), CTraceUtility::TRACE_DBG_INFO,
                                  "void CTraceRead::ReadOperationLog(unsigned int, unsigned int, "
                                  "std::list<std::string>&, std::string*) GetFileList empty (%s%s)",
                                  component_.c_str(), kOperationSuffix);
        return;
    }

    while (!files.empty() && files.back().find(".gz") != std::string::npos)
        files.pop_back();
    if (files.empty())
        return;

    // All lines are looked at, also behind the last record wanted: a short one must be told.
    const char* const from = IsDateFormat(*fromDate) ? fromDate->c_str() : nullptr;
    ForEachLine(logDirectory_ + "/" + files.back(), from, [&](std::string_view line) {
        if (!HasReadType(line, readType))
            return;
        if (records_.size() < maxRecords)
            records_.push_back(WithoutReadCode(line));
        else
            (void)Body(line);
    });
    out.splice(out.end(), records_);
}

bool CTraceRead::IsDateFormat(std::string text)
{
    return text.size() >= kStampLength && text[4] == '/' && text[7] == '/' && text[10] == ' ' &&
           text[13] == ':' && text[16] == ':';
}

void CTraceRead::ReadLog(std::string fileName, std::list<std::string>& lines, const char* fromDate)
{
    ForEachLine(logDirectory_ + "/" + fileName, fromDate,
                [&](std::string_view line) { lines.emplace_back(line); });
}

void CTraceRead::ReadLog(std::string fileName, std::list<std::string>& lines)
{
    ReadLog(std::move(fileName), lines, nullptr);
}

void CTraceRead::SelectReadType(unsigned int readType, std::list<std::string>& lines)
{
    for (const std::string& line : lines) {
        if (HasReadType(line, readType))
            records_.push_back(WithoutReadCode(line));
    }
}

void CTraceRead::DeleteMaxRecord(int maxRecords, std::list<std::string>& out)
{
    for (const std::string& record : records_) {
        if (maxRecords < 1)
            return;
        out.push_back(record);
        --maxRecords;
    }
}

void CTraceRead::DeleteNewLine(char* text)
{
    if (text != nullptr)
        text[std::strcspn(text, "\n")] = '\0';
}
