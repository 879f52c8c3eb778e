#include "CPipeStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Cancellation.h"
#include "support/Descriptors.h"
#include "support/Files.h"
#include "support/HostTest.h"
#include "support/Interrupts.h"
#include "support/Memcheck.h"
#include "support/PrivateDiskTest.h"
#include "support/Processes.h"
#include "support/WaitUntil.h"

namespace qor::test {
namespace {

using State = std::ios::iostate;

constexpr int kEof = -1;
constexpr char kData[] = "/opt/data";
constexpr char kFifo[] = "/opt/fifo";

static_assert(std::is_convertible<const char*, CPipeStream>::value, "a command will do");
static_assert(std::is_base_of<std::streambuf, CPipeStream>::value, "");
static_assert(std::is_base_of<std::iostream, CPipeStream>::value, "");
static_assert(std::is_same<decltype(&CPipeStream::underflow), int (CPipeStream::*)()>::value, "");
static_assert(std::is_same<decltype(&CPipeStream::uflow), int (CPipeStream::*)()>::value, "");
static_assert(std::is_same<decltype(&CPipeStream::init), void (CPipeStream::*)()>::value, "");
static_assert(std::is_same<decltype(&CPipeStream::close), void (CPipeStream::*)()>::value, "");
static_assert(std::is_same<decltype(&CPipeStream::open), void (CPipeStream::*)(const char*)>::value,
              "");

// The stream as its users have it: the child, which comes back from the constructor as well, ends
// there.
class CommandStream : public CPipeStream
{
public:
    explicit CommandStream(const char* command) : CommandStream(command, ::getpid()) {}

