#include "trace/WriterRegistry.h"

#include "CTraceWrite.h"

namespace qor {

std::atomic<WriterRegistry::Entry*> WriterRegistry::buckets_[];

void WriterRegistry::Add(const char* component, std::unique_ptr<CTraceWrite> writer)
{
    Entry* entry = FindEntry(component);
    if (entry == nullptr) {
        std::atomic<Entry*>& bucket = BucketOf(Key(component));
        entry = new Entry(component, bucket.load(std::memory_order_relaxed));
        bucket.store(entry, std::memory_order_release);
    }
    entry->writer.store(writer.release(), std::memory_order_release);
}

void WriterRegistry::Remove(const char* component)
{
    if (Entry* const entry = FindEntry(component))
        const std::unique_ptr<CTraceWrite> ended(entry->writer.exchange(nullptr));
}

}  // namespace qor
