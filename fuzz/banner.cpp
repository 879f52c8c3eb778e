// Banner removal: COsInfo's changes of /etc/motd against the steps taken plainly, byte by byte. No
// command runs.
//   steps: "a" adds the block, "r" removes it, "q" asks for it, "m" puts the mark, "t" leaves text
//   in the scratch copy; then the block, "----", the banner
#include <gtest/gtest.h>

#include <string>

#include "COsInfo.h"
#include "support/FakeShell.h"
#include "support/Files.h"
#include "support/FuzzTarget.h"

namespace qor::fuzz {
namespace {

constexpr char kBanner[] = "/etc/motd";
constexpr char kScratch[] = "/tmp/motd";
constexpr char kMark[] = "/var/tmp/motds";
constexpr char kBlock[] = "/opt/velmora/qor/etc/motd.dat";
constexpr char kMarkText[] = "a qor mark\n";
constexpr char kLeftover[] = "left over\n";
constexpr std::size_t kMostSteps = 6;
constexpr std::size_t kLineLimit = 128;  // with the line's NUL

constexpr int kFound = 0;  // as grep(1) exits, in the status of system(3)
constexpr int kNotFound = 1 << 8;
constexpr int kNoFile = 2 << 8;

// The check's "grep qor MARK > BANNER > /dev/null": the shell empties the banner in any case.
int Grep(const std::string&)
{
    PutFile(kBanner, "");
    if (!test::Exists(kMark))
        return kNoFile;
    return test::ReadFile(kMark).find("qor") == std::string::npos ? kNotFound : kFound;
}

// A line at a time of at most 127 bytes, as a stream's getline takes them.
class Lines
{
public:
    explicit Lines(const std::string& text) : text_(text) {}

    bool good() const { return good_; }

    // The line up to its first NUL. After a line without a line feed the stream is no longer good.
    std::string Next()
    {
        std::string line;
        while (good_) {
            if (place_ == text_.size()) {
                good_ = false;
            } else if (text_[place_] == '\n') {
                ++place_;
                break;
            } else if (line.size() == kLineLimit - 1) {
                good_ = false;
            } else {
                line += text_[place_++];
            }
        }
        return line.c_str();
    }

private:
    std::string text_;
    std::size_t place_ = 0;
    bool good_ = true;
};

std::string WithoutBlocks(const std::string& text)
{
    std::string kept;
    Lines lines(text);
    while (lines.good()) {
        const std::string line = lines.Next();
        if (line.substr(0, 4) == "-qor") {
            while (lines.good() && lines.Next().substr(0, 4) != "qor-") {
            }
            (void)lines.Next();  // the line after the block goes too
        } else if (lines.good()) {
            kept += line + "\n";
        }
    }
    return kept;
}

// The files as they should be.
struct Model {
    std::string banner;
    std::string block;
    std::string scratch;
    bool marked;

    bool Ask()
    {
        banner.clear();
        const bool found = marked;
        marked = false;
        return found;
    }

    void Add()
    {
        if (!Ask())
            banner += block;
    }

    void Remove()
    {
        banner = WithoutBlocks(scratch + banner);
        scratch.clear();
    }
};

void Step(char step, COsInfo& host, Model& model)
{
    switch (step) {
        case 'a':
            host.motd(true);
            model.Add();
            break;
        case 'r':
            host.motd(false);
            model.Remove();
            break;
        case 'q':
            EXPECT_EQ(model.Ask(), host.isAlreadyMotd());
            break;
        case 'm':
            PutFile(kMark, kMarkText);
            model.marked = true;
            break;
        case 't':
            PutFile(kScratch, kLeftover);
            model.scratch = kLeftover;
            break;
        default:
            break;
    }
}

COsInfo& Host()
{
    static COsInfo host;
    return host;
}

}  // namespace

void Prepare()
{
    test::MakeDirs("/opt/velmora/qor/etc");
    test::RemoveTree(kBanner);  // the host's file is no ordinary user's to write
    const FakeShell shell([](const std::string&) { return 0; });
    EXPECT_EQ("", Host().getName());  // uname(1) prints nothing here
}

void TestInput(Input input)
{
    const std::string steps = input.Text().substr(0, kMostSteps);
    const std::string block = input.Part();
    const std::string banner = input.Rest();
    PutFile(kBlock, block);
    PutFile(kBanner, banner);
    test::RemoveTree(kMark);
    test::RemoveTree(kScratch);

    const FakeShell shell(Grep);
    Model model = {banner, block, "", false};
    for (const char step : steps) {
        Step(step, Host(), model);
        EXPECT_EQ(model.banner, test::ReadFile(kBanner)) << steps << " of " << Shown(banner);
        EXPECT_EQ(!model.scratch.empty(), test::Exists(kScratch));
        EXPECT_EQ(model.marked, test::Exists(kMark));
    }
}

}  // namespace qor::fuzz
