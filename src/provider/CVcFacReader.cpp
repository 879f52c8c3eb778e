#include "CVcFacReader.h"

#include <memory>

#include "base/Numbers.h"

namespace {

constexpr char kIndexSection[] = "SuportDevice";
constexpr char kCountKey[] = "SuportDeviceNum";
constexpr char kLibraryKey[] = "DllName";
constexpr char kClassKey[] = "ClassName";

// Gives the entry to the map, unless the name is there already.
void Insert(std::map<std::string, SVendorInfo*>& vendors, const std::string& name,
            std::unique_ptr<SVendorInfo> entry)
{
    if (vendors.emplace(name, entry.get()).second)
        (void)entry.release();
}

}  // namespace

CVcFacReader::CVcFacReader(std::string path) : CIniFileReader(path), fileName_(std::move(path)) {}

CVcFacReader::~CVcFacReader()
{
    for (const auto& vendor : vendors_)
        delete vendor.second;
}

void CVcFacReader::parse()
{
    std::list<std::string> sections;
    list_section(sections);

    std::string count;
    if (find_section(kIndexSection, kCountKey, count))
        parseMultiDeviceFile(qor::ToInt(count), sections);
    else if (!sections.empty())
        parseSimpleDeviceFile(sections.front());
}

void CVcFacReader::parseSimpleDeviceFile(std::string deviceName)
{
    auto entry = std::make_unique<SVendorInfo>();
    const auto find = [this](const char* key, std::string& value) { return find_key(key, value); };
    if (find(kLibraryKey, entry->dllName) && find(kClassKey, entry->className))
        Insert(vendors_, deviceName, std::move(entry));
}

void CVcFacReader::parseMultiDeviceFile(int count, std::list<std::string>& sections)
{
    if (!sections.empty())
        sections.pop_front();

    for (int i = 0; i < count && !sections.empty(); ++i) {
        auto entry = std::make_unique<SVendorInfo>();
        const std::string& name = sections.front();
        const auto find = [&](const char* key, std::string& value) {
            return find_section(name, key, value);
        };
        // Intended: an incomplete section ends the reading; see the header.
        if (!find(kLibraryKey, entry->dllName) || !find(kClassKey, entry->className))
            return;
        Insert(vendors_, name, std::move(entry));
        sections.pop_front();
    }
}

std::map<std::string, SVendorInfo*>::iterator CVcFacReader::find(const std::string& deviceName)
{
    return vendors_.find(deviceName);
}

bool CVcFacReader::isExist(const std::string& deviceName) const
{
    return vendors_.find(deviceName) != vendors_.end();
}

std::map<std::string, SVendorInfo*>::iterator CVcFacReader::getIterator()
{
    return vendors_.begin();
}

bool CVcFacReader::hasNext(std::map<std::string, SVendorInfo*>::iterator position) const
{
    return position != vendors_.end();
}
