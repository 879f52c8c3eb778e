#include "provider/Readers.h"

#include <algorithm>
#include <istream>

#include "IXmlReader.h"
#include "provider/Method.h"

namespace one_request {
namespace {

// x86 and some ARM, MIPS, POWER, RISC-V.
const char* const kModelKeys[] = {"model name", "cpu model", "cpu", "uarch"};

std::string Trim(const std::string& text)
{
    constexpr char kBlanks[] = " \t";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsModelKey(const std::string& key)
{
    return std::find(std::begin(kModelKeys), std::end(kModelKeys), key) != std::end(kModelKeys);
}

// Lives on the stack: nothing is counted, and it is no other interface.
class Reader : public IXmlReader
{
public:
    int QueryInterface(const void*, void**) override { return -1; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

// "processor", or "processor 0" as s390x has it.
bool IsProcessorKey(const std::string& key)
{
    const std::string number = "processor ";
    return key == "processor" ||
           (key.compare(0, number.size(), number) == 0 &&
            key.find_first_not_of("0123456789", number.size()) == std::string::npos);
}

std::string NameOf(Reader& reader)
{
    const char* text = "";
    (void)reader.GetLocalName(&text, nullptr);  // what fails writes nothing
    return text;
}

std::string ValueOf(Reader& reader)
{
    const char* text = "";
    (void)reader.GetValue(&text, nullptr);
    return text;
}

// The attributes of the current element.
std::map<std::string, std::string> ReadAttributes(Reader& reader)
{
    std::map<std::string, std::string> attributes;
    for (int moved = reader.MoveToFirstAttribute(); moved == 0;
         moved = reader.MoveToNextAttribute())
        attributes[NameOf(reader)] = ValueOf(reader);
    (void)reader.MoveToElement();
    return attributes;
}

}  // namespace

CpuInfo ParseCpuInfo(std::istream& lines)
{
    CpuInfo info;
    std::string line;
    while (std::getline(lines, line)) {
        const auto colon = line.find(':');
        if (colon == std::string::npos)
            continue;
        const std::string key = Trim(line.substr(0, colon));
        if (IsProcessorKey(key))
            ++info.count;
        else if (info.model.empty() && IsModelKey(key))
            info.model = Trim(line.substr(colon + 1));
    }
    return info;
}

std::vector<Device> ParseDeviceList(std::istream& lines)
{
    std::vector<Device> devices;
    std::string line;
    while (std::getline(lines, line)) {
        const auto first = line.find('-');
        const auto second = line.find('-', first == std::string::npos ? first : first + 1);
        if (second == std::string::npos)
            continue;
        devices.push_back({line.substr(0, first), line.substr(first + 1, second - first - 1),
                           line.substr(second + 1)});
    }
    return devices;
}

Catalogue ReadCatalogue(const std::string& path)
{
    const QuietErrors quiet;  // the parser's messages
    Reader reader;
    (void)FileStream::OpenFile(path.c_str(), nullptr, false);
    if (reader.SetInput(nullptr) != 0)
        throw MethodError(kStatusNotFound, "the catalogue " + path + " cannot be opened");

    // To the end before anything is thrown: the document is a state of the process, and the end
    // closes it.
    Catalogue catalogue;
    bool complete = true;
    XmlNodeType type = XmlNodeType_None;
    int status = 0;
    while ((status = reader.Read(&type)) == 0) {
        if (type != XmlNodeType_Element || NameOf(reader) != "component")
            continue;
        const auto attributes = ReadAttributes(reader);
        const auto name = attributes.find("name");
        const auto version = attributes.find("version");
        if (name == attributes.end() || version == attributes.end())
            complete = false;
        else
            catalogue.emplace(name->second, version->second);
    }
    if (status != 1)
        throw MethodError(kStatusFailed, "the catalogue " + path + " is no well-formed XML");
    if (!complete)
        throw MethodError(kStatusFailed,
                          "a component in the catalogue " + path + " lacks name or version");
    return catalogue;
}

const char* StateOf(const Catalogue& catalogue, const std::string& component,
                    const std::string& installed)
{
    const auto wanted = catalogue.find(component);
    if (wanted == catalogue.end())
        return kNotListed;
    return CFileUtility::CheckFileVersion(installed, wanted->second) > 0 ? kUpdateNeeded : kCurrent;
}

}  // namespace one_request
