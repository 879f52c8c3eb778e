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
// Threads: one thread while it parses; afterwards the look-ups may come from any.
#ifndef QOR_CMOFREADER_H
#define QOR_CMOFREADER_H

#include <string>
#include <vector>

#include "CIniFileReader.h"
#include "CTraceException.h"
#include "QorExport.h"

/// One provider's description, texts as read. A kind or mode counts by its whole value: a blank or
/// a carriage return at its end gives 0 or 128, so end the file's lines with line feeds alone.
struct CMofContents {
    std::string providerKind;              ///< "ProviderKind"
    std::string libName;                   ///< "LibName", handed to the loader unchanged
    std::string className;                 ///< "ClassName", the look-up key
    std::string specificFile;              ///< "SpecificFile"
    int classKind = 0;                     ///< 1 VELMORA_DevService, 2 VELMORA_ToolService, else 0
    int classMode = 0;                     ///< 1 FIXED_DEV, 2 FIXED_TOOL, else 128
    int status = 0;                        ///< 0 after parsing; free for the record's users
    std::vector<std::string> methodNames;  ///< "Method1" .. "MethodM"
};

class QOR_API CMofReader : public CIniFileReader
{
public:
    /// path: copied. Reads nothing.
    CMofReader(const std::string& path);

    /// Frees the records; copies handed out stay.
    ~CMofReader();

    /// Appends the records of all providers, in order. Returns true; a missing file or
    /// "NumProvider" is no provider.
    ///
    /// Intended: a missing required key throws a CTraceException* with the message
    /// "KEY Not Found": whoever catches the pointer deletes it. The providers before it stay in the
    /// list. A second call appends every provider again: make a new reader instead.
    bool ParseContents();

    /// "NumProvider" of [Common], 0 when there is none.
    int GetProviderCount();

    /// Sets `value` to the value of a required key; throws as ParseContents when it is missing.
    void GetItem(std::string section, std::string key, std::string& value);

    /// Appends the section's method names; throws as ParseContents when one is missing, the ones
    /// before it appended. No "MethodNum", or one below 1: none.
    void GetMethodNames(std::string section, std::vector<std::string>& names);

    /// Copies the first record of exactly that class name. False leaves `contents` untouched.
    bool GetProviderInfo(std::string className, CMofContents& contents) const;

    /// Appends copies of all records, in order.
    void GetMofContents(std::vector<CMofContents>& records) const;

private:
    std::vector<CMofContents> contents_;
};

#endif  // QOR_CMOFREADER_H
