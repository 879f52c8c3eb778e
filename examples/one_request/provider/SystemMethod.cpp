#include "provider/SystemMethod.h"

#include <stdexcept>
#include <string>

#include "CIWbemUtil.h"
#include "COsInfo.h"
#include "provider/MethodError.h"
#include "provider/QuietErrors.h"

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

void AddFirmware(COsInfo& host, IWbemClassObject* result)
{
    IWbemClassObject nested;
    (void)host.release();  // a cache of an earlier run may be empty, or older than the firmware
    for (const auto& field : kFirmwareFields) {
        const std::string value = ReadField(host, field.get);
        (void)CIWbemUtil::setStringToIWbemClassObject(&nested, field.property, value);
    }
    (void)host.release();
    (void)CIWbemUtil::setParameterClassToIWbemClassObject(result, "Firmware", &nested);
}

}  // namespace

void RunSystemMethod(IWbemClassObject* /*parameters*/, IWbemClassObject* result)
{
    const QuietErrors quiet;  // dmidecode
    COsInfo host;
    (void)CIWbemUtil::setReturnValueToIWbemClassObject(result, kStatusSuccess);
    (void)CIWbemUtil::setStringToIWbemClassObject(result, "Name", OrUnknown(host.getName()));
    (void)CIWbemUtil::setStringToIWbemClassObject(result, "Version", OrUnknown(host.getVersion()));
    AddFirmware(host, result);
}

}  // namespace one_request
