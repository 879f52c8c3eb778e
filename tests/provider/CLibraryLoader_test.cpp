#include "CLibraryLoader.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "provider/plugins/TestServices.h"
#include "support/Cancellation.h"
#include "support/Files.h"
#include "support/LogFiles.h"
#include "support/PrivateDiskTest.h"
#include "support/TestPaths.h"

namespace qor::test {
namespace {

using Texts = std::vector<std::string>;

static_assert(std::has_virtual_destructor<CLibraryLoader>::value, "");
static_assert(std::is_same<decltype(&CLibraryLoader::GetPvdInstance),
                           ISomServices* (*(CLibraryLoader::*)())()>::value,
              "");
static_assert(std::is_same<decltype(&CLibraryLoader::GetVendorInstance),
                           void* (*(CLibraryLoader::*)())(const char*, const char*)>::value,
              "");

const std::string kConstructor = "CLibraryLoader::CLibraryLoader(std::string, const char*)";
const std::string kDestructor = "virtual CLibraryLoader::~CLibraryLoader()";
const std::string kGetPvd = "ISomServices* (* CLibraryLoader::GetPvdInstance())()";
const std::string kGetVendor =
    "void* (* CLibraryLoader::GetVendorInstance())(const char*, const char*)";

const std::string kMissing = "/opt/missing.so";
const std::string kMissingText =
    kMissing + ": cannot open shared object file: No such file or directory";

std::string Enter(const std::string& text)
{
    return "--FUNC-- [ENTER] " + text;
}

std::string Leave(const std::string& text)
{
    return "--FUNC-- [LEAVE] " + text;
}

std::string Fail(const std::string& text)
{
    return "**FAIL** " + text;
}

bool IsLoaded(const std::string& path)
{
    void* const library = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (library != nullptr)
        (void)::dlclose(library);  // the reference that the question has taken
    return library != nullptr;
}

class CLibraryLoaderTest : public PrivateDiskTest
{
protected:
    CLibraryLoaderTest() { MakeLogDirectory(); }

    // Debug records of the component since the last call, as "LEVEL TEXT".
    Texts NewRecords()
    {
        Texts records = Records("lan");
        records.erase(records.begin(), records.begin() + told_);
        told_ += static_cast<std::ptrdiff_t>(records.size());
        return records;
    }

