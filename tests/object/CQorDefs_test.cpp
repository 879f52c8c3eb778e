#include "CQorDefs.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Text.h"

namespace qor::test {
namespace {

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

// What the checks do with each member, and with the members of records in lists.
class Visitor
{
public:
    virtual ~Visitor() = default;
    virtual void Visit(std::string& text) = 0;
    virtual void Visit(int& number) = 0;
    virtual void Visit(bool& flag) = 0;
    virtual std::size_t ListSize(std::size_t size) = 0;  // returns the size that it should have
};

// Texts, numbers and flags; lists; and, by QOR_RECORD, the records.
template <typename Leaf>
void VisitMember(Leaf& leaf, Visitor& visitor)
{
    visitor.Visit(leaf);
}

template <typename Element>
void VisitMember(std::vector<Element>& list, Visitor& visitor)
{
    const std::size_t size = visitor.ListSize(list.size());
    if (size != list.size())
        list.resize(size);
    for (Element& element : list)
        VisitMember(element, visitor);
}

struct Member {
    std::size_t offset;
    std::size_t size;
    std::size_t alignment;
};

#define QOR_CHECK_TYPE(type, member) \
    static_assert(std::is_same<decltype(Record::member), type>::value, #member);

#define QOR_MEMBER(type, member) {offsetof(Record, member), sizeof(type), alignof(type)},

#define QOR_VISIT_MEMBER(type, member) VisitMember(record.member, visitor);

// Checks the types and defines MembersOf(record type) and VisitMember(record, visitor).
#define QOR_RECORD(record_type, MEMBERS)                                                      \
    std::vector<Member> MembersOf(const record_type*)                                         \
    {                                                                                         \
        using Record [[maybe_unused]] = record_type;                                          \
        MEMBERS(QOR_CHECK_TYPE)                                                               \
        return {MEMBERS(QOR_MEMBER)};                                                         \
    }                                                                                         \
    void VisitMember([[maybe_unused]] record_type& record, [[maybe_unused]] Visitor& visitor) \
    {                                                                                         \
        MEMBERS(QOR_VISIT_MEMBER)                                                             \
    }

// From the innermost outwards.
QOR_RECORD(CVelmora_DependencyInfo, QOR_DEPENDENCY)
QOR_RECORD(CVelmora_ManageRepositoryInfo, QOR_REPOSITORY)
QOR_RECORD(CVelmora_ManageModuleInfo, QOR_MODULE)
QOR_RECORD(CVelmora_LinkApplicationInfo, QOR_LINK_APPLICATION)
QOR_RECORD(CVelmora_DeviceInfo, QOR_DEVICE)
QOR_RECORD(CVelmora_ToolInfo, QOR_TOOL)
QOR_RECORD(CVelmora_DevProviderManageInfo, QOR_DEV_PROVIDER)
QOR_RECORD(CVelmora_ToolProviderManageInfo, QOR_TOOL_PROVIDER)
QOR_RECORD(CVELMORA_QorVersionInfo, QOR_VERSION)
QOR_RECORD(CVELMORA_VersionUpdateLog, QOR_UPDATE_LOG)
QOR_RECORD(CVELMORA_UpdatePlans, QOR_PLANS)
QOR_RECORD(CVelmora_PriorityUpdateParam, QOR_PRIORITY)
QOR_RECORD(CVELMORA_DownloadSchedule, QOR_SCHEDULE)
QOR_RECORD(CVELMORA_UpdateSchedule, QOR_SCHEDULE)
QOR_RECORD(CVELMORA_DownloadSetting, QOR_DOWNLOAD_SETTING)
QOR_RECORD(CVELMORA_MonitoringSetting, QOR_NO_MEMBERS)

static_assert(std::is_empty<CVELMORA_MonitoringSetting>::value, "");
static_assert(sizeof(CVELMORA_MonitoringSetting) == 1, "");
static_assert(std::is_trivially_default_constructible<CVELMORA_MonitoringSetting>::value, "");
static_assert(std::is_trivially_destructible<CVELMORA_MonitoringSetting>::value, "");

// Gives every member down to any depth a value of its own; lists grow by two elements.
class Filler : public Visitor
{
public:
    explicit Filler(int first) : next_(first) {}

    void Visit(std::string& text) override
    {
        // Longer than what a string object holds in itself.
        text = "a text of some length, number " + std::to_string(next_++);
    }
    void Visit(int& number) override { number = next_++; }
    void Visit(bool& flag) override { flag = !flag; }
    std::size_t ListSize(std::size_t size) override { return size + 2; }

private:
    int next_;
};

// The values of all members down to any depth, the lengths of lists included.
class Contents : public Visitor
{
public:
    void Visit(std::string& text) override { values.push_back("\"" + text + "\""); }
    void Visit(int& number) override { values.push_back(std::to_string(number)); }
    void Visit(bool& flag) override { values.push_back(flag ? "true" : "false"); }
    std::size_t ListSize(std::size_t size) override
    {
        values.push_back("list of " + std::to_string(size));
        return size;
    }

    Strings values;
};

template <typename Record>
void Fill(Record& record, int first)
{
    Filler filler(first);
    VisitMember(record, filler);
}

template <typename Record>
Strings ValuesOf(Record& record)
{
    Contents contents;
    VisitMember(record, contents);
    return contents.values;
}

template <typename Record>
class CQorDefsTest : public testing::Test
{
    static_assert(std::is_nothrow_default_constructible<Record>::value, "");
    static_assert(std::is_copy_constructible<Record>::value, "");
    static_assert(std::is_copy_assignable<Record>::value, "");
    static_assert(std::is_nothrow_move_constructible<Record>::value, "");
    static_assert(!std::is_polymorphic<Record>::value, "");

protected:
    CQorDefsTest()
    {
        Fill(filled_, 1);
        values_ = ValuesOf(filled_);
    }

    const std::vector<Member> members_ = MembersOf(static_cast<const Record*>(nullptr));
    Record filled_;
    Strings values_;  // of `filled_`
};

using RecordTypes =
    testing::Types<CVelmora_DevProviderManageInfo, CVelmora_ToolProviderManageInfo,
                   CVelmora_DeviceInfo, CVelmora_ToolInfo, CVelmora_ManageModuleInfo,
                   CVelmora_ManageRepositoryInfo, CVelmora_DependencyInfo,
                   CVelmora_LinkApplicationInfo, CVELMORA_QorVersionInfo, CVELMORA_VersionUpdateLog,
                   CVELMORA_UpdatePlans, CVelmora_PriorityUpdateParam, CVELMORA_DownloadSchedule,
                   CVELMORA_UpdateSchedule, CVELMORA_DownloadSetting, CVELMORA_MonitoringSetting>;
TYPED_TEST_SUITE(CQorDefsTest, RecordTypes);

TYPED_TEST(CQorDefsTest, BeginsEmptyZeroAndFalse)
{
    alignas(TypeParam) unsigned char memory[sizeof(TypeParam)];
    std::memset(memory, 0xA5, sizeof memory);  // as if it was in use before
    auto* const record = new (memory) TypeParam;
    for (const std::string& value : ValuesOf(*record)) {
        EXPECT_TRUE(value == "\"\"" || value == "0" || value == "false" || value == "list of 0")
            << value;
    }
    record->~TypeParam();
}

TYPED_TEST(CQorDefsTest, HasItsMembersInOrderAndNoOthers)
{
    const auto roundUp = [](std::size_t offset, std::size_t alignment) {
        return (offset + alignment - 1) / alignment * alignment;
    };
    std::size_t end = 0;
    for (const Member& member : this->members_) {
        EXPECT_EQ(roundUp(end, member.alignment), member.offset);
        end = member.offset + member.size;
    }
    const bool empty = this->members_.empty();  // takes a byte all the same
    EXPECT_EQ(roundUp(empty ? 1 : end, alignof(TypeParam)), sizeof(TypeParam));
}

TYPED_TEST(CQorDefsTest, CopiesEveryMemberToAnyDepth)
{
    TypeParam copy(this->filled_);

    EXPECT_EQ(this->values_, ValuesOf(copy));
}

TYPED_TEST(CQorDefsTest, LeavesTheSourceAloneWhenTheCopyChanges)
{
    TypeParam copy(this->filled_);
    Fill(copy, 1000000);

    EXPECT_EQ(this->values_, ValuesOf(this->filled_));
    EXPECT_EQ(this->members_.empty(), this->values_ == ValuesOf(copy));
}

TYPED_TEST(CQorDefsTest, TakesTheValueOfAnotherByAssignment)
{
    TypeParam target;
    Fill(target, 1000000);
    target = this->filled_;
    EXPECT_EQ(this->values_, ValuesOf(target));

    Fill(target, 2000000);
    EXPECT_EQ(this->values_, ValuesOf(this->filled_));
}

}  // namespace
}  // namespace qor::test
