#include "channel_spool.h"

#include "CTraceUtility.h"
#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::bench {

using namespace qor::test;

void PrepareSpool()
{
    MakeLogDirectory();
    EmptyDirectory(kLogDirectory);
    WriteFile("/opt/velmora/qor/som/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=0\n");
    WriteFile("/opt/velmora/qor/cli/TraceSetting.ini", "[APP_SETTING]\nTraceLevel=3F\n");
    for (const char* const tag : {kSilent, kTraced}) {
        CTraceUtility::Terminate(tag);
        CTraceUtility::Initialize(tag, CTraceUtility::WRITE_MODE_DEBUG);
    }
    for (const char* const directory : {kClientDir, kServerDir}) {
        MakeDirs(directory);
        EmptyDirectory(directory);
    }
}

std::string TypicalMessage(int size)
{
    const std::size_t length = static_cast<std::size_t>(size);
    std::string message;
    for (int i = 0; message.size() < length; ++i)
        message += "item " + std::to_string(i) + ";";
    message.resize(length);
    return message;
}

}  // namespace qor::bench
