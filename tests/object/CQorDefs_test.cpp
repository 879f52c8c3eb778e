#include "CQorDefs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qor::test {
namespace {

using testing::IsEmpty;

using Text = std::string;
template <typename Element>
using List = std::vector<Element>;

static_assert(sizeof(bool) == 1, "");
static_assert(sizeof(int) == 4, "");

// The members of each record, M(type, name), in the order of their declaration.
// clang-format off

#define QOR_DEV_PROVIDER(M) \
    M(Text, string1) M(Text, string2) M(Text, string3) M(List<CVelmora_DeviceInfo>, deviceInfoList1)

#define QOR_TOOL_PROVIDER(M) \
    M(Text, string1) M(Text, string2) M(Text, string3) M(List<CVelmora_ToolInfo>, toolInfoList1)

#define QOR_DEVICE(M)                                                              \
    M(Text, string1) M(Text, string2) M(Text, string3) M(Text, string4)            \
    M(Text, string5) M(Text, string6) M(List<Text>, stringList1)                   \
    M(List<CVelmora_LinkApplicationInfo>, linkApplicationInfoList1)                \
    M(List<CVelmora_ManageModuleInfo>, manageModuleInfoList1)

#define QOR_TOOL(M)                                                                \
    M(Text, string1) M(Text, string2) M(List<Text>, stringList1)                   \
    M(List<CVelmora_LinkApplicationInfo>, linkApplicationInfoList1)                \
    M(List<CVelmora_ManageModuleInfo>, manageModuleInfoList1)

#define QOR_MODULE(M)                                                              \
    M(Text, string1) M(Text, string2) M(int, int1) M(int, int2) M(int, int3)       \
    M(List<CVelmora_ManageRepositoryInfo>, manageRepositoryInfoList1)

#define QOR_REPOSITORY(M)                                                          \
    M(Text, string1) M(Text, string2) M(Text, string3) M(Text, string4)            \
    M(Text, string5) M(Text, string6) M(int, int1)                                 \
    M(Text, string7) M(Text, string8) M(Text, string9) M(Text, string10)           \
    M(bool, bool1)                                                                 \
    M(List<Text>, stringList1) M(List<Text>, stringList2) M(List<Text>, stringList3) \
    M(List<CVelmora_DependencyInfo>, dependencyInfoList1)                          \
    M(List<CVelmora_DependencyInfo>, dependencyInfoList2)

#define QOR_DEPENDENCY(M)                                                          \
    M(Text, string1) M(Text, string2) M(Text, string3) M(Text, string4)            \
    M(Text, string5) M(Text, string6) M(Text, string7)

#define QOR_LINK_APPLICATION(M) \
    M(Text, string1) M(Text, string2) M(Text, string3) M(Text, string4)

#define QOR_VERSION(M) M(Text, string1) M(Text, string2) M(Text, string3)

#define QOR_UPDATE_LOG(M)                                                          \
    M(Text, string1) M(Text, string2) M(Text, string3) M(Text, string4)            \
    M(Text, string5) M(Text, string6) M(Text, string7)

#define QOR_PLANS(M)                                                               \
    M(Text, string1) M(Text, string2) M(Text, string3) M(Text, string4)            \
    M(Text, string5) M(int, int1) M(Text, string6) M(Text, string7)                \
    M(Text, string8) M(int, int2) M(Text, string9)

#define QOR_PRIORITY(M) \
    M(Text, string1) M(int, int1) M(Text, string2) M(Text, string3) M(Text, string4)

#define QOR_SCHEDULE(M) \
    M(bool, bool1) M(int, int1) M(Text, string1) M(Text, string2) M(Text, string3)

#define QOR_DOWNLOAD_SETTING(M)                                                    \
    M(int, int1) M(Text, string1) M(Text, string2) M(Text, string3)                \
    M(Text, string4) M(Text, string5) M(Text, string6) M(Text, string7)            \
    M(Text, string8) M(Text, string9) M(Text, string10)

#define QOR_NO_MEMBERS(M)

// clang-format on

#define QOR_CHECK_TYPE(type, member) \
    static_assert(std::is_same<decltype(Record::member), type>::value, #member);

#define QOR_VISIT_MEMBER(type, member) visit(record.member);

// Checks the types and defines Visit(record, visit), which calls visit(member) for each member.
#define QOR_RECORD(record_type, MEMBERS)                                                    \
    [[maybe_unused]] const char* NameOf(const record_type*)                                 \
    {                                                                                       \
        return #record_type;                                                                \
    }                                                                                       \
    namespace types_of_##record_type                                                        \
    {                                                                                       \
        using Record [[maybe_unused]] = record_type;                                        \
        MEMBERS(QOR_CHECK_TYPE)                                                             \
    }                                                                                       \
    template <typename Visitor>                                                             \
    void Visit([[maybe_unused]] record_type& record, [[maybe_unused]] const Visitor& visit) \
    {                                                                                       \
        MEMBERS(QOR_VISIT_MEMBER)                                                           \
    }

QOR_RECORD(CVelmora_DevProviderManageInfo, QOR_DEV_PROVIDER)
QOR_RECORD(CVelmora_ToolProviderManageInfo, QOR_TOOL_PROVIDER)
QOR_RECORD(CVelmora_DeviceInfo, QOR_DEVICE)
QOR_RECORD(CVelmora_ToolInfo, QOR_TOOL)
QOR_RECORD(CVelmora_ManageModuleInfo, QOR_MODULE)
QOR_RECORD(CVelmora_ManageRepositoryInfo, QOR_REPOSITORY)
QOR_RECORD(CVelmora_DependencyInfo, QOR_DEPENDENCY)
QOR_RECORD(CVelmora_LinkApplicationInfo, QOR_LINK_APPLICATION)
QOR_RECORD(CVELMORA_QorVersionInfo, QOR_VERSION)
QOR_RECORD(CVELMORA_VersionUpdateLog, QOR_UPDATE_LOG)
QOR_RECORD(CVELMORA_UpdatePlans, QOR_PLANS)
QOR_RECORD(CVelmora_PriorityUpdateParam, QOR_PRIORITY)
QOR_RECORD(CVELMORA_DownloadSchedule, QOR_SCHEDULE)
QOR_RECORD(CVELMORA_UpdateSchedule, QOR_SCHEDULE)
QOR_RECORD(CVELMORA_DownloadSetting, QOR_DOWNLOAD_SETTING)
QOR_RECORD(CVELMORA_MonitoringSetting, QOR_NO_MEMBERS)

using Records =
    testing::Types<CVelmora_DevProviderManageInfo, CVelmora_ToolProviderManageInfo,
                   CVelmora_DeviceInfo, CVelmora_ToolInfo, CVelmora_ManageModuleInfo,
                   CVelmora_ManageRepositoryInfo, CVelmora_DependencyInfo,
                   CVelmora_LinkApplicationInfo, CVELMORA_QorVersionInfo, CVELMORA_VersionUpdateLog,
                   CVELMORA_UpdatePlans, CVelmora_PriorityUpdateParam, CVELMORA_DownloadSchedule,
                   CVELMORA_UpdateSchedule, CVELMORA_DownloadSetting, CVELMORA_MonitoringSetting>;

static_assert(std::is_empty<CVELMORA_MonitoringSetting>::value, "");
static_assert(sizeof(CVELMORA_MonitoringSetting) == 1, "");
static_assert(std::is_trivially_default_constructible<CVELMORA_MonitoringSetting>::value, "");
static_assert(std::is_trivially_destructible<CVELMORA_MonitoringSetting>::value, "");

// Gives every member down to any depth a value of its own; lists grow by two elements.
class Filler
{
public:
    explicit Filler(int first) : next_(first) {}

    void operator()(std::string& text) const
    {
        // Longer than what a string object holds in itself.
        text = "a text of some length, number " + std::to_string(next_++);
    }
    void operator()(int& number) const { number = next_++; }
    void operator()(bool& flag) const { flag = !flag; }

    template <typename Element>
    void operator()(std::vector<Element>& list) const
    {
        list.resize(list.size() + 2);
        for (Element& element : list)
            (*this)(element);
    }

    template <typename Record>
    void operator()(Record& record) const
    {
        Visit(record, *this);
    }

private:
    mutable int next_;
};

// The values of all members down to any depth, the lengths of lists included.
class Contents
{
public:
    template <typename Record>
    static std::vector<std::string> Of(Record& record)
    {
        const Contents contents;
        Visit(record, contents);
        return contents.values_;
    }

    void operator()(std::string& text) const { values_.push_back("\"" + text + "\""); }
    void operator()(int& number) const { values_.push_back(std::to_string(number)); }
    void operator()(bool& flag) const { values_.push_back(flag ? "true" : "false"); }

    template <typename Element>
    void operator()(std::vector<Element>& list) const
    {
        values_.push_back("list of " + std::to_string(list.size()));
        for (Element& element : list)
            (*this)(element);
    }

    template <typename Record>
    void operator()(Record& record) const
    {
        Visit(record, *this);
    }

private:
    mutable std::vector<std::string> values_;
};

std::uintptr_t RoundUp(std::uintptr_t address, std::size_t alignment)
{
    return (address + alignment - 1) / alignment * alignment;
}

template <typename Record>
class CQorDefsTest : public testing::Test
{
protected:
    static Record Filled(int first)
    {
        Record record;
        Visit(record, Filler(first));
        return record;
    }
};

struct RecordNames {
    template <typename Record>
    static std::string GetName(int)
    {
        return NameOf(static_cast<const Record*>(nullptr));
    }
};

TYPED_TEST_SUITE(CQorDefsTest, Records, RecordNames);

TYPED_TEST(CQorDefsTest, IsAPlainValue)
{
    static_assert(std::is_nothrow_default_constructible<TypeParam>::value, "");
    static_assert(std::is_copy_constructible<TypeParam>::value, "");
    static_assert(std::is_copy_assignable<TypeParam>::value, "");
    static_assert(std::is_nothrow_move_constructible<TypeParam>::value, "");
    static_assert(!std::is_polymorphic<TypeParam>::value, "");
}

TYPED_TEST(CQorDefsTest, BeginsEmptyZeroAndFalse)
{
    alignas(TypeParam) unsigned char memory[sizeof(TypeParam)];
    std::memset(memory, 0xA5, sizeof memory);
    TypeParam* const record = new (memory) TypeParam;

    for (const std::string& value : Contents::Of(*record)) {
        EXPECT_TRUE(value == "\"\"" || value == "0" || value == "false" || value == "list of 0")
            << value;
    }
    record->~TypeParam();
}

TYPED_TEST(CQorDefsTest, HasItsMembersInOrderAndNoOthers)
{
    TypeParam record;
    auto end = reinterpret_cast<std::uintptr_t>(&record);
    Visit(record, [&end](auto& member) {
        const auto address = reinterpret_cast<std::uintptr_t>(&member);
        EXPECT_EQ(RoundUp(end, alignof(decltype(member))), address);
        end = address + sizeof member;
    });

    const auto first = reinterpret_cast<std::uintptr_t>(&record);
    const bool empty = std::is_empty<TypeParam>::value;  // takes a byte all the same
    EXPECT_EQ(RoundUp(empty ? first + 1 : end, alignof(TypeParam)), first + sizeof record);
}

TYPED_TEST(CQorDefsTest, CopiesEveryMemberToAnyDepth)
{
    TypeParam source = this->Filled(1);
    TypeParam copy(source);

    EXPECT_EQ(Contents::Of(source), Contents::Of(copy));
}

TYPED_TEST(CQorDefsTest, CopiesEmptyListsAsEmptyLists)
{
    TypeParam source;
    TypeParam copy(source);

    TypeParam fresh;
    EXPECT_EQ(Contents::Of(fresh), Contents::Of(copy));
}

TYPED_TEST(CQorDefsTest, LeavesTheSourceAloneWhenTheCopyChanges)
{
    TypeParam source = this->Filled(1);
    const std::vector<std::string> before = Contents::Of(source);
    TypeParam copy(source);
    Visit(copy, Filler(1000000));

    EXPECT_EQ(before, Contents::Of(source));
    if (!std::is_empty<TypeParam>::value) {
        EXPECT_NE(before, Contents::Of(copy));
    }
}

TYPED_TEST(CQorDefsTest, KeepsACopyWhenTheSourceIsGone)
{
    auto source = std::make_unique<TypeParam>(this->Filled(1));
    const std::vector<std::string> before = Contents::Of(*source);
    TypeParam copy(*source);
    source.reset();

    EXPECT_EQ(before, Contents::Of(copy));
}

TYPED_TEST(CQorDefsTest, TakesTheValueOfAnotherByAssignment)
{
    TypeParam source = this->Filled(1);
    TypeParam target = this->Filled(1000000);
    target = source;
    EXPECT_EQ(Contents::Of(source), Contents::Of(target));

    Visit(target, Filler(2000000));
    TypeParam same = this->Filled(1);
    EXPECT_EQ(Contents::Of(same), Contents::Of(source));
}

TEST(CQorDefsTreeTest, CopiesAProviderWithAllThatIsBelowIt)
{
    CVelmora_ManageRepositoryInfo repository;
    repository.dependencyInfoList1.resize(1);
    repository.dependencyInfoList1[0].string7 = "one";
    repository.dependencyInfoList2.resize(2);
    repository.dependencyInfoList2[1].string1 = "two";
    CVelmora_ManageModuleInfo module;
    module.manageRepositoryInfoList1.push_back(repository);
    CVelmora_DeviceInfo device;
    device.manageModuleInfoList1.push_back(module);
    CVelmora_DevProviderManageInfo source;
    source.deviceInfoList1.push_back(device);

    CVelmora_DevProviderManageInfo copy(source);
    auto& copied = copy.deviceInfoList1[0].manageModuleInfoList1[0].manageRepositoryInfoList1[0];
    EXPECT_EQ("one", copied.dependencyInfoList1[0].string7);
    EXPECT_EQ("two", copied.dependencyInfoList2[1].string1);
    copied.dependencyInfoList1[0].string7 = "changed";
    copied.dependencyInfoList2.clear();

    const auto& kept =
        source.deviceInfoList1[0].manageModuleInfoList1[0].manageRepositoryInfoList1[0];
    EXPECT_EQ("one", kept.dependencyInfoList1[0].string7);
    ASSERT_EQ(2U, kept.dependencyInfoList2.size());
    EXPECT_EQ("two", kept.dependencyInfoList2[1].string1);
}

TEST(CQorDefsTreeTest, HoldsNestedRecordsByValueInOrder)
{
    CVelmora_ToolInfo tool;
    tool.stringList1 = {"b", "a", "b"};
    CVelmora_ToolProviderManageInfo provider;
    provider.toolInfoList1.push_back(tool);
    tool.stringList1.clear();
    provider.toolInfoList1.push_back(tool);

    EXPECT_EQ((std::vector<std::string>{"b", "a", "b"}), provider.toolInfoList1[0].stringList1);
    EXPECT_THAT(provider.toolInfoList1[1].stringList1, IsEmpty());
}

}  // namespace
}  // namespace qor::test
