// XmlReader.h - a reader object as programs define it: the interface's reference counting is
// theirs.
#ifndef QOR_TEST_UTIL_XMLREADER_H
#define QOR_TEST_UTIL_XMLREADER_H

#include "IXmlReader.h"

namespace qor::test {

class XmlReader : public IXmlReader
{
public:
    int QueryInterface(const void*, void**) override { return -1; }
    unsigned long AddRef() override { return 1; }
    unsigned long Release() override { return 1; }
};

}  // namespace qor::test

#endif  // QOR_TEST_UTIL_XMLREADER_H
