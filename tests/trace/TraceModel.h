// TraceModel.h - reading logs and settings again, slowly and literally, to compare with.
//
// Logs are read with fgets(3) into 256 bytes, all lines into a list, which is then filtered;
// settings by a query of CIniFileReader for each key. Nothing here is clever.
#ifndef QOR_TEST_TRACEMODEL_H
#define QOR_TEST_TRACEMODEL_H

#include <list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>

#include "CTraceUtilityCom.h"

namespace qor::test {

// The lines of a file that CTraceRead::ReadLog gives; fromDate may be null.
std::list<std::string> LogLinesModel(const std::string& path, const char* fromDate);

// Those of the lines that CTraceRead::SelectReadType gives, or std::out_of_range.
std::list<std::string> SelectedModel(const std::list<std::string>& lines, unsigned int readType);

// The records of a file that CTraceRead::ReadOperationLog gives, or std::out_of_range.
std::list<std::string> RecordsModel(const std::string& path, unsigned int readType,
                                    unsigned int maxRecords, const std::string& fromDate);

// What CTraceUtilityCom::GetSettingInfo gives for the two files.
Setting_Info SettingsModel(const std::string& settingsPath, const std::string& cataloguePath);

// What a reading gives; without a value when it throws, as it does for a record that is too short.
template <typename Reading>
std::optional<std::list<std::string>> Outcome(Reading reading)
{
    try {
        return reading();
    } catch (const std::out_of_range&) {
        return std::nullopt;
    }
}

// A message's format, read code, type and event, which can be compared and printed.
using MessageFields = std::tuple<std::string, std::string, std::string, int>;

inline MessageFields FieldsOf(const Msg_Info& message)
{
    return {message.format, message.read, message.type, message.event};
}

// By their identifiers.
inline std::map<std::string, MessageFields> MessagesOf(const Setting_Info& settings)
{
    std::map<std::string, MessageFields> messages;
    for (const auto& [id, message] : settings.messages)
        messages.emplace(id, FieldsOf(message));
    return messages;
}

}  // namespace qor::test

#endif  // QOR_TEST_TRACEMODEL_H
