#include "IWbemObjectSink.h"

IWbemObjectSink::IWbemObjectSink() = default;

IWbemObjectSink::IWbemObjectSink(const IWbemObjectSink& other)
{
    if (!other.received_.empty())
        received_.push_back(std::make_unique<IWbemClassObject>(*other.received_.back()));
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
