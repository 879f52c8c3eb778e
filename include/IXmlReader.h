// IXmlReader.h - reads an XML file node by node, with the names of the Windows pull parser.
//
//     class Reader : public IXmlReader {                      // define the reference counting
//         int QueryInterface(const void*, void**) override { return -1; }
//         unsigned long AddRef() override { return 1; }
//         unsigned long Release() override { return 1; }
//     } reader;
//     FileStream::OpenFile("catalog.xml", nullptr, false);
//     XmlNodeType type;
//     if (reader.SetInput(nullptr) == 0)
//         while (reader.Read(&type) == 0) { ... }              // the end frees the document
//
// Intended: the open document belongs to the process, not to the reader: all readers share it. Read
// one document at a time. The end of each document also cleans up the XML library
// (xmlCleanupParser): a program that also uses that library itself, or on other threads, must not
// do so meanwhile. Parse errors are printed to the standard error stream.
//
// The open file is close-on-exec, except where the XML library opens it itself: compressed files,
// UTF-16 without a byte order mark, files that are not regular, "-" and URIs ("file:"). Other files
// bypass input callbacks that the program registered with the XML library.
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

    /// For the derived class: whether it offers interface `iid`. The library never calls it.
    virtual int QueryInterface(const void* iid, void** object) = 0;

    /// For the derived class: counts a reference. The library never calls it.
    virtual unsigned long AddRef() = 0;

    /// For the derived class: drops a reference. The library never calls it.
    virtual unsigned long Release() = 0;
};

/// A source of text; callers' declarations name it.
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

/// Results are 0 for success, 1 for the end or no attribute, other values for errors. The document
/// owns the texts: a text is valid until the next Read or the next move to an attribute; copy it to
/// keep it. Without an open document, Read returns -1, getters their error codes, moves to
/// attributes 1, tests false; nothing is written.
class QOR_API IXmlReader : public IUnknown
{
public:
    /// Opens nothing.
    IXmlReader();

    /// An open document stays open: it belongs to the process (see SetInput).
    ~IXmlReader() override;

    /// Opens the file that FileStream::OpenFile named; `ignored` is not used. Returns 0, or 1 if it
    /// cannot be opened. A document that is still open is closed.
    int SetInput(IUnknown* ignored);

    /// Moves to the next node, stores its kind in `*type` (null is allowed) and returns 0. Returns
    /// 1 at the end of the document and -1 on a parse error; both close the document.
    int Read(XmlNodeType* type);

    /// Sets `*name` to the qualified name of the current node, and `*length`, unless null, to its
    /// length in bytes. Returns 0; 0x80000002 if it has none or `name` is null.
    int GetLocalName(const char** name, unsigned int* length);

    /// Intended: as GetLocalName, "p:x" for an element p:x, not the prefix: cut at the colon. The
    /// code for none is 0x80000001.
    int GetPrefix(const char** prefix, unsigned int* length);

    /// As GetLocalName, for the value of the current node; the code for none is 0x80000003.
    /// Entities that the document declares are replaced in attribute values; elsewhere they are
    /// separate nodes.
    int GetValue(const char** value, unsigned int* length);

    /// Whether the current element is empty, as "<a/>" is.
    bool IsEmptyElement();

    /// Intended: true when the current node is not an attribute.
    bool IsDefault();

    /// Moves to the element's first attribute. Returns 0, or 1 if there is none. Intended: an error
    /// of the parser gives 0 too.
    int MoveToFirstAttribute();

    /// As MoveToFirstAttribute, for the next one.
    int MoveToNextAttribute();

    /// Moves back to the element of the current attribute. Returns 0 always.
    int MoveToElement();

private:
    std::string texts_[4];  // kept for the layout; unused
};

/// Does nothing and returns 0: the caller makes its own reader objects.
QOR_API int CreateXmlReader(...);

/// Does nothing and returns 0.
QOR_API int CreateXmlReaderInputWithEncodingName(...);

#endif  // QOR_IXMLREADER_H
