#include "trace/LogFile.h"

#include <fcntl.h>
#include <unistd.h>
#include <ext/stdio_filebuf.h>

#include "base/Files.h"
#include "base/StandardNumbers.h"

namespace qor {

namespace {

constexpr std::size_t kUnbuffered = 1;  // size of a stream buffer that holds nothing
constexpr mode_t kLogFileMode = 0666;   // before the umask, as streams make files

UniqueFd Duplicate(int file)
{
    return UniqueFd(::fcntl(file, F_DUPFD_CLOEXEC, kFirstOwnNumber));
}

UniqueFd OpenForAppending(const std::string& path)
{
    const StandardNumbers numbers;
    // Not blocking: opening a FIFO without a reader would wait. lseek(2) refuses a FIFO with a
    // reader.
    UniqueFd file(
        ::open(path.c_str(),
               O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY,
               kLogFileMode));
    if (file && file.get() < kFirstOwnNumber)
        file = Duplicate(file.get());  // GCOVR_EXCL_LINE: another thread has just closed the number
    return file && ::lseek(file.get(), 0, SEEK_END) >= 0 ? std::move(file) : UniqueFd();
}

// A stream cannot open close-on-exec, so it is given the open descriptor; without a buffer, since
// each record is one write.
bool Attach(std::ofstream& stream, UniqueFd file)
{
    // The buffer closes what it takes over, even if it then finds no memory.
    const int number = file.Release();
    __gnu_cxx::stdio_filebuf<char> opened(number, std::ios::out | std::ios::app, kUnbuffered);
    // GCOVR_EXCL_START: reached by the proof of faults, whose processes save no counters
    if (!opened.is_open()) {
        (void)UniqueFd(number).Close();
        return false;
    }
    // GCOVR_EXCL_STOP
    *stream.rdbuf() = std::move(opened);
    return stream.is_open();
}

std::shared_ptr<const int> Share(UniqueFd file)
{
    struct Owner {
        UniqueFd file;
        int number;
    };
    const int number = file.get();
    const auto owner = std::make_shared<const Owner>(Owner{std::move(file), number});
    return {owner, &owner->number};
}

// The position of the stream's file, which both descriptors share; negative if unknown.
std::streamoff PositionOf(SLogStream& stream)
{
    if (stream.fail())
        return -1;
    if (stream.descriptor != nullptr)
        return ::lseek(*stream.descriptor, 0, SEEK_CUR);
    return stream.tellp();
}

}  // namespace

void OpenLog(SLogFile& file, const std::string& directory)
{
    file.path = directory + "/" + file.name;
    file.stream.close();
    file.stream.clear();

    UniqueFd opened = OpenForAppending(file.path);
    UniqueFd second = opened ? Duplicate(opened.get()) : UniqueFd();
    if (!opened || !Attach(file.stream, std::move(opened)))
        file.stream.setstate(std::ios::failbit);
    else if (second)  // without a second one, records go through the stream
        file.stream.descriptor = Share(std::move(second));
}

bool IsFull(SLogFile& file, unsigned long length)
{
    if (!file.stream.is_open())
        return true;
    const std::streamoff position = PositionOf(file.stream);
    return position < 0 || length > kMaxFileSize ||
           static_cast<unsigned long>(position) > kMaxFileSize - length;
}

void WriteRecord(SLogFile& file, std::string_view record)
{
    if (!file.stream.is_open())
        return;

    // The record bypasses the stream, whose error would have to be cleared after a full disk: it
    // would look like an unknown position, and each further record would rotate an older file away.
    std::filebuf& buffer = *file.stream.rdbuf();
    (void)buffer.pubsync();
    if (file.stream.descriptor != nullptr) {
        (void)WriteAll(*file.stream.descriptor, record);
    } else {
        (void)buffer.sputn(record.data(), static_cast<std::streamsize>(record.size()));
        (void)buffer.pubsync();
    }
}

}  // namespace qor
