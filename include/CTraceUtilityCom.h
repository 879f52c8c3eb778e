// CTraceUtilityCom.h - trace settings and message catalogues of the components.
//
//     const Setting_Info* settings = CTraceUtilityCom::GetSettingInfo("um");
//     if (settings->traceLevel & CTraceUtility::TRACE_DBG_INFO) ...
//
// Read once per component and process, from the component's install directory: "TraceSetting.ini"
// (section "APP_SETTING": "TraceLevel" in hexadecimal, "Lang") and "TraceSettingMsg.ini" (a
// section per message: "FormatEng" or "Format", "Type", "Read", "Event"). Changes to the files
// take effect when the process starts again. The files are explained in docs/logging.md.
//
// Threads: any thread may call these functions; the library does not change settings once they are
// read. settingInfoMap itself is for one thread at a time.
#ifndef QOR_CTRACEUTILITYCOM_H
#define QOR_CTRACEUTILITYCOM_H

#include <map>
#include <string>
#include <utility>

#include "QorExport.h"

/// One entry of a message catalogue. Braces initialise it in each standard:
/// Msg_Info{"text %d", "0x00000001", "info", 0}.
struct Msg_Info {
#if __cplusplus < 201402L
    /// The members in their order. C++11 takes no default value in what braces initialise.
    Msg_Info(std::string theFormat = std::string(), std::string theRead = std::string(),
             std::string theType = std::string(), int theEvent = 0)
        : format(std::move(theFormat)),
          read(std::move(theRead)),
          type(std::move(theType)),
          event(theEvent)
    {
    }
#endif

    std::string format;  ///< printf-style format
    std::string read;    ///< read code as text, for example "0x00000001"
    std::string type;    ///< record type; "fail" marks an error
    int event = 0;       ///< non-zero: the record also goes to the system log
};

/// The settings of one component, or of all providers together.
struct Setting_Info {
    unsigned int traceLevel = 0xFFFFFFFFU;     ///< debug levels as bits; 64 compresses old logs
    std::string language = "EN";               ///< "EN" takes the catalogue's "FormatEng" texts
    std::map<std::string, Msg_Info> messages;  ///< by message identifier
};

class QOR_API CTraceUtilityCom
{
public:
    /// 2 for "um", 5 for "cli", 6 for "som", 0 for any other name (providers) and for null.
    ///
    /// Intended: a leading part of "um", "som" or "cli", tried in that order, counts as the whole:
    /// "" and "u" give 2, "so" gives 6; a longer name such as "umx" gives 0. Spell names in full.
    static int GetComponentType(const char* name);

    /// The directory of a component's programs, by its exact name: "/opt/velmora/qor/um" for "um",
    /// "sbin" and "bin" below the root for "som" and "cli", "provider" for the suite's providers;
    /// "" for any other name and null. Settings may lie elsewhere: see GetIniFileName.
    static std::string GetBasePath(const char* name);

    /// Sets `out` to the path of the component's "TraceSetting.ini".
    static void GetIniFileName(const char* component, std::string& out);

    /// Sets `out` to the path of the component's "TraceSettingMsg.ini".
    static void GetMsgFileName(const char* component, std::string& out);

    /// The component's settings, from the cache or else from its files; null for null. The cache
    /// owns them, and they live as long as the process. All providers share one entry, from
    /// /opt/velmora/qor/provider.
    ///
    /// Intended: a catalogue section without "Type", "Read" or "Event" takes the value of the last
    /// section before it that had one, and a repeated section keeps its first entry: give every
    /// message all its keys and one section.
    static Setting_Info* GetSettingInfo(const char* component);

    /// The cache, by component name ("provider" for all providers). The library never empties it,
    /// and uses entries that a caller adds. At the end of the process the entries move to a map
    /// that is never destroyed.
    static std::map<std::string, Setting_Info*> settingInfoMap;
};

#endif  // QOR_CTRACEUTILITYCOM_H
