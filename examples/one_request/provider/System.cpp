#include <stdexcept>

#include "COsInfo.h"
#include "provider/Method.h"
#include "provider/Methods.h"

namespace one_request {
namespace {

using FirmwareGetter = bool (COsInfo::*)(std::string& value);

const struct {
    const char* property;
    FirmwareGetter get;
} kFirmwareFields[] = {
    {"UUID", &COsInfo::getDmiSystemUuid},
    {"Manufacturer", &COsInfo::getDmiSystemManufacture},
    {"Product", &COsInfo::getDmiSystemProductName},
    {"Version", &COsInfo::getDmiSystemVersion},
};

std::string OrUnknown(const std::string& text)
{
    return text.empty() ? "unknown" : text;
}

std::string ReadField(COsInfo& host, FirmwareGetter get)
{
    std::string value;
    try {
        (void)(host.*get)(value);  // false leaves it empty
    } catch (const std::out_of_range&) {
        // The field is there, without a value after its colon.
    }
    return OrUnknown(value);
}

}  // namespace

void RunSystem(IWbemClassObject* /*parameters*/, IWbemClassObject* result)
{
    const QuietErrors quiet;  // dmidecode
    COsInfo host;
    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    Set(*result, "Name", OrUnknown(host.getName()));
    Set(*result, "Version", OrUnknown(host.getVersion()));

    IWbemClassObject firmware;
    (void)host.release();  // a cache of an earlier run may be empty, or older than the firmware
    for (const auto& field : kFirmwareFields)
        Set(firmware, field.property, ReadField(host, field.get));
    (void)host.release();
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(result, "Firmware", &firmware);
}

}  // namespace one_request
