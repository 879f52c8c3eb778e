#include "trace/LogRecord.h"

#include "base/CancelGuard.h"
#include "CTraceWrite.h"
#include "trace/LogFile.h"

namespace qor {

namespace {

// Holds a writer's lock as long as it lives.
class WriterLock
{
public:
    explicit WriterLock(CMutexUtil& mutex) : mutex_(mutex) { (void)mutex_.Lock(-1); }
    ~WriterLock() { mutex_.Unlock(); }
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;

private:
    CMutexUtil& mutex_;
};

}  // namespace

void WriteStamped(CTraceWrite& writer, CMutexUtil& mutex, SLogFile& file, LogRecord& record)
{
    const CancelGuard guard;
    const WriterLock lock(mutex);
    record.Stamp(LocalTimeOfThisSecond());  // under the lock: the stamps of a file ascend
    if (IsFull(file, record.text().size()))
        writer.rotate(&file);
    WriteRecord(file, record.text());
}

}  // namespace qor
