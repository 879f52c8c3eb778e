#include "IWbemObjectSink.h"

IWbemObjectSink::IWbemObjectSink() = default;

IWbemObjectSink::IWbemObjectSink(const IWbemObjectSink& other)
{
    *this = other;
}

// Assigning a sink to itself keeps one more copy, as assigning any other does.
// NOLINTNEXTLINE(cert-oop54-cpp)
IWbemObjectSink& IWbemObjectSink::operator=(const IWbemObjectSink& other)
{
    const IWbemClassObject* const result =
        other.received_.empty() ? nullptr : other.received_.back().get();
    received_.push_back(result == nullptr ? nullptr : std::make_unique<IWbemClassObject>(*result));
    return *this;
}

IWbemObjectSink::~IWbemObjectSink() = default;

long IWbemObjectSink::Indicate(long, IWbemClassObject** objects)
{
    if (objects != nullptr && objects[0] != nullptr)
        received_.push_back(std::make_unique<IWbemClassObject>(*objects[0]));
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
