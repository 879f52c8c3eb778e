// IXmlReader.h - reads an XML file node by node, with the names of the Windows pull parser.
//
//     class Reader : public IXmlReader {                      // the reference counting is yours
//         int QueryInterface(const void*, void**) override { return -1; }
//         unsigned long AddRef() override { return 1; }
//         unsigned long Release() override { return 1; }
//     } reader;
//     FileStream::OpenFile("catalog.xml", nullptr, false);
//     XmlNodeType type;
//     if (reader.SetInput(nullptr) == 0)
//         while (reader.Read(&type) == 0) { ... }              // to the end: it frees the document
//
// Intended: the document is a state of the process, not of the reader object: one at a time. Two
// readers share and disturb it. The end of each document also cleans up the XML library
// (xmlCleanupParser): a program that uses that library elsewhere, or in threads, must not
// read through this class meanwhile. Parse errors are printed to the standard error stream.
//
// The open file is close-on-exec. Exceptions are what the XML library opens itself: compressed
// files, UTF-16 without a byte order mark, files that are not regular, "-" and URIs ("file:"). For
// the others, input callbacks that the program registered with the XML library are not asked.
//
// Threads: one thread of the process. A cancelled thread (pthread_cancel(3)) completes its call;
// the document stays open for the next SetInput.
#ifndef QOR_IXMLREADER_H
#define QOR_IXMLREADER_H

#include <string>

#include "QorExport.h"

/// Reference counting and interface query; derived classes define them.
class QOR_API IUnknown
{
public:
    /// Objects may be deleted as an IUnknown.
    virtual ~IUnknown();

    /// The derived class's: whether it offers the interface named by `iid`. The library never
    /// calls it.
    virtual int QueryInterface(const void* iid, void** object) = 0;

    /// The derived class's: counts a reference. The library never calls it.
    virtual unsigned long AddRef() = 0;

    /// The derived class's: gives a reference back. The library never calls it.
    virtual unsigned long Release() = 0;
};

/// A source of text; kept for callers' declarations.
class QOR_API IStream : public IUnknown
{
};

/// Names the document to read.
class QOR_API FileStream
{
public:
    /// Remembers the path (copied) for the next SetInput; null is the empty path. Returns 0. The
    /// other arguments are ignored, and `stream` is not written.
    static int OpenFile(const char* path, IStream** stream, bool ignored);
};

/// The kind of a node; other values are passed through.
enum XmlNodeType : int {
    XmlNodeType_None = 0,                    ///< no node
    XmlNodeType_Element = 1,                 ///< start of an element, empty ones too
    XmlNodeType_Attribute = 2,               ///< an attribute; Read never stops at one
    XmlNodeType_Text = 3,                    ///< text
    XmlNodeType_CDATA = 4,                   ///< a CDATA section
    XmlNodeType_EntityReference = 5,         ///< a reference that was not replaced
    XmlNodeType_Entity = 6,                  ///< an entity
    XmlNodeType_ProcessingInstruction = 7,   ///< a processing instruction
    XmlNodeType_Comment = 8,                 ///< a comment
    XmlNodeType_Document = 9,                ///< a document
    XmlNodeType_DocumentType = 10,           ///< a document type declaration
    XmlNodeType_DocumentFragment = 11,       ///< a part of a document
    XmlNodeType_Notation = 12,               ///< a notation
    XmlNodeType_Whitespace = 13,             ///< white space
    XmlNodeType_SignificantWhitespace = 14,  ///< line feeds and spaces between elements
    XmlNodeType_EndElement = 15,             ///< end of an element that was not empty
    XmlNodeType_EndEntity = 16,              ///< end of an entity
    XmlNodeType_XmlDeclaration = 17          ///< the XML declaration
};

/// Results are 0 for success, 1 for nothing (more), other values for errors. Texts belong to the
/// document. A text is valid until the next Read or the next move to an attribute; copy it to keep
/// it. Without a document in progress the operations write nothing and find nothing: error codes
/// from Read and the getters, false, 1 from the moves to attributes.
class QOR_API IXmlReader : public IUnknown
{
public:
    /// Opens nothing.
    IXmlReader();

    /// A document still in progress stays open: it is the process's, see SetInput.
    ~IXmlReader() override;

    /// Opens the file that FileStream::OpenFile named; `ignored` is not used. Returns 0, or 1 if it
    /// cannot be opened. A document that is still in progress is closed.
    int SetInput(IUnknown* ignored);

    /// Moves to the next node and stores its kind in `*type` (null is allowed): 0. At the end of
    /// the document 1, on a parse error -1; the document is closed then.
    int Read(XmlNodeType* type);

    /// The qualified name of the current node and its length in bytes (null is allowed);
    /// 0x80000002 when it has none.
    int GetLocalName(const char** name, unsigned int* length);

    /// Intended: the same as GetLocalName, "p:x" for an element p:x, and not the prefix; 0x80000001
    /// when there is none. Cut at the colon yourself.
    int GetPrefix(const char** prefix, unsigned int* length);

    /// The value of the current node; 0x80000003 when it has none. Entities that the document
    /// declares are replaced in the values of attributes; elsewhere they are nodes of their own.
    int GetValue(const char** value, unsigned int* length);

    /// Whether the current element is empty, as "<a/>" is.
    bool IsEmptyElement();

    /// Intended: true when the current node is not an attribute.
    bool IsDefault();

    /// Moves to the element's first attribute: 0; 1 when there is none. Intended: an error of the
    /// parser gives 0 too.
    int MoveToFirstAttribute();

    /// As MoveToFirstAttribute, for the next one.
    int MoveToNextAttribute();

    /// Moves back to the element that owns the current attribute. Returns 0.
    int MoveToElement();

private:
    std::string texts_[4];  // kept for the layout; unused
};

/// Does nothing and returns 0: readers are objects of the caller's.
QOR_API int CreateXmlReader(...);

/// Does nothing and returns 0.
QOR_API int CreateXmlReaderInputWithEncodingName(...);

#endif  // QOR_IXMLREADER_H
