// WriterTest.h - the fixture of tests about a writer's logs.
#ifndef QOR_TEST_WRITERTEST_H
#define QOR_TEST_WRITERTEST_H

#include <cstdint>

#include "CTraceWrite.h"
#include "support/Descriptors.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"
#include "trace/TraceTest.h"

namespace qor::test {

inline constexpr std::uint64_t kLargest = 10485759;  // bytes that a file may have
inline constexpr auto kDebugMode = CTraceUtility::WRITE_MODE_DEBUG;
inline constexpr auto kTraceMode = CTraceUtility::WRITE_MODE_TRACE;
inline constexpr auto kBothModes = CTraceUtility::WRITE_MODE_BOTH;

// Bits 1 to 32: everything is written and nothing compressed.
inline constexpr char kNoCompression[] = "3F";

// Shows what derived classes see.
struct Writer : CTraceWrite {
    using CTraceBase::debugLog_;
    using CTraceBase::operationLog_;
    using CTraceWrite::CTraceWrite;
};

class WriterTest : public TraceTest
{
protected:
    // A file of the kind and size, without taking the room.
    static void MakeLog(const std::string& name, std::uint64_t size)
    {
        WriteFile(LogPath(name), "");
        ASSERT_EQ(0, ::truncate(LogPath(name).c_str(), static_cast<off_t>(size)));
    }

    static void MakeLogs(const Strings& names)
    {
        for (const std::string& name : names)
            WriteFile(LogPath(name), name);
    }
};

}  // namespace qor::test

#endif  // QOR_TEST_WRITERTEST_H
