#include "util/xml/XmlWalk.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xmlreader.h>

#include <algorithm>
#include <cstring>
#include <ostream>

#include "IXmlReader.h"
#include "support/Processes.h"
#include "util/xml/XmlReader.h"

namespace qor::test {
namespace {

std::string TextOf(int result, const char* text, unsigned int length)
{
    if (result != 0)
        return "-";
    EXPECT_EQ(std::strlen(text), length);
    return text;
}

XmlItem Current(XmlReader& reader, bool attribute, int type)
{
    const char* text = nullptr;
    unsigned int length = 0;
    XmlItem item = {attribute, type, "", "", reader.IsEmptyElement()};
    const int named = reader.GetLocalName(&text, &length);
    item.name = TextOf(named, text, length);
    const int valued = reader.GetValue(&text, &length);
    item.value = TextOf(valued, text, length);
    return item;
}

void Walk(XmlReader& reader, XmlDocument& document)
{
    if (reader.SetInput(nullptr) != 0) {
        document.end = XmlDocument::kNotOpened;
        return;
    }
    XmlNodeType type = XmlNodeType_None;
    while ((document.end = reader.Read(&type)) == 0) {
        document.items.push_back(Current(reader, false, type));
        EXPECT_TRUE(reader.IsDefault());
        for (int moved = reader.MoveToFirstAttribute(); moved == 0;
             moved = reader.MoveToNextAttribute()) {
            document.items.push_back(Current(reader, true, 0));
            EXPECT_FALSE(reader.IsDefault());
        }
        EXPECT_EQ(0, reader.MoveToElement());
    }
}

std::string PlainText(const xmlChar* text)
{
    return text == nullptr ? "-" : reinterpret_cast<const char*>(text);
}

XmlItem Current(xmlTextReaderPtr reader, bool attribute)
{
    return {attribute, attribute ? 0 : xmlTextReaderNodeType(reader),
            PlainText(xmlTextReaderConstName(reader)), PlainText(xmlTextReaderConstValue(reader)),
            xmlTextReaderIsEmptyElement(reader) == 1};
}

void PlainWalk(const std::string& path, XmlDocument& document)
{
    const xmlTextReaderPtr reader = xmlReaderForFile(path.c_str(), nullptr, 0);
    if (reader == nullptr) {
        document.end = XmlDocument::kNotOpened;
        return;
    }
    int read;
    while ((read = xmlTextReaderRead(reader)) == 1) {
        document.items.push_back(Current(reader, false));
        for (int moved = xmlTextReaderMoveToFirstAttribute(reader); moved == 1;
             moved = xmlTextReaderMoveToNextAttribute(reader))
            document.items.push_back(Current(reader, true));
        (void)xmlTextReaderMoveToElement(reader);  // 0 when it is there already
    }
    document.end = read == 0 ? 1 : -1;
    xmlFreeTextReader(reader);
    xmlCleanupParser();
}

}  // namespace

bool XmlItem::operator==(const XmlItem& other) const
{
    return attribute == other.attribute && type == other.type && name == other.name &&
           value == other.value && empty == other.empty;
}

bool XmlDocument::operator==(const XmlDocument& other) const
{
    return items == other.items && end == other.end && errors == other.errors;
}

std::ostream& operator<<(std::ostream& stream, const XmlItem& item)
{
    stream << (item.attribute ? "  attribute " : "node ") << item.type << " " << item.name << " ["
           << item.value.substr(0, 100) << "]" << (item.empty ? " empty" : "");
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const XmlDocument& document)
{
    stream << document.items.size() << " items";
    const std::size_t shown = std::min<std::size_t>(document.items.size(), 100);
    for (std::size_t i = 0; i < shown; ++i)
        stream << "\n" << document.items[i];
    return stream << "\nend " << document.end << "\n" << document.errors;
}

XmlDocument Walk(const std::string& path)
{
    XmlDocument document = {};
    const std::string errors = CaptureStderr([&] { document = WalkUncaught(path); });
    document.errors = errors;
    return document;
}

XmlDocument PlainWalk(const std::string& path)
{
    XmlDocument document = {};
    const std::string errors = CaptureStderr([&] { document = PlainWalkUncaught(path); });
    document.errors = errors;
    return document;
}

XmlDocument WalkUncaught(const std::string& path)
{
    XmlDocument document = {};
    XmlReader reader;
    EXPECT_EQ(0, FileStream::OpenFile(path.c_str(), nullptr, false));
    Walk(reader, document);
    return document;
}

XmlDocument PlainWalkUncaught(const std::string& path)
{
    XmlDocument document = {};
    PlainWalk(path, document);
    return document;
}

}  // namespace qor::test
