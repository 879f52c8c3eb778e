// TraceModel.h - reading logs and settings once more, slowly and literally, to compare with.
//
// Logs are read with fgets(3) into 256 bytes, all lines into a list, which is then filtered;
// settings by a query of CIniFileReader for each key. Nothing here is clever.
#ifndef QOR_TEST_TRACEMODEL_H
#define QOR_TEST_TRACEMODEL_H

#include <list>
#include <string>

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

}  // namespace qor::test

#endif  // QOR_TEST_TRACEMODEL_H
