// Log reading: CTraceRead's result and its steps against the plain model.
//   read type, number of records, date; then the log
#include <gtest/gtest.h>

#include <climits>
#include <list>
#include <string>

#include "CTraceRead.h"
#include "support/FuzzTarget.h"
#include "support/LogFiles.h"
#include "trace/TraceModel.h"

namespace qor::fuzz {
namespace {

constexpr char kName[] = "QOR_um_trc_261115082918.log";
constexpr char kPath[] = "/opt/velmora/qor/log/QOR_um_trc_261115082918.log";

using Records = std::list<std::string>;

using test::Outcome;

void CompareReading(unsigned int type, unsigned int count, std::string from, const std::string& log)
{
    const auto expected = Outcome([&] { return test::RecordsModel(kPath, type, count, from); });
    EXPECT_EQ(expected, Outcome([&] {
                  Records records;
                  CTraceRead("um").ReadOperationLog(type, count, records, &from);
                  return records;
              }))
        << "type " << type << ", count " << count << ", from " << Shown(from) << ", log "
        << Shown(log);
}

void CompareSteps(unsigned int type, const std::string& from, const std::string& log)
{
    CTraceRead reader("um");
    Records lines;
    reader.ReadLog(kName, lines);
    EXPECT_EQ(test::LogLinesModel(kPath, nullptr), lines) << Shown(log);
    lines.clear();
    reader.ReadLog(kName, lines, from.c_str());
    EXPECT_EQ(test::LogLinesModel(kPath, from.c_str()), lines)
        << "from " << Shown(from) << ", log " << Shown(log);

    EXPECT_EQ(Outcome([&] { return test::SelectedModel(lines, type); }), Outcome([&] {
                  Records records;
                  reader.SelectReadType(type, lines);
                  reader.DeleteMaxRecord(INT_MAX, records);
                  return records;
              }))
        << "type " << type << ", log " << Shown(log);
}

}  // namespace

void Prepare()
{
    test::MakeLogDirectory();
}

void TestInput(Input input)
{
    const auto type = static_cast<unsigned int>(input.Number());
    const auto count = static_cast<unsigned int>(input.Number());
    const std::string from = input.Line();
    const std::string log = input.Rest();
    PutFile(kPath, log);

    CompareReading(type, count, from, log);
    CompareSteps(type, from, log);
}

}  // namespace qor::fuzz
