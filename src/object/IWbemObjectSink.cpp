#include "IWbemObjectSink.h"

#include "object/OwnedObject.h"

namespace {

using Received = std::vector<std::unique_ptr<IWbemClassObject>>;

// Keeps a deep copy of `object`, or null. The nested copies have no other owner until the copy is
// kept: without memory for that, they go too.
void Keep(Received& received, const IWbemClassObject* object)
{
    qor::OwnedObject copy(object == nullptr ? nullptr : new IWbemClassObject(*object));
    received.emplace_back(copy.get());
    (void)copy.release();
}

}  // namespace

IWbemObjectSink::IWbemObjectSink() = default;

IWbemObjectSink::IWbemObjectSink(const IWbemObjectSink& other)
{
    *this = other;
}

// Assigning a sink to itself keeps one more copy, as assigning any other does.
// NOLINTNEXTLINE(cert-oop54-cpp)
IWbemObjectSink& IWbemObjectSink::operator=(const IWbemObjectSink& other)
{
    Keep(received_, other.received_.empty() ? nullptr : other.received_.back().get());
    return *this;
}

IWbemObjectSink::~IWbemObjectSink() = default;

long IWbemObjectSink::Indicate(long, IWbemClassObject** objects)
{
    if (objects != nullptr && objects[0] != nullptr)
        Keep(received_, objects[0]);
    return 0;
}

long IWbemObjectSink::SetStatus(long, unsigned long, char*, IWbemClassObject*)
{
    return 0;
}

IWbemClassObject* IWbemObjectSink::GetOutParam()
{
    return received_.empty() ? nullptr : received_.back().get();
}
