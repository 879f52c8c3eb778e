// Provider definitions: CMofReader against its rules taken one key at a time, every key by a query
// of the plain INI model.
//   class name to look up; then the file
#include <execinfo.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "CMofReader.h"
#include "config/IniModel.h"
#include "support/FuzzTarget.h"

// A CTraceException keeps the symbol texts of its stack for good: millions of them would fill the
// memory. Here a stack has no frames.
extern "C" int backtrace(void**, int)
{
    return 0;
}

extern "C" char** backtrace_symbols(void* const*, int)
{
    return nullptr;
}

namespace qor::fuzz {
namespace {

constexpr char kFile[] = "/opt/fuzz/providers.ini";

struct Missing {
    std::string message;
};

class Model
{
public:
    // The failure's message, or "". What was read before stays.
    std::string Parse()
    {
        try {
            const int count = Count("Common", "NumProvider");
            for (int i = 1; i <= count; ++i)
                records_.push_back(Provider("Provider" + std::to_string(i)));
            return "";
        } catch (const Missing& missing) {
            return missing.message;
        }
    }

    const std::vector<CMofContents>& records() const { return records_; }

private:
    int Count(const std::string& section, const std::string& key) const
    {
        const auto value = file_.FindSection(section, key);
        return value ? static_cast<int>(std::strtol(value->c_str(), nullptr, 10)) : 0;
    }

    std::string Item(const std::string& section, const std::string& key) const
    {
        const auto value = file_.FindSection(section, key);
        if (!value)
            throw Missing{key + " Not Found"};
        return *value;
    }

    CMofContents Provider(const std::string& section) const
    {
        CMofContents record;
        record.providerKind = Item(section, "ProviderKind");
        record.libName = Item(section, "LibName");
        record.className = Item(section, "ClassName");
        const std::string kind = Item(section, "ClassKind");
        const std::string mode = Item(section, "ClassMode");
        record.specificFile = Item(section, "SpecificFile");
        record.classKind = kind == "VELMORA_DevService" ? 1 : kind == "VELMORA_ToolService" ? 2 : 0;
        record.classMode = mode == "FIXED_DEV" ? 1 : mode == "FIXED_TOOL" ? 2 : 128;
        record.status = 0;
        const int methods = Count(section, "MethodNum");
        for (int j = 1; j <= methods; ++j)
            record.methodNames.push_back(Item(section, "Method" + std::to_string(j)));
        return record;
    }

    test::IniReaderModel file_{kFile};
    std::vector<CMofContents> records_;
};

std::string MessageOfParsing(CMofReader& reader)
{
    try {
        EXPECT_TRUE(reader.ParseContents());
        return "";
    } catch (CTraceException* failure) {
        const std::unique_ptr<CTraceException> owned(failure);
        return failure->CException::what();
    }
}

void ExpectSame(const CMofContents& expected, const CMofContents& record)
{
    EXPECT_EQ(expected.providerKind, record.providerKind);
    EXPECT_EQ(expected.libName, record.libName);
    EXPECT_EQ(expected.className, record.className);
    EXPECT_EQ(expected.specificFile, record.specificFile);
    EXPECT_EQ(expected.classKind, record.classKind);
    EXPECT_EQ(expected.classMode, record.classMode);
    EXPECT_EQ(expected.status, record.status);
    EXPECT_EQ(expected.methodNames, record.methodNames);
}

void CompareLookUp(const Model& model, const CMofReader& reader, const std::string& className)
{
    CMofContents record;
    record.libName = "former";
    bool found = false;
    CMofContents expected = record;
    for (const CMofContents& candidate : model.records()) {
        if (!found && candidate.className == className) {
            expected = candidate;
            found = true;
        }
    }
    EXPECT_EQ(found, reader.GetProviderInfo(className, record)) << Shown(className);
    ExpectSame(expected, record);
}

}  // namespace

void TestInput(Input input)
{
    const std::string className = input.Text();
    const std::string content = input.Rest();
    PutFile(kFile, content);

    Model model;
    CMofReader reader(kFile);
    EXPECT_EQ(model.Parse(), MessageOfParsing(reader)) << Shown(content);

    std::vector<CMofContents> records(1);
    reader.GetMofContents(records);
    ASSERT_EQ(model.records().size() + 1, records.size()) << Shown(content);
    for (std::size_t i = 0; i < model.records().size(); ++i)
        ExpectSame(model.records()[i], records[i + 1]);

    CompareLookUp(model, reader, className);
    if (!model.records().empty())
        CompareLookUp(model, reader, model.records().back().className);
}

}  // namespace qor::fuzz
