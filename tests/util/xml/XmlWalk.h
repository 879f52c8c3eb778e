// XmlWalk.h - all that a reader reports about a document, node by node and attribute by attribute.
//
//     EXPECT_EQ(PlainWalk("/opt/a.xml"), Walk("/opt/a.xml"));
#ifndef QOR_TEST_UTIL_XMLWALK_H
#define QOR_TEST_UTIL_XMLWALK_H

#include <iosfwd>
#include <string>
#include <vector>

namespace qor::test {

struct XmlItem {
    bool attribute;     // else a node
    int type;           // of a node; of an attribute 0
    std::string name;   // "-" when there is none
    std::string value;  // "-" when there is none
    bool empty;

    bool operator==(const XmlItem& other) const;
};

using XmlItems = std::vector<XmlItem>;

struct XmlDocument {
    static constexpr int kNotOpened = 100;

    XmlItems items;
    int end;             // of the last Read: 1 the end, -1 an error; or kNotOpened
    std::string errors;  // on the standard error stream

    bool operator==(const XmlDocument& other) const;
};

// For GoogleTest's reports.
std::ostream& operator<<(std::ostream& stream, const XmlItem& item);
std::ostream& operator<<(std::ostream& stream, const XmlDocument& document);

// As IXmlReader reads it. Lengths are compared with the texts on the way.
XmlDocument Walk(const std::string& path);

// As a loop over libxml2's text reader reads it.
XmlDocument PlainWalk(const std::string& path);

// The same two, which leave the standard error stream alone: `errors` stays empty.
XmlDocument WalkUncaught(const std::string& path);
XmlDocument PlainWalkUncaught(const std::string& path);

}  // namespace qor::test

#endif  // QOR_TEST_UTIL_XMLWALK_H
