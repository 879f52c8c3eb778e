#include "provider/Catalogue.h"

#include "CFileUtility.h"
#include "IXmlReader.h"
#include "provider/MethodError.h"
#include "provider/QuietErrors.h"

namespace one_request {
namespace {

constexpr char kComponentElement[] = "component";
constexpr char kName[] = "name";
constexpr char kVersion[] = "version";

// Lives on the stack: nothing is counted, and it is no other interface.
class Reader : public IXmlReader
{
public:
    int QueryInterface(const void*, void**) override { return -1; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

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
        if (type != XmlNodeType_Element || NameOf(reader) != kComponentElement)
            continue;
        const auto attributes = ReadAttributes(reader);
        const auto name = attributes.find(kName);
        const auto version = attributes.find(kVersion);
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

State StateOf(const Catalogue& catalogue, const std::string& component,
              const std::string& installed)
{
    const auto wanted = catalogue.find(component);
    if (wanted == catalogue.end())
        return State::kNotListed;
    return CFileUtility::CheckFileVersion(installed, wanted->second) > 0 ? State::kUpdateNeeded
                                                                         : State::kCurrent;
}

}  // namespace one_request
