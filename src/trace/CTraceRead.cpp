#include "CTraceRead.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "base/CancelGuard.h"
#include "base/Files.h"
#include "base/Handles.h"
#include "base/PieceReader.h"
#include "trace/LogFile.h"
#include "trace/OperationLog.h"
#include "trace/TraceScope.h"

namespace {

constexpr char kReadOperationLog[] =
    "void CTraceRead::ReadOperationLog(unsigned int, unsigned int, std::list<std::string>&, "
    "std::string*)";
constexpr std::size_t kStampLength = 19;

// Bytes of one read, too many for the stack: logs are long.
constexpr std::size_t kBlock = 0x10000;

// Bytes. A longer working list reserves room for its whole log, so that growing does not copy it
// again and again.
constexpr std::size_t kManyTexts = 0x1000;

// A stored record: time stamp, space, read code of ten characters, space, body.
constexpr std::size_t kBodyOffset = 31;

// The line of a piece, as the C string functions see it, without its line feed.
std::string_view LineOf(std::string_view piece)
{
    const std::string_view line = qor::BeforeNul(piece);
    return line.substr(0, line.size() - (!line.empty() && line.back() == '\n'));
}

// Position of the first "0x". Searched by its "x", because time stamps are full of zeros.
std::size_t FindReadCode(std::string_view line)
{
    auto x = line.find('x', 1);
    while (x != std::string_view::npos && line[x - 1] != '0')
        x = line.find('x', x + 1);
    return x == std::string_view::npos ? x : x - 1;
}

// Whether the hexadecimal number of the first "0x", which a space must follow, shares a bit with
// `readType`.
bool HasReadType(std::string_view line, unsigned int readType)
{
    const auto code = FindReadCode(line);
    if (code == std::string_view::npos)
        return false;

    unsigned long value = 0;  // without digits
    const char* const digits = line.data() + code + 2;
    const auto parsed = std::from_chars(digits, line.data() + line.size(), value, 16);
    if (parsed.ec == std::errc::result_out_of_range)
        value = ULONG_MAX;  // as strtoul(3)
    return (value & readType) != 0 && line.find(' ', code) != std::string_view::npos;
}

// The record of a selected line.
qor::StoredRecord RecordOf(std::string_view line)
{
    if (line.size() < kBodyOffset)
        throw std::out_of_range("operation log record of 30 bytes or fewer");  // Intended.
    return {line.substr(0, kStampLength + 1), line.substr(kBodyOffset)};
}

// Appends to the working list of a log of `size` bytes. Returns the record's text there.
std::string_view Keep(const qor::StoredRecord& record, std::size_t size, std::string& texts,
                      std::vector<std::size_t>& ends)
{
    const std::size_t begin = ends.empty() ? 0 : ends.back();
    texts.resize(begin);  // drops what a failure has left
    const std::size_t room = std::min(size, std::size_t{qor::kMaxFileSize});
    if (begin > kManyTexts && texts.capacity() < room)
        texts.reserve(room);  // the kernel gives memory only where it is used
    texts.append(record.stamp).append(record.body);
    ends.push_back(texts.size());
    return std::string_view(texts).substr(begin);
}

bool IsDate(std::string_view text)
{
    return text.size() >= kStampLength && text[4] == '/' && text[7] == '/' && text[10] == ' ' &&
           text[13] == ':' && text[16] == ':';
}

// Calls use(piece, size) for each piece of the file, or for those that do not compare lower than
// `fromDate` in their first 19 bytes, as strncmp(3) compares. size: of the file, in bytes.
template <typename Use>
void ForEachPiece(const std::string& path, const char* fromDate, Use use)
{
    const qor::CancelGuard guard;
    struct stat status;
    // A FIFO or device could feed the reader without end.
    const qor::UniqueFd file =
        qor::OpenRegular(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY, status);
    if (!file)
        return;

    const auto date = std::string_view(fromDate == nullptr ? "" : fromDate).substr(0, kStampLength);
    const auto size = static_cast<std::size_t>(status.st_size);
    const auto pieces = std::make_unique<qor::PieceReaderOf<kBlock>>(file.get());
    std::string_view piece;
    while (pieces->Next(piece)) {
        // A NUL inside the stamp is lower than any byte of a date: no need to look for it.
        if (!(piece.substr(0, date.size()) < date))
            use(piece, size);
    }
}

}  // namespace

namespace qor {

void ReadRecords(CTraceBase& logs, const std::string& directory, const std::string& component,
                 unsigned int readType, const std::string& fromDate,
                 const std::function<void(const StoredRecord&, std::size_t size)>& use)
{
    std::list<std::string> files;
    (void)logs.GetFileList(component.c_str(), kOperationSuffix, files);  // none when it fails
    if (files.empty()) {
        TraceScope(component, kReadOperationLog)
            .Info("GetFileList empty (%s%s)", component.c_str(), kOperationSuffix);
        return;
    }
    const auto newest = std::find_if_not(files.rbegin(), files.rend(), IsCompressed);
    if (newest == files.rend())
        return;

    const char* const from = IsDate(fromDate) ? fromDate.c_str() : nullptr;
    ForEachPiece(directory + "/" + *newest, from, [&](std::string_view piece, std::size_t size) {
        if (!HasReadType(piece, readType))
            return;
        // A NUL can only hide the code: only selected pieces are searched for one.
        const std::string_view line = LineOf(piece);
        if (line.size() + 1 >= piece.size() || HasReadType(line, readType))
            use(RecordOf(line), size);
    });
}

}  // namespace qor

CTraceRead::CTraceRead(const char* component) : CTraceBase(component) {}

CTraceRead::~CTraceRead() = default;

void CTraceRead::ReadOperationLog(unsigned int readType, unsigned int maxRecords,
                                  std::list<std::string>& out, std::string* fromDate)
{
    ends_.clear();  // Keep then drops the texts
    if (fromDate == nullptr)
        return;
    std::list<std::string> found;
    qor::ReadRecords(*this, logDirectory_, component_, readType, *fromDate,
                     [&](const qor::StoredRecord& record, std::size_t size) {
                         const std::string_view text = Keep(record, size, records_, ends_);
                         if (found.size() < maxRecords)
                             found.emplace_back(text);
                     });
    out.splice(out.end(), found);
}

bool CTraceRead::IsDateFormat(std::string text)
{
    return IsDate(text);
}

void CTraceRead::ReadLog(std::string fileName, std::list<std::string>& lines, const char* fromDate)
{
    ForEachPiece(logDirectory_ + "/" + fileName, fromDate,
                 [&](std::string_view piece, std::size_t) { lines.emplace_back(LineOf(piece)); });
}

void CTraceRead::ReadLog(std::string fileName, std::list<std::string>& lines)
{
    ReadLog(std::move(fileName), lines, nullptr);
}

void CTraceRead::SelectReadType(unsigned int readType, std::list<std::string>& lines)
{
    for (const std::string& line : lines) {
        if (HasReadType(line, readType))
            (void)Keep(RecordOf(line), 0, records_, ends_);
    }
}

void CTraceRead::DeleteMaxRecord(int maxRecords, std::list<std::string>& out)
{
    std::size_t begin = 0;
    for (const std::size_t end : ends_) {
        if (maxRecords < 1)
            return;
        out.push_back(records_.substr(begin, end - begin));
        --maxRecords;
        begin = end;
    }
}

void CTraceRead::DeleteNewLine(char* text)
{
    if (text != nullptr)
        text[std::strcspn(text, "\n")] = '\0';
}