    const std::string provider_ = PluginPath("qor_provider_plugin");
    const std::string vendor_ = PluginPath("qor_vendor_plugin");
    const std::string plain_ = PluginPath("qor_plain_plugin");
    const std::string unresolved_ = PluginPath("qor_unresolved_plugin");

private:
    std::ptrdiff_t told_ = 0;
};

TEST_F(CLibraryLoaderTest, OpensALibrary)
{
    const CLibraryLoader loader("lan", provider_.c_str());

    EXPECT_TRUE(IsLoaded(provider_));
    EXPECT_EQ((Texts{Enter(kConstructor + " " + provider_), Leave(kConstructor + " OK")}),
              NewRecords());
}

TEST_F(CLibraryLoaderTest, ClosesItsLibrary)
{
    auto loader = std::make_unique<CLibraryLoader>("lan", provider_.c_str());
    (void)NewRecords();

    loader.reset();

    EXPECT_FALSE(IsLoaded(provider_));
    EXPECT_EQ((Texts{Enter(kDestructor), Leave(kDestructor)}), NewRecords());
}

TEST_F(CLibraryLoaderTest, KeepsALibraryThatAnotherLoaderUses)
{
    const CLibraryLoader first("lan", provider_.c_str());
    {
        const CLibraryLoader second("lan", provider_.c_str());
    }
    EXPECT_TRUE(IsLoaded(provider_));
}

TEST_F(CLibraryLoaderTest, HandsOutTheProvidersEntryPoint)
{
    CLibraryLoader loader("lan", provider_.c_str());
    (void)NewRecords();

    ISomServices* (*const create)() = loader.GetPvdInstance();

    EXPECT_EQ((Texts{Enter(kGetPvd), Leave(kGetPvd)}), NewRecords());
    ASSERT_NE(nullptr, create);
    const std::unique_ptr<ISomServices> services(create());
    EXPECT_EQ(42, services->Answer());
}

TEST_F(CLibraryLoaderTest, HandsOutTheVendorsEntryPoint)
{
    CLibraryLoader loader("lan", vendor_.c_str());
    (void)NewRecords();

    void* (*const factory)(const char*, const char*) = loader.GetVendorInstance();

    EXPECT_EQ((Texts{Enter(kGetVendor), Leave(kGetVendor)}), NewRecords());
    ASSERT_NE(nullptr, factory);
    EXPECT_NE(nullptr, factory("a", "b"));
    EXPECT_EQ(factory("a", "b"), factory("a", "b"));
    EXPECT_NE(factory("a", "b"), factory("b", "a"));
}

TEST_F(CLibraryLoaderTest, HandsOutTheSameEntryPointEachTime)
{
    CLibraryLoader loader("lan", provider_.c_str());
    EXPECT_NE(nullptr, loader.GetPvdInstance());
    EXPECT_EQ(loader.GetPvdInstance(), loader.GetPvdInstance());
}

TEST_F(CLibraryLoaderTest, ReportsAMissingSymbolAtEachRequest)
{
    static const struct {
        const char* plugin;
        bool hasCreate;
        bool hasFactory;
    } cases[] = {
        {"qor_provider_plugin", true, false},
        {"qor_vendor_plugin", false, true},
        {"qor_plain_plugin", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.plugin);
        const std::string path = PluginPath(c.plugin);
        CLibraryLoader loader("lan", path.c_str());
        const std::string text = path + ": undefined symbol: ";
        for (int i = 0; i < 2; ++i) {
            (void)NewRecords();
            EXPECT_EQ(c.hasCreate, loader.GetPvdInstance() != nullptr);
            EXPECT_EQ((Texts{Enter(kGetPvd), c.hasCreate ? Leave(kGetPvd) : Fail(text + "create")}),
                      NewRecords());
            EXPECT_EQ(c.hasFactory, loader.GetVendorInstance() != nullptr);
            EXPECT_EQ((Texts{Enter(kGetVendor),
                             c.hasFactory ? Leave(kGetVendor) : Fail(text + "GetVendorFactory")}),
                      NewRecords());
        }
    }
}

TEST_F(CLibraryLoaderTest, SurvivesAMissingLibrary)
{
    {
        const CLibraryLoader loader("lan", kMissing.c_str());
        EXPECT_EQ((Texts{Enter(kConstructor + " " + kMissing), Leave(kConstructor + " NG")}),
                  NewRecords());
    }
    EXPECT_EQ((Texts{Enter(kDestructor), Leave(kDestructor)}), NewRecords());
}

TEST_F(CLibraryLoaderTest, ReportsTheReasonOfAFailedOpenAtEachRequest)
{
    CLibraryLoader loader("lan", kMissing.c_str());
    (void)NewRecords();

    EXPECT_EQ(nullptr, loader.GetPvdInstance());
    EXPECT_EQ(nullptr, loader.GetVendorInstance());
    EXPECT_EQ(nullptr, loader.GetPvdInstance());

    EXPECT_EQ((Texts{Enter(kGetPvd), Fail(kMissingText), Enter(kGetVendor), Fail(kMissingText),
                     Enter(kGetPvd), Fail(kMissingText)}),
              NewRecords());
}

TEST_F(CLibraryLoaderTest, LeavesTheReasonOfAnotherFailedOpenToItsLoader)
{
    CLibraryLoader first("lan", kMissing.c_str());
    EXPECT_EQ(nullptr, first.GetPvdInstance());
    CLibraryLoader second("lan", "/nox/other.so");
    (void)NewRecords();

    EXPECT_EQ(nullptr, first.GetVendorInstance());
    EXPECT_EQ(nullptr, second.GetPvdInstance());

    EXPECT_EQ((Texts{Enter(kGetVendor), Fail(kMissingText), Enter(kGetPvd),
                     Fail("/nox/other.so: cannot open shared object file: "
                          "No such file or directory")}),
              NewRecords());
}

TEST_F(CLibraryLoaderTest, ReportsTheReasonOfAFailedOpenAtEitherRequest)
{
    CLibraryLoader loader("lan", kMissing.c_str());
    (void)NewRecords();

    EXPECT_EQ(nullptr, loader.GetVendorInstance());

    EXPECT_EQ((Texts{Enter(kGetVendor), Fail(kMissingText)}), NewRecords());
}

TEST_F(CLibraryLoaderTest, ReportsItsOwnReasonWhateverElseUsesTheDynamicLoader)
{
    CLibraryLoader loader("lan", kMissing.c_str());
    const CLibraryLoader opened("lan", provider_.c_str());
    ASSERT_EQ(nullptr, ::dlopen("/nox/other.so", RTLD_LAZY));
    (void)NewRecords();

    std::thread([&] { EXPECT_EQ(nullptr, loader.GetPvdInstance()); }).join();
    EXPECT_EQ(nullptr, loader.GetVendorInstance());

    EXPECT_EQ((Texts{Enter(kGetPvd), Fail(kMissingText), Enter(kGetVendor), Fail(kMissingText)}),
              NewRecords());
}

TEST_F(CLibraryLoaderTest, IsNotMisledByAnotherLoadersFailure)
{
    CLibraryLoader loader("lan", provider_.c_str());
    const CLibraryLoader missing("lan", kMissing.c_str());
    (void)NewRecords();

    EXPECT_NE(nullptr, loader.GetPvdInstance());

    EXPECT_EQ((Texts{Enter(kGetPvd), Leave(kGetPvd)}), NewRecords());
}

TEST_F(CLibraryLoaderTest, RefusesWhatIsNoLibrary)
{
    WriteFile("/opt/empty.so", "");
    WriteFile("/opt/text.so", std::string(4096, 'x'));
    MakeDirs("/opt/directory.so");
    for (const char* const path : {"/opt/empty.so", "/opt/text.so", "/opt/directory.so", "/opt/"}) {
        SCOPED_TRACE(path);
        CLibraryLoader loader("lan", path);
        EXPECT_EQ(Leave(kConstructor + " NG"), NewRecords().back());
        EXPECT_EQ(nullptr, loader.GetPvdInstance());
        EXPECT_EQ(0U, NewRecords().back().find(Fail(path)));
    }
}

TEST_F(CLibraryLoaderTest, OpensNothingForANullPath)
{
    ASSERT_EQ(nullptr, ::dlopen("/nox/other.so", RTLD_LAZY));  // no reason of the loader's
    {
        CLibraryLoader loader("lan", nullptr);
        EXPECT_EQ(nullptr, loader.GetPvdInstance());
    }
    EXPECT_EQ((Texts{Enter(kConstructor + " "), Leave(kConstructor + " NG"), Enter(kGetPvd),
                     Enter(kDestructor), Leave(kDestructor)}),
              NewRecords());
}

// The record is a format: the path itself is not.
TEST_F(CLibraryLoaderTest, OpensAPathWithFormatCharacters)
{
    static const struct {
        const char* path;
        const char* shown;
    } cases[] = {
        {"/opt/100%%.so", "/opt/100%.so"},
        {"/opt/100%d.so", "/opt/1000.so"},
        {"/opt/100%3u.so", "/opt/100  0.so"},
        {"/opt/100%s%n.so", "/opt/100(null).so"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        WriteFile(c.path, ReadFile(provider_));
        (void)NewRecords();
        CLibraryLoader loader("lan", c.path);
        EXPECT_EQ((Texts{Enter(kConstructor + " " + c.shown), Leave(kConstructor + " OK")}),
                  NewRecords());
        EXPECT_NE(nullptr, loader.GetPvdInstance());
    }
}

TEST_F(CLibraryLoaderTest, ReportsTheReasonWithFormatCharactersAsTheyAre)
{
    CLibraryLoader loader("lan", "/opt/100%s%n.so");
    (void)NewRecords();

    EXPECT_EQ(nullptr, loader.GetPvdInstance());

    EXPECT_EQ(Fail("/opt/100%s%n.so: cannot open shared object file: No such file or directory"),
              NewRecords().back());
}

// A path with a slash is that file; a bare name is searched for where the dynamic loader
// searches, which is neither the working directory nor the install directory.
TEST_F(CLibraryLoaderTest, OpensExactlyThePathGiven)
{
    WriteFile("/opt/velmora/qor/provider/found.so", ReadFile(provider_));
    WriteFile("/opt/velmora/qor/lib/found.so", ReadFile(provider_));
    const int former = ::open(".", O_PATH | O_CLOEXEC);  // its name may be covered
    ASSERT_EQ(0, ::chdir("/opt/velmora/qor/provider"));

    const CLibraryLoader bare("lan", "found.so");
    EXPECT_EQ(Leave(kConstructor + " NG"), NewRecords().back());
    const CLibraryLoader relative("lan", "./found.so");
    EXPECT_EQ(Leave(kConstructor + " OK"), NewRecords().back());
    const CLibraryLoader searched("lan", "libc.so.6");
    EXPECT_EQ(Leave(kConstructor + " OK"), NewRecords().back());

    EXPECT_EQ(0, ::fchdir(former));
    EXPECT_EQ(0, ::close(former));
}

TEST_F(CLibraryLoaderTest, BindsLazily)
{
    ASSERT_EQ(nullptr, ::dlopen(unresolved_.c_str(), RTLD_NOW));

    CLibraryLoader loader("lan", unresolved_.c_str());

    EXPECT_EQ(Leave(kConstructor + " OK"), NewRecords().back());
    EXPECT_NE(nullptr, loader.GetPvdInstance());
}

TEST_F(CLibraryLoaderTest, KeepsTheSymbolsFromOtherLibraries)
{
    const CLibraryLoader loader("lan", plain_.c_str());
    EXPECT_TRUE(IsLoaded(plain_));
    EXPECT_EQ(nullptr, ::dlsym(RTLD_DEFAULT, "QorPlainPluginAnswer"));
}

TEST_F(CLibraryLoaderTest, TracesUnderItsComponent)
{
    {
        CLibraryLoader loader("som", provider_.c_str());
        (void)loader.GetPvdInstance();
    }
    EXPECT_EQ(6U, DebugTexts("som").size());
    EXPECT_TRUE(LogFileNames("lan", kDebugLog).empty());
}

// An over-long path is cut in the record, at what a record holds, and is no file name either.
TEST_F(CLibraryLoaderTest, SurvivesAnEndlessPath)
{
    const std::string path = "/opt/" + std::string(100000, 'x');
    CLibraryLoader loader("lan", path.c_str());

    const Texts records = NewRecords();
    ASSERT_EQ(2U, records.size());
    EXPECT_EQ(0U, records[0].find(Enter(kConstructor + " /opt/xxx")));
    EXPECT_EQ(Leave(kConstructor + " NG"), records[1]);
    EXPECT_EQ(nullptr, loader.GetPvdInstance());
}

TEST_F(CLibraryLoaderTest, ComesToItsEndOnACancelledThread)
{
    ExpectCompleteWhenCancelled([&] {
        CLibraryLoader loader("lan", provider_.c_str());
        EXPECT_NE(nullptr, loader.GetPvdInstance());
        EXPECT_EQ(nullptr, loader.GetVendorInstance());
        EXPECT_EQ(nullptr, CLibraryLoader("lan", kMissing.c_str()).GetPvdInstance());
    });
    EXPECT_FALSE(IsLoaded(provider_));
}

}  // namespace
}  // namespace qor::test
