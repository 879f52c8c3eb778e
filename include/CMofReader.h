// CMofReader.h - reads a provider definition file: which library serves which class.
//
//     CMofReader reader("/opt/velmora/qor/som/providers.ini");
//     try { reader.ParseContents(); }
//     catch (CTraceException* e) { Report(e->CException::what()); delete e; }
//     CMofContents provider;
//     if (reader.GetProviderInfo("Inventory", provider)) Load(provider.libName);
//
// The file: "NumProvider" in [Common], then [Provider1] .. [ProviderN], each with "ProviderKind",
// "LibName", "ClassName", "ClassKind", "ClassMode", "SpecificFile", and optionally "MethodNum"
// with "Method1" .. "MethodM". docs/providers.md shows one.
//
// Threads: parse on one thread; afterwards any thread may look up.
#ifndef QOR_CMOFREADER_H
#define QOR_CMOFREADER_H

#include <string>
#include <vector>

#include "CIniFileReader.h"
#include "CTraceException.h"
#include "QorExport.h"

/// One provider's description, texts as read. Kinds and modes are compared whole: with a blank or a
/// carriage return at the end they give 0 and 128. End lines with line feeds only.
struct CMofContents {
    std::string providerKind;              ///< "ProviderKind"
    std::string libName;                   ///< "LibName", unchanged
    std::string className;                 ///< "ClassName", the look-up key
    std::string specificFile;              ///< "SpecificFile"
    int classKind = 0;                     ///< 1 VELMORA_DevService, 2 VELMORA_ToolService, else 0
    int classMode = 0;                     ///< 1 FIXED_DEV, 2 FIXED_TOOL, else 128
    int status = 0;                        ///< 0 after parsing; free for use by the program
    std::vector<std::string> methodNames;  ///< "Method1" .. "MethodM"
};

class QOR_API CMofReader : public CIniFileReader
{
public:
    /// path: copied. Reads nothing.
    CMofReader(const std::string& path);

    /// Frees the records; copies stay valid.
    ~CMofReader();

    /// Appends the records of all providers, in order. Returns true always; without the file or
    /// "NumProvider" there are none.
    ///
    /// Intended: a missing required key throws a CTraceException* with the message "KEY Not Found":
    /// catch the pointer and delete it. The providers before the failing one stay in the list. A
    /// second call appends every provider again: make a new reader instead.
    bool ParseContents();

    /// "NumProvider" of [Common], 0 when there is none.
    int GetProviderCount();

    /// Sets `value` to the value of a required key; throws as ParseContents when it is missing.
    void GetItem(std::string section, std::string key, std::string& value);

    /// Appends the section's method names; none if "MethodNum" is missing or below 1. When a name
    /// is missing, appends those before it and throws as ParseContents.
    void GetMethodNames(std::string section, std::vector<std::string>& names);

    /// Copies the first record of exactly that class name. False leaves `contents` untouched.
    bool GetProviderInfo(std::string className, CMofContents& contents) const;

    /// Appends copies of all records, in order.
    void GetMofContents(std::vector<CMofContents>& records) const;

private:
    std::vector<CMofContents> contents_;
};

#endif  // QOR_CMOFREADER_H
