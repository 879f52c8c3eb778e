// A whole XML document, node by node and attribute by attribute: the reader beside a plain loop
// over libxml2's text reader, which it is built on. That loop is the limit.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xmlreader.h>

#include <cstring>
#include <string>

#include "IXmlReader.h"
#include "support/Files.h"

namespace {

using namespace qor::test;

constexpr char kDocument[] = "/opt/catalog.xml";
constexpr double kSeconds = 0.25;  // of one measurement at least: a walk is long

class Reader : public IXmlReader
{
public:
    int QueryInterface(const void*, void**) override { return -1; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

// What a program makes of a document; all that a walk was told shows in it.
struct Summary {
    std::size_t nodes = 0;
    std::size_t attributes = 0;
    std::size_t emptyElements = 0;
    std::size_t typeSum = 0;
    std::size_t textBytes = 0;
    std::size_t hash = 0;
    bool complete = false;

    void AddText(const char* text, std::size_t length)
    {
        textBytes += length;
        hash = hash * 31 + static_cast<unsigned char>(text[length == 0 ? 0 : length - 1]);
    }

    bool operator==(const Summary& other) const
    {
        return nodes == other.nodes && attributes == other.attributes &&
               emptyElements == other.emptyElements && typeSum == other.typeSum &&
               textBytes == other.textBytes && hash == other.hash && complete == other.complete;
    }
};

// Elements, their ends and attributes are asked for their names, attributes and all others for
// their values.

void AddName(IXmlReader& reader, Summary& summary)
{
    const char* text;
    unsigned int length;
    if (reader.GetLocalName(&text, &length) == 0)
        summary.AddText(text, length);
}

void AddValue(IXmlReader& reader, Summary& summary)
{
    const char* text;
    unsigned int length;
    if (reader.GetValue(&text, &length) == 0)
        summary.AddText(text, length);
}

void AddAttributes(IXmlReader& reader, Summary& summary)
{
    for (int moved = reader.MoveToFirstAttribute(); moved == 0;
         moved = reader.MoveToNextAttribute()) {
        ++summary.attributes;
        AddName(reader, summary);
        AddValue(reader, summary);
    }
    (void)reader.MoveToElement();
}

Summary Ours()
{
    Summary summary;
    Reader reader;
    (void)FileStream::OpenFile(kDocument, nullptr, false);
    if (reader.SetInput(nullptr) != 0)
        return summary;
    XmlNodeType type;
    int result;
    while ((result = reader.Read(&type)) == 0) {
        ++summary.nodes;
        summary.typeSum += static_cast<std::size_t>(type);
        if (type != XmlNodeType_Element && type != XmlNodeType_EndElement) {
            AddValue(reader, summary);
            continue;
        }
        AddName(reader, summary);
        if (type == XmlNodeType_Element) {
            summary.emptyElements += reader.IsEmptyElement();
            AddAttributes(reader, summary);
        }
    }
    summary.complete = result == 1;
    return summary;
}

void AddText(const xmlChar* text, Summary& summary)
{
    if (text != nullptr)
        summary.AddText(reinterpret_cast<const char*>(text),
                        std::strlen(reinterpret_cast<const char*>(text)));
}

void AddAttributes(xmlTextReaderPtr reader, Summary& summary)
{
    for (int moved = xmlTextReaderMoveToFirstAttribute(reader); moved == 1;
         moved = xmlTextReaderMoveToNextAttribute(reader)) {
        ++summary.attributes;
        AddText(xmlTextReaderConstName(reader), summary);
        AddText(xmlTextReaderConstValue(reader), summary);
    }
    (void)xmlTextReaderMoveToElement(reader);
}

// Frees what the parser keeps, too, as the end of a document does for the reader.
Summary Plain()
{
    Summary summary;
    const xmlTextReaderPtr reader = xmlReaderForFile(kDocument, nullptr, 0);
    if (reader == nullptr)
        return summary;
    int result;
    while ((result = xmlTextReaderRead(reader)) == 1) {
        const int type = xmlTextReaderNodeType(reader);
        ++summary.nodes;
        summary.typeSum += static_cast<std::size_t>(type);
        if (type != XML_READER_TYPE_ELEMENT && type != XML_READER_TYPE_END_ELEMENT) {
            AddText(xmlTextReaderConstValue(reader), summary);
            continue;
        }
        AddText(xmlTextReaderConstName(reader), summary);
        if (type == XML_READER_TYPE_ELEMENT) {
            summary.emptyElements += xmlTextReaderIsEmptyElement(reader) == 1;
            AddAttributes(reader, summary);
        }
    }
    summary.complete = result == 0;
    xmlFreeTextReader(reader);
    xmlCleanupParser();
    return summary;
}

// What tells of one package in a catalogue's running text.
constexpr char kNote[] =
    "</b> had broken, and leaves the rest as it was. Servers that are up to date are passed over; "
    "all others start anew once, after their services have come to rest. Packages of the same kind "
    "may be installed together.";

// A catalogue of update packages, with white space, entities, comments and a CDATA section each.
std::string Document(std::size_t size)
{
    std::string text = "<?xml version='1.0'?>\n<catalog>\n";
    for (int i = 0; text.size() < size; ++i) {
        const std::string number = std::to_string(i);
        text += "  <package id='" + number + "' kind='driver' version='1." + number + "'>\n";
        text += "    <name>Package &lt;" + number + "&gt;</name><reboot/>\n";
        text += "    <!-- checked --><text><![CDATA[Mends what <b>" + number + kNote +
                "]]></text>\n  </package>\n";
    }
    return text + "</catalog>\n";
}

void Measure(benchmark::State& state, Summary (*walk)(), std::size_t size)
{
    WriteFile(kDocument, Document(size));
    const Summary summary = Plain();
    if (!summary.complete || summary.attributes == 0 || !(Ours() == summary)) {
        state.SkipWithError("the walks differ");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(walk());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

constexpr struct {
    const char* name;
    std::size_t bytes;
} kSizes[] = {{"16K", 1 << 14}, {"128K", 1 << 17}, {"1M", 1 << 20}};

void Register()
{
    for (const auto& size : kSizes) {
        const std::string operation = std::string("xml.") + size.name;
        benchmark::RegisterBenchmark((operation + "/ours").c_str(), Measure, Ours, size.bytes)
            ->MinTime(kSeconds);
        benchmark::RegisterBenchmark((operation + "/limit").c_str(), Measure, Plain, size.bytes)
            ->MinTime(kSeconds);
    }
}

[[maybe_unused]] const bool registered = (Register(), true);

}  // namespace
