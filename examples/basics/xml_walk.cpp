// Prints the elements of an XML file with their attributes and texts.
//   xml_walk FILE
#include <iostream>
#include <string>

#include "IXmlReader.h"

namespace {

class Reader : public IXmlReader
{
public:
    int QueryInterface(const void*, void**) override { return -1; }
    unsigned long AddRef() override { return 1; }  // lives on the stack: no count is kept
    unsigned long Release() override { return 1; }
};

std::string NameOf(Reader& reader)
{
    const char* name = "";
    unsigned int length = 0;
    return reader.GetLocalName(&name, &length) == 0 ? std::string(name, length) : std::string();
}

std::string ValueOf(Reader& reader)
{
    const char* value = "";
    unsigned int length = 0;
    return reader.GetValue(&value, &length) == 0 ? std::string(value, length) : std::string();
}

void PrintElement(Reader& reader)
{
    std::cout << NameOf(reader);
    for (int moved = reader.MoveToFirstAttribute(); moved == 0;
         moved = reader.MoveToNextAttribute()) {
        const std::string name = NameOf(reader);
        std::cout << " " << name << "=" << ValueOf(reader);
    }
    reader.MoveToElement();
    std::cout << "\n";
}

}  // namespace

int main(int argc, char** argv)
{
    Reader reader;
    if (argc != 2 || FileStream::OpenFile(argv[1], nullptr, false) != 0 ||
        reader.SetInput(nullptr) != 0) {
        std::cerr << "usage: xml_walk FILE\n";
        return 2;
    }
    XmlNodeType type;
    int status;
    while ((status = reader.Read(&type)) == 0) {  // to the end: it frees the document
        if (type == XmlNodeType_Element)
            PrintElement(reader);
        else if (type == XmlNodeType_Text)
            std::cout << "  " << ValueOf(reader) << "\n";
    }
    return status == 1 ? 0 : 1;
}
