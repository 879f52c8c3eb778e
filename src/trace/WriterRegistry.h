// WriterRegistry.h - the log writers that Initialize made, by the names of their components.
//
// A look-up takes neither a lock nor memory, and may run beside an Add or Remove of another
// component. Add and Remove belong on one thread. Only writers are ever destroyed: threads may log
// while the process ends.
#ifndef QOR_TRACE_WRITERREGISTRY_H
#define QOR_TRACE_WRITERREGISTRY_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

class CTraceWrite;

namespace qor {

class WriterRegistry
{
public:
    // Null for a name that has no writer. Inline and without a call, as most records are rejected.
    static CTraceWrite* Find(const char* component)
    {
        const Entry* const entry = FindEntry(component);
        return entry == nullptr ? nullptr : entry->writer.load(std::memory_order_acquire);
    }

    // For a name that has no writer. Throws std::bad_alloc.
    static void Add(const char* component, std::unique_ptr<CTraceWrite> writer);

    // Destroys the writer, if there is one. Its entry stays, since another look-up may be passing
    // it, and serves the next writer of that name.
    static void Remove(const char* component);

private:
    // A name's first eight bytes, or all of fewer, as a number, and what follows them.
    struct Key {
        explicit Key(const char* name) : rest(name)
        {
            while (rest < name + sizeof head && *rest != '\0')
                head = head << 8 | static_cast<unsigned char>(*rest++);
        }

        std::uint64_t head = 0;
        const char* rest;
    };

    // Complete when published; only the writer changes later.
    struct Entry {
        Entry(const char* component, Entry* following) : name(component), next(following) {}

        const std::string name;
        const Key key{name.c_str()};
        Entry* const next;
        std::atomic<CTraceWrite*> writer{nullptr};
    };

    static bool IsSame(const char* a, const char* b)
    {
        for (; *a == *b; ++a, ++b) {
            if (*a == '\0')
                return true;
        }
        return false;
    }

    static std::atomic<Entry*>& BucketOf(const Key& key)
    {
        // Folded to 32 bits, then multiplied by 2^32 divided by the golden ratio: bits 26 to 31 of
        // the product depend on all bytes and number the buckets.
        const std::uint64_t folded = (key.head ^ key.head >> 32) & 0xFFFFFFFFU;
        return buckets_[(folded * 0x9E3779B9U) >> 26 & 63];
    }

    static Entry* FindEntry(const char* name)
    {
        const Key key(name);
        Entry* entry = BucketOf(key).load(std::memory_order_acquire);
        while (entry != nullptr &&
               !(entry->key.head == key.head && IsSame(entry->key.rest, key.rest)))
            entry = entry->next;
        return entry;
    }

    static std::atomic<Entry*> buckets_[64];
};

}  // namespace qor

#endif  // QOR_TRACE_WRITERREGISTRY_H