    const char* start() const { return eback(); }
    const char* current() const { return gptr(); }
    const char* end() const { return egptr(); }
    void ForgetGetArea() { setg(nullptr, nullptr, nullptr); }

private:
    CommandStream(const char* command, pid_t caller) : CPipeStream(command)
    {
        if (::getpid() != caller)
            ::_exit(0);
    }
};

// The rest of the output, with istream::read.
std::string ReadAll(std::istream& stream)
{
    std::string text;
    char block[1000];
    while (stream.read(block, sizeof block) || stream.gcount() > 0)
        text.append(block, static_cast<std::size_t>(stream.gcount()));
    return text;
}

std::string OutputOf(const char* command)
{
    CommandStream stream(command);
    return ReadAll(stream);
}

// What no later text repeats at a distance of a buffer: lost or doubled bytes show.
std::string LongText(std::size_t length)
{
    std::string text;
    for (int i = 0; text.size() < length; ++i)
        text += std::to_string(i) + (i % 7 == 0 ? "\n" : " ");
    text.resize(length);
    return text;
}

// The descriptors that are open now and were not in `before`: of a stream the output's read end,
// then the input's write end, or the other way round.
std::vector<int> Opened(const DescriptorMap& before)
{
    std::vector<int> numbers;
    for (const auto& item : OpenDescriptors()) {
        if (before.count(item.first) == 0)
            numbers.push_back(item.first);
    }
    return numbers;
}

int OnlyReadable(const std::vector<int>& descriptors)
{
    for (const int descriptor : descriptors) {
        if ((::fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY)
            return descriptor;
    }
    return -1;
}

// Waits for one child, without leaving it a zombie.
int StatusOfNextChild()
{
    int status = -1;
    return ::waitpid(-1, &status, 0) > 0 ? status : -1;
}

bool HasNoChild()
{
    return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

// A child of a stream that was closed is waited for by nobody but the test.
class CPipeStreamTest : public PrivateDiskTest
{
protected:
    ~CPipeStreamTest() override
    {
        EXPECT_TRUE(WaitUntil([] {
            while (::waitpid(-1, nullptr, WNOHANG) > 0) {
            }
            return HasNoChild();
        }));
    }

    // A command "cat /opt/fifo" runs until LetFifoGo().
    void MakeFifo() { ASSERT_EQ(0, ::mkfifo(kFifo, 0600)); }
    void LetFifoGo() { OwnedFd(::open(kFifo, O_WRONLY | O_CLOEXEC)); }
};

// The stream itself.

TEST_F(CPipeStreamTest, IsItsOwnBufferAndItsOwnStream)
{
    CommandStream stream(nullptr);
    std::streambuf* const buffer = &stream;

    EXPECT_EQ(buffer, stream.rdbuf());
    EXPECT_EQ(static_cast<void*>(static_cast<CPipeStream*>(&stream)), static_cast<void*>(buffer));
}

TEST_F(CPipeStreamTest, BeginsWithAnEmptyGetAreaOf32Bytes)
{
    for (const char* command : {static_cast<const char*>(nullptr), "echo text"}) {
        CommandStream stream(command);
        ASSERT_NE(nullptr, stream.start());
        EXPECT_EQ(32, stream.end() - stream.start());
        EXPECT_EQ(stream.end(), stream.current());
    }
}

TEST_F(CPipeStreamTest, StaysBadAndStartsNothingWithoutACommand)
{
    const DescriptorMap before = OpenDescriptors();
    CommandStream stream(nullptr);

    EXPECT_EQ(std::ios::badbit, stream.rdstate());
    EXPECT_TRUE(HasNoChild());
    EXPECT_EQ("", DescriptorChanges(before, OpenDescriptors()));
    EXPECT_EQ("", ReadAll(stream));
}

TEST_F(CPipeStreamTest, OpensLaterWhatWasMadeWithoutACommand)
{
    const pid_t self = ::getpid();
    CommandStream stream(nullptr);
    stream.open("echo later");
    if (::getpid() != self)
        ::_exit(0);

    EXPECT_EQ(std::ios::goodbit, stream.rdstate());
    EXPECT_EQ("later\n", ReadAll(stream));
}

TEST_F(CPipeStreamTest, GoesOnWhenItIsOpenedWithoutACommand)
{
    CommandStream stream("echo text");
    stream.open(nullptr);

    EXPECT_EQ(std::ios::goodbit, stream.rdstate());
    EXPECT_EQ("text\n", ReadAll(stream));
}

TEST_F(CPipeStreamTest, MakesTwoPipesThatAreCloseOnExec)
{
    const DescriptorMap before = OpenDescriptors();
    {
        CommandStream stream(nullptr);
        stream.init();
        const std::vector<int> ends = Opened(before);
        ASSERT_EQ(4U, ends.size());
        for (const int end : ends)
            EXPECT_EQ(FD_CLOEXEC, ::fcntl(end, F_GETFD));
        EXPECT_EQ(std::ios::badbit, stream.rdstate());
    }
    for (const int end : Opened(before))
        EXPECT_EQ(0, ::close(end));  // those that open gives to the command
}

TEST_F(CPipeStreamTest, KeepsTwoDescriptorsThatAreCloseOnExec)
{
    const DescriptorMap before = OpenDescriptors();
    CommandStream stream("echo text");

    const std::vector<int> ends = Opened(before);
    ASSERT_EQ(2U, ends.size());
    for (const int end : ends)
        EXPECT_EQ(FD_CLOEXEC, ::fcntl(end, F_GETFD));
}

TEST_F(CPipeStreamTest, CannotBeWrittenTo)
{
    MakeFifo();
    CommandStream stream("cat /opt/fifo");

    EXPECT_FALSE(stream << "text");
    EXPECT_TRUE(stream.bad());
    stream.clear();
    EXPECT_FALSE(stream.put('t'));
    EXPECT_TRUE(stream.bad());
    stream.clear();
    EXPECT_FALSE(stream.write("text", 4));
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(kEof, stream.sputc('t'));
    EXPECT_EQ(0, stream.sputn("text", 4));
    LetFifoGo();
}

TEST_F(CPipeStreamTest, CannotBePositioned)
{
    CommandStream stream("echo text");

    EXPECT_EQ(std::streampos(-1), stream.tellg());
    EXPECT_EQ(std::streampos(-1), stream.tellp());
    EXPECT_FALSE(stream.seekg(0));
    stream.clear();
    EXPECT_FALSE(stream.seekp(0));
    stream.clear();
    EXPECT_EQ("text\n", ReadAll(stream));
}

// Reading.

TEST_F(CPipeStreamTest, ReadsTheOutputOfAShellCommandLine)
{
    CommandStream stream(
        "echo $((6 * 7)) words; echo a second line | tr a b; echo >&2; printf end");
    int number = 0;
    std::string word;
    std::string line;

    EXPECT_TRUE(stream >> number >> word);
    EXPECT_EQ(42, number);
    EXPECT_EQ("words", word);
    EXPECT_TRUE(std::getline(stream, line) && std::getline(stream, line));
    EXPECT_EQ("b second line", line);
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_EQ("end", line);
    EXPECT_FALSE(std::getline(stream, line));
}

TEST_F(CPipeStreamTest, EndsAtOnceAndDoesNotFailForACommandWithoutOutput)
{
    for (const char* command : {"true", "exit 3", "", "/opt/absent 2>/dev/null", "kill -9 $$"}) {
        SCOPED_TRACE(command);
        CommandStream stream(command);
        EXPECT_EQ(kEof, stream.peek());
        EXPECT_EQ(std::ios::eofbit, stream.rdstate());
    }
}

TEST_F(CPipeStreamTest, KeepsItsStateWhenUnderflowMeetsTheEnd)
{
    CommandStream stream("true");

    for (const State state : {std::ios::goodbit, std::ios::failbit, std::ios::eofbit}) {
        stream.clear(state);
        EXPECT_EQ(kEof, stream.underflow());
        EXPECT_EQ(kEof, stream.uflow());
        EXPECT_EQ(state, stream.rdstate());
    }
}

TEST_F(CPipeStreamTest, DeliversOutputOfAnyLength)
{
    for (const std::size_t length : {1U, 31U, 32U, 33U, 63U, 64U, 65U, 1000U, 65535U, 65537U}) {
        SCOPED_TRACE(length);
        const std::string text = LongText(length);
        WriteFile(kData, text);
        EXPECT_EQ(text, OutputOf("cat /opt/data"));
    }
}

TEST_F(CPipeStreamTest, DeliversMoreThanAPipeHoldsWithEachWayToRead)
{
    using Way = std::string (*)(std::istream&);
    static const struct {
        const char* name;
        Way read;
    } ways[] = {
        {"read", ReadAll},
        {"get",
         [](std::istream& stream) {
             std::string text;
             for (char byte; stream.get(byte);)
                 text += byte;
             return text;
         }},
        {"getline",
         [](std::istream& stream) {
             std::string text;
             for (std::string line; std::getline(stream, line);)
                 text += line + (stream.eof() ? "" : "\n");
             return text;
         }},
        {">>",
         [](std::istream& stream) {
             std::string text;
             for (std::string line; stream >> std::noskipws >> line;) {
                 text += line;
                 if (stream.peek() != kEof)
                     text += static_cast<char>(stream.get());
             }
             return text;
         }},
        {"rdbuf",
         [](std::istream& stream) {
             std::ostringstream text;
             text << stream.rdbuf();
             return text.str();
         }},
    };
    const std::string text = LongText(300000);
    WriteFile(kData, text);
    for (const auto& way : ways) {
        SCOPED_TRACE(way.name);
        CommandStream stream("cat /opt/data");
        EXPECT_TRUE(text == way.read(stream));  // a difference would fill the screen
    }
}

TEST_F(CPipeStreamTest, DeliversOutputThatComesInPieces)
{
    std::string text;
    for (int i = 0; i < 200; ++i)
        text += "piece " + std::to_string(i) + "\n";

    EXPECT_EQ(text, OutputOf("i=0; while [ $i -lt 200 ]; do echo piece $i; i=$((i + 1)); done"));
}

TEST_F(CPipeStreamTest, RefillsWithWhatIsThereAtTheMost32Bytes)
{
    MakeFifo();
    WriteFile(kData, std::string(40, 'x'));
    CommandStream stream("cat /opt/data; cat /opt/fifo; printf 12345");

    EXPECT_EQ('x', stream.underflow());
    EXPECT_EQ(32, stream.end() - stream.current());
    EXPECT_EQ(stream.start(), stream.current());
    EXPECT_TRUE(stream.ignore(32));
    EXPECT_EQ('x', stream.underflow());
    EXPECT_EQ(8, stream.end() - stream.current());
    EXPECT_EQ(stream.start(), stream.current());
    LetFifoGo();
    EXPECT_EQ("xxxxxxxx12345", ReadAll(stream));
}

// Bytes of 0x80 and above. cat(1) writes up to PIPE_BUF bytes at once, so that every 32nd byte is
// the first of a refill.

TEST_F(CPipeStreamTest, KeepsTheBytesFrom0x80To0xfeAtARefill)
{
    std::string text;
    for (int byte = 0x80; byte <= 0xfe; ++byte)
        text += static_cast<char>(byte) + std::string(31, 'x');
    ASSERT_LT(text.size(), static_cast<std::size_t>(PIPE_BUF));
    WriteFile(kData, text);

    EXPECT_EQ(text, OutputOf("cat /opt/data"));
}

TEST_F(CPipeStreamTest, ReturnsBytesFrom0x80To0xfeAsNegativeNumbersFromUnderflow)
{
    std::string text;
    for (int byte = 0; byte <= 0xfe; ++byte)
        text += static_cast<char>(byte);
    WriteFile(kData, text);
    CommandStream stream("cat /opt/data");

    for (int byte = 0; byte <= 0xfe; ++byte) {
        const int number = byte < 0x80 ? byte : byte - 0x100;
        EXPECT_EQ(number, stream.underflow());  // at a refill and after one
        EXPECT_EQ(number, stream.underflow());  // which stays where it is
        EXPECT_EQ(number, stream.uflow());
    }
    EXPECT_EQ(kEof, stream.uflow());
    EXPECT_EQ(std::ios::goodbit, stream.rdstate());
}

TEST_F(CPipeStreamTest, EndsAtAByte0xffThatBeginsARefill)
{
    for (const std::size_t length : {0U, 32U, 64U}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        WriteFile(kData, text + "\xff" + "more");
        CommandStream stream("cat /opt/data");
        EXPECT_EQ(text, ReadAll(stream));
        EXPECT_EQ(std::ios::eofbit | std::ios::failbit, stream.rdstate());
    }
}

TEST_F(CPipeStreamTest, LooksEndedButNotFailedAtAByte0xffThatBeginsARefill)
{
    WriteFile(kData, "\xffmore");
    CommandStream stream("cat /opt/data");

    EXPECT_EQ(kEof, stream.peek());
    EXPECT_EQ(std::ios::eofbit, stream.rdstate());
}

TEST_F(CPipeStreamTest, KeepsAByte0xffWithinARefillButUnderflowAndUflowStopThere)
{
    WriteFile(kData, "a\xff\xfe");
    EXPECT_EQ("a\xff\xfe", OutputOf("cat /opt/data"));

    CommandStream stream("cat /opt/data");
    EXPECT_EQ('a', stream.uflow());
    EXPECT_EQ(kEof, stream.underflow());
    EXPECT_EQ(kEof, stream.uflow());
    EXPECT_EQ(kEof, stream.uflow());
    EXPECT_EQ(std::ios::goodbit, stream.rdstate());
    EXPECT_EQ("\xff\xfe", ReadAll(stream));
}

// Failures of reading.

TEST_F(CPipeStreamTest, SetsFailbitBesideTheOthersWhenReadingFails)
{
    MakeFifo();
    const DescriptorMap before = OpenDescriptors();
    CommandStream stream("cat /opt/fifo");
    const int output = OnlyReadable(Opened(before));
    ASSERT_EQ(0, ::fcntl(output, F_SETFL, O_NONBLOCK));  // read(2) fails with EAGAIN

    EXPECT_EQ(kEof, stream.underflow());
    EXPECT_EQ(std::ios::failbit, stream.rdstate());
    stream.clear(std::ios::eofbit);
    EXPECT_EQ(kEof, stream.uflow());
    EXPECT_EQ(std::ios::failbit | std::ios::eofbit, stream.rdstate());

    ASSERT_EQ(0, ::fcntl(output, F_SETFL, 0));
    stream.clear();
    OwnedFd fifo(::open(kFifo, O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(5, ::write(fifo.get(), "text\n", 5));
    fifo.Reset();
    EXPECT_EQ("text\n", ReadAll(stream));
}

// A handler without SA_RESTART.
TEST_F(CPipeStreamTest, ReadsOnAfterASignal)
{
    QOR_SKIP_WITHOUT_OWN_CALLS();
    MakeFifo();
    ChildProcess child([] {
        CatchInterrupts();
        return OutputOf("cat /opt/fifo") == "text\n" ? 0 : 1;
    });
    EXPECT_TRUE(InterruptIn(child, SYS_read));
    WriteFile(kFifo, "text\n");

    EXPECT_EQ(0, child.Wait());
}

TEST_F(CPipeStreamTest, EndsWithAThreadThatIsCancelledWhileItReads)
{
    const auto run = RunCancelled([] { (void)OutputOf("cat"); });

    EXPECT_FALSE(run.returned);
    EXPECT_TRUE(run.cancelled);
    EXPECT_EQ(SIGTERM, WTERMSIG(StatusOfNextChild()));
}

TEST_F(CPipeStreamTest, IsOpenedAndClosedOnACancelledThread)
{
    ExpectCompleteWhenCancelled([] { CommandStream("true").close(); });
}

TEST_F(CPipeStreamTest, EndsWithoutAGetArea)
{
    CommandStream stream("echo text");
    stream.ForgetGetArea();

    EXPECT_EQ(kEof, stream.underflow());
    EXPECT_EQ(kEof, stream.uflow());
    EXPECT_EQ(std::ios::goodbit, stream.rdstate());
}

// The command's side.

TEST_F(CPipeStreamTest, GivesTheCommandAnOpenEmptyStandardInput)
{
    const std::string read = OutputOf("LC_ALL=C dd iflag=nonblock bs=1 count=1 2>&1");
    EXPECT_NE(std::string::npos, read.find("Resource temporarily unavailable")) << read;
    EXPECT_EQ(0U, OutputOf("readlink /proc/self/fd/0").rfind("pipe:[", 0))
        << OutputOf("readlink /proc/self/fd/0");
}

TEST_F(CPipeStreamTest, EndsTheCommandsInputOnClose)
{
    CommandStream stream("echo started; cat > /opt/input; : > /opt/over");
    EXPECT_EQ('s', stream.get());
    EXPECT_FALSE(Exists("/opt/over"));
    stream.close();

    ASSERT_TRUE(WaitUntil([] { return Exists("/opt/over"); }));
    EXPECT_EQ("", ReadFile("/opt/input"));
}

TEST_F(CPipeStreamTest, GivesTheCommandNoDescriptorOfItsOwn)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind adds descriptors of its own");
    ASSERT_EQ(0, std::system("ls /proc/self/fd > /opt/plain"));

    CommandStream other("cat");
    EXPECT_EQ(ReadFile("/opt/plain"), OutputOf("ls /proc/self/fd"));
}

TEST_F(CPipeStreamTest, ServesAProgramWhoseStandardStreamsAreClosed)
{
    static const std::vector<int> cases[] = {{0}, {1}, {0, 1}, {1, 2}, {0, 2}, {0, 1, 2}};
    WriteFile(kData, LongText(1000));
    for (const std::vector<int>& closed : cases) {
        SCOPED_TRACE(testing::PrintToString(closed));
        EXPECT_EQ(0, InChild([&closed] {
                      for (const int descriptor : closed)
                          (void)::close(descriptor);
                      const std::string output = OutputOf(
                          "readlink /proc/self/fd/0; readlink /proc/self/fd/1; cat /opt/data");
                      WriteFile("/opt/result", output);
                      return 0;
                  }));

        std::istringstream result(ReadFile("/opt/result"));
        std::string input;
        std::string output;
        std::getline(result, input);
        std::getline(result, output);
        EXPECT_EQ(0U, input.rfind("pipe:[", 0)) << input;
        EXPECT_EQ(0U, output.rfind("pipe:[", 0)) << output;
        EXPECT_NE(input, output);
        EXPECT_EQ(LongText(1000), ReadAll(result));
    }
}

TEST_F(CPipeStreamTest, KeepsTwoStreamsApart)
{
    CommandStream first("echo first; cat");
    CommandStream second("echo second");
    std::string line;

    EXPECT_EQ("second\n", ReadAll(second));
    EXPECT_TRUE(std::getline(first, line));
    EXPECT_EQ("first", line);
}

TEST_F(CPipeStreamTest, LeavesTheEndsOfEarlierStreamsToItsChild)
{
    const DescriptorMap before = OpenDescriptors();
    CommandStream first("cat");
    const std::vector<int> ends = Opened(before);
    DescriptorMap now = OpenDescriptors();

    const std::string inherited = OutputOf("ls -l /proc/$PPID/fd");

    ASSERT_EQ(2U, ends.size());
    for (const int end : ends)
        EXPECT_NE(std::string::npos, inherited.find(now[end])) << inherited;
}

// The child.

TEST_F(CPipeStreamTest, ReturnsIntoTheCallersCodeInTheChildToo)
{
    const pid_t self = ::getpid();
    CPipeStream stream("echo command");
    if (::getpid() != self) {
        (void)::dprintf(STDOUT_FILENO, "%d %d\n", stream.rdstate() == std::ios::badbit,
                        ::getppid() == self);
        ::_exit(0);
    }

    EXPECT_EQ("command\n1 1\n", ReadAll(stream));
}

TEST_F(CPipeStreamTest, BindsTheChildsStandardStreamsToThePipes)
{
    QOR_SKIP_UNDER_MEMCHECK("valgrind adds descriptors of its own");
    const pid_t self = ::getpid();
    DescriptorMap before = OpenDescriptors();
    CPipeStream stream("true");
    if (::getpid() != self) {
        DescriptorMap mine = OpenDescriptors();
        (void)::dprintf(STDOUT_FILENO, "%s %s\n", mine[0].c_str(), mine[1].c_str());
        mine[0] = before[0];
        mine[1] = before[1];
        (void)::dprintf(STDOUT_FILENO, "%s", DescriptorChanges(before, mine).c_str());
        ::_exit(0);
    }

    const std::vector<int> ends = Opened(before);
    ASSERT_EQ(2U, ends.size());
    DescriptorMap now = OpenDescriptors();
    const int output = OnlyReadable(ends);
    const int input = ends[0] == output ? ends[1] : ends[0];
    EXPECT_EQ(now[input] + " " + now[output] + "\n", ReadAll(stream));
}

TEST_F(CPipeStreamTest, RunsTheCommandBeforeTheChildReturns)
{
    const pid_t self = ::getpid();
    CPipeStream stream(": > /opt/done");
    if (::getpid() != self)
        ::_exit(::dprintf(STDOUT_FILENO, "%d", Exists("/opt/done")) == 1 ? 7 : 8);

    EXPECT_EQ("1", ReadAll(stream));
    EXPECT_EQ(7, WEXITSTATUS(StatusOfNextChild()));
}

// In the child of `stream`: closes it and returns 7 when the child's own children know nothing of
// it.
int CloseBesideChildren(CPipeStream& stream) noexcept
{
    (void)::setpgid(0, 0);  // so that a signal to the group would go no further
    ChildProcess running([] { return ::pause(); });
    ChildProcess ended([] { return 5; });
    (void)WaitUntil([&ended] { return !ended.Running(); });
    stream.close();
    running.Kill(SIGKILL);
    return running.Wait() == 128 + SIGKILL && ended.Wait() == 5 ? 7 : 8;
}

TEST_F(CPipeStreamTest, SignalsNobodyWhenTheChildsCopyIsClosed)
{
    const pid_t self = ::getpid();
    CPipeStream stream("true");
    if (::getpid() != self)
        ::_exit(CloseBesideChildren(stream));

    EXPECT_EQ("", ReadAll(stream));
    EXPECT_EQ(7, WEXITSTATUS(StatusOfNextChild()));
}

TEST_F(CPipeStreamTest, LeavesOtherChildrenAloneWithoutACommand)
{
    // In a process name space of its own: kill(2) with -1 would reach everything.
    EXPECT_EQ(0, InChild([] {
                  if (::unshare(CLONE_NEWPID) != 0)
                      return 1;
                  return InChild([] {
                      int ends[2];
                      if (::pipe(ends) != 0)
                          return 2;
                      ChildProcess running([&ends] {
                          char byte;
                          return ::read(ends[0], &byte, 1) == 1 ? 5 : 6;
                      });
                      ChildProcess ended([] { return 7; });
                      (void)WaitUntil([&ended] { return !ended.Running(); });
                      {
                          CommandStream stream(nullptr);
                      }
                      if (::write(ends[1], "g", 1) != 1)
                          return 3;
                      EXPECT_EQ(5, running.Wait());  // a pending SIGTERM would come first
                      EXPECT_EQ(7, ended.Wait());
                      return 0;
                  });
              }));
}

// Closing.

TEST_F(CPipeStreamTest, IsBadOnceClosed)
{
    CommandStream stream("echo text");
    stream.close();
    EXPECT_EQ(std::ios::badbit, stream.rdstate());

    stream.clear(std::ios::eofbit);
    stream.close();
    EXPECT_EQ(std::ios::badbit, stream.rdstate());
}

TEST_F(CPipeStreamTest, WaitsForAChildThatHasEnded)
{
    CommandStream stream("echo text");
    siginfo_t info = {};
    ASSERT_EQ(0, ::waitid(P_ALL, 0, &info, WEXITED | WNOWAIT));
    stream.close();

    EXPECT_TRUE(HasNoChild());
}

TEST_F(CPipeStreamTest, SendsNoSignalToTheShellOfACommandThatStillRuns)
{
    MakeFifo();
    {
        CommandStream stream("echo started; cat /opt/fifo; : > /opt/over");
        EXPECT_EQ('s', stream.get());
    }
    EXPECT_EQ(SIGTERM, WTERMSIG(StatusOfNextChild()));
    EXPECT_FALSE(Exists("/opt/over"));
    LetFifoGo();

    EXPECT_TRUE(WaitUntil([] { return Exists("/opt/over"); }));
}

TEST_F(CPipeStreamTest, SendsNoSignalToAChildThatIsStopped)
{
    MakeFifo();
    CommandStream stream("echo $PPID; cat /opt/fifo");
    pid_t child = 0;
    ASSERT_TRUE(stream >> child);
    siginfo_t info = {};
    ASSERT_EQ(0, ::kill(child, SIGSTOP));
    ASSERT_EQ(0, ::waitid(P_PID, static_cast<id_t>(child), &info, WSTOPPED | WNOWAIT));
    stream.close();

    ASSERT_EQ(0, ::kill(child, SIGCONT));
    LetFifoGo();
    EXPECT_EQ(0, StatusOfNextChild());
}

TEST_F(CPipeStreamTest, DoesNotWaitForTheChildAfterTheSignal)
{
    MakeFifo();
    EXPECT_EQ(0, InChild([this] {
                  (void)::signal(SIGTERM, SIG_IGN);  // which the child inherits
                  {
                      CommandStream stream("cat /opt/fifo");
                  }
                  EXPECT_EQ(0, ::waitpid(-1, nullptr, WNOHANG));
                  LetFifoGo();
                  EXPECT_EQ(0, StatusOfNextChild());
                  return 0;
              }));
}

TEST_F(CPipeStreamTest, ClosesTheSameNumbersAgainWhenClosedTwice)
{
    const DescriptorMap before = OpenDescriptors();
    const OwnedFd file(::open("/dev/null", O_RDWR | O_CLOEXEC));
    DescriptorMap with = OpenDescriptors();
    CommandStream stream("echo text");
    const std::vector<int> numbers = Opened(with);
    ASSERT_EQ(2U, numbers.size());
    stream.close();
    EXPECT_EQ("", DescriptorChanges(with, OpenDescriptors()));

    for (const int number : numbers)
        ASSERT_EQ(number, ::dup2(file.get(), number));
    stream.close();
    EXPECT_EQ("", DescriptorChanges(with, OpenDescriptors()));
}

TEST_F(CPipeStreamTest, DoesNotThrowFromItsDestructor)
{
    {
        CommandStream stream("echo text");
        stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    }
    SUCCEED();  // an exception would have ended the program
}

// Failures of starting.

TEST_F(CPipeStreamTest, PrintsAPipeFailureAndStartsTheCommandAllTheSame)
{
    for (const int free : {0, 1, 2, 3}) {
        SCOPED_TRACE(free);
        RemoveTree("/opt/started");
        RemoveTree("/opt/input");
        EXPECT_EQ(0, InChild([free] {
                      const std::string errors = CaptureStderr([free] {
                          const DescriptorLimit limit(free);
                          CommandStream stream(
                              "[ -p /proc/self/fd/0 ] && touch /opt/input; touch /opt/started");
                          EXPECT_EQ(std::ios::goodbit, stream.rdstate());
                          EXPECT_EQ(kEof, stream.underflow());
                          EXPECT_EQ(std::ios::failbit, stream.rdstate());
                          siginfo_t info;
                          (void)::waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
                      });
                      EXPECT_EQ("pipe: Too many open files\n", errors);
                      EXPECT_TRUE(HasNoChild());
                      EXPECT_NE(-1, ::fcntl(STDIN_FILENO, F_GETFD));  // not taken for a pipe
                      return 0;
                  }));
        EXPECT_TRUE(Exists("/opt/started"));
        EXPECT_EQ(free >= 2, Exists("/opt/input"));  // the first pipe is the input's
    }
}

// For on_exit(3): shows what exit(3) was given, and that it was exit; the rest of what ends a
// program is the parent's.
void LeaveWith(int status, void*)
{
    ::_exit(status == 1 ? 11 : status);
}

// Makes a stream where no process can be started. The failure ends the calling process.
int StartWithoutFork()
{
    if (::on_exit(LeaveWith, nullptr) != 0)
        return 2;
    CommandStream stream("true");
    return 3;
}

TEST_F(CPipeStreamTest, EndsTheProcessWhenForkFailsAndPrintsWhy)
{
    EXPECT_EQ("fork: Cannot allocate memory\n", CaptureStderr([] {
                  EXPECT_EQ(11, InChild([] {
                                ForbidForking();
                                return StartWithoutFork();
                            }));
              }));
    EXPECT_EQ("fork: Resource temporarily unavailable\n",
              CaptureStderr([] { EXPECT_EQ(11, InChildWithoutProcesses(StartWithoutFork)); }));
}

}  // namespace
}  // namespace qor::test
