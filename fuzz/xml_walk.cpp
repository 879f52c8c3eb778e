// The XML walk: IXmlReader against a plain loop over libxml2's reader.
//   the document
#include <gtest/gtest.h>
#include <libxml/xmlerror.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "support/FuzzTarget.h"
#include "util/xml/XmlWalk.h"

namespace qor::fuzz {
namespace {

constexpr char kFile[] = "/opt/fuzz/a.xml";

// In place of the standard error stream, where a finding's report goes.
void Collect(void* errors, const char* format, ...)
{
    char text[1024];
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text, sizeof text, format, arguments);  // cut alike on both sides
    va_end(arguments);
    *static_cast<std::string*>(errors) += text;
}

using WalkFunction = test::XmlDocument (*)(const std::string&);

test::XmlDocument Document(WalkFunction walk)
{
    std::string errors;
    xmlSetGenericErrorFunc(&errors, Collect);
    test::XmlDocument document = walk(kFile);
    xmlSetGenericErrorFunc(nullptr, nullptr);
    document.errors = errors;
    return document;
}

}  // namespace

void TestInput(Input input)
{
    const std::string content = input.Rest();
    PutFile(kFile, content);
    EXPECT_EQ(Document(test::PlainWalkUncaught), Document(test::WalkUncaught)) << Shown(content);
}

}  // namespace qor::fuzz
