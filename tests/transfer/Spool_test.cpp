#include "transfer/Spool.h"

#include <string>

#include "support/FrozenTime.h"
#include "transfer/ChannelTest.h"

namespace qor::test {
namespace {

class CFileTransferNamesTest : public ChannelTest
{
protected:
    CFileTransfer channel_{kTag, kConfig};
};

TEST_F(CFileTransferNamesTest, OfTemporaryFilesAreStampTagAndExtension)
{
    static const struct {
        time_t seconds;
        suseconds_t microseconds;
        const char* tag;
        const char* name;
    } cases[] = {
        {1700000000, 42, "som", "00001700000000000042som.tmp"},
        {0, 0, "som", "00000000000000000000som.tmp"},
        {99999999999999, 999999, "cli", "99999999999999999999cli.tmp"},
        {1700000000, 999999, "", "00001700000000999999.tmp"},
        {1700000000, 42, "%s.tmp", "00001700000000000042%s.tmp.tmp"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CFileTransfer channel(c.tag, kConfig);
        const FrozenTime frozen(c.seconds, c.microseconds);
        std::string name = "replaced";
        channel.GetTmpFileName(name);
        EXPECT_EQ(c.name, name);
    }
}

TEST_F(CFileTransferNamesTest, OfMessagesAreCutBeforeTheFirstTmp)
{
    static const struct {
        const char* temporary;
        const char* message;
    } cases[] = {
        {"00001700000000000042som.tmp", "00001700000000000042som.snd"},
        {"a.tmp.tmp", "a.snd"},
        {"a.tmpb", "a.snd"},
        {".tmp", ".snd"},
        {"a", "a.snd"},
        {"a.TMP", "a.TMP.snd"},
        {"", ".snd"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.temporary);
        std::string name = "replaced";
        channel_.GetSndFileName(c.temporary, name);
        EXPECT_EQ(c.message, name);
    }
}

TEST_F(CFileTransferNamesTest, AreJoinedToDirectoriesByOneSlash)
{
    static const struct {
        const char* dir;
        const char* name;
        const char* path;
    } cases[] = {
        {"/opt/c", "a.snd", "/opt/c/a.snd"},
        {"/opt/c/", "a.snd", "/opt/c/a.snd"},
        {"/opt/c//", "a.snd", "/opt/c//a.snd"},
        {"/", "a.snd", "/a.snd"},
        {"", "a.snd", "/a.snd"},
        {"/opt/c", "", "/opt/c/"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        std::string path = c.name;
        channel_.AppendFullPath(c.dir, path);
        EXPECT_EQ(c.path, path);
    }
}

}  // namespace
}  // namespace qor::test
