// All that the doctor can find, in its words. README.md explains the ids.
#include "Report.h"

namespace doctor {

const std::vector<KnownFinding>& KnownFindings()
{
    constexpr Severity kWarning = Severity::kWarning;
    constexpr Severity kError = Severity::kError;
    static const std::vector<KnownFinding> all = {
        {"directory-missing", "directories", kWarning, "There is no such directory. {}",
         "Make it beforehand, with its owner and mode."},
        {"not-a-directory", "directories", kError,
         "{} has the name of a directory: what is read from there counts as missing, and nothing "
         "can be made there.",
         "Remove it, and make the directory."},
        {"directory-without-search", "directories", kWarning,
         "Its mode is {}, without search permission: nobody but root gets in; programs of other "
         "accounts lose what they write, and find nothing.",
         "Give it its owner, and mode 0700 for logs or 0755 for others."},
        {"foreign-owner", "directories", kError,
         "It belongs to user {}, who decides what root's programs read, load and run.",
         "chown root:root, once it is clear that the content is right."},
        {"writable-by-others", "directories", kError,
         "Its mode is {}: whoever may write it decides what root's programs read, load and run.",
         "chmod go-w, once it is clear that the content is right."},
        {"writable-by-others/log", "", kError,
         "Its mode is {}: whoever may write here can plant a hard link to a file of root's, which "
         "records are appended to and read from, and can remove logs.",
         "chmod 0700, with the account that logs as owner."},
        {"spool-open-to-others", "directories", kError, "Its mode is {}: every account can {}.",
         "chmod 2770, with the channel's users as group."},
        {"sticky-bit-missing", "directories", kError,
         "Its mode is {}, without the sticky bit: every account can remove or replace the "
         "library's scratch files between two steps.",
         "chmod 1777, and private directories for the services (PrivateTmp=yes)."},
        {"shared-name-taken", "directories", kError,
         "{} of user {} has a name that the library uses: {}",
         "Find out who has put it there, remove it, and give the services private directories "
         "(PrivateTmp=yes)."},
        {"tmpfiles-line-overridden", "directories", kWarning,
         "At each boot, and at each upgrade, this line gives {} mode {} and user {}; that of the "
         "package, with mode {} and user {} in {}, does not count.",
         "Remove the line, or give it the package's mode and user; the group is yours to choose."},
        {"tmpfiles-line-overridden/file", "", kWarning,
         "This file takes the place of {} and has no line for {}: nothing makes or corrects that "
         "directory.",
         "Remove the file; lines of your own belong in 00-qor-channel.conf beside it."},
        {"tmpfiles-line-not-applied", "directories", kWarning,
         "{} has mode {}, user {} and group {}, until the next boot gives it mode {}, user {} and "
         "group {}.",
         "Correct the line if it is wrong; then run: systemd-tmpfiles --create"},

        {"not-a-regular-file", "ini", kError, "{}: {}.", "Replace it by a regular file."},
        {"line-too-long", "ini", kError,
         "The line has {} bytes. It ends after 255 of them; what follows is read as a line of its "
         "own: {}.",
         "Shorten the line to 255 bytes."},
        {"header-without-bracket", "ini", kError,
         "The header has no closing bracket: it opens every section that its text begins with, and "
         "its own name is listed with the line feed, so that no message of this name is found.",
         "Close the header: [{}]"},
        {"section-repeated", "ini", kWarning,
         "[{}] begins in line {} already: of a key that both hold, the first counts, and where one "
         "follows the other directly, this one is not read at all.",
         "Keep each section in one place."},
        {"key-repeated", "ini", kWarning,
         "\"{}\" stands in line {} of this section already: this one is not read.",
         "Remove one of the two."},
        {"entry-before-first-section", "ini", kWarning,
         "\"{}\" stands above the first section: it belongs to none and is not found.",
         "Put a section header above it."},
        {"blank-in-key", "ini", kWarning,
         "The blank in front belongs to the key, which is \"{}\" and never found.",
         "Begin the key in the first column."},
        {"blank-in-key/header", "", kWarning,
         "A blank stands before the bracket: the line is no section header, and the entries below "
         "it belong to the section above.",
         "Begin the header in the first column."},
        {"blank-in-key/tab", "", kWarning,
         "A tab before the equals sign belongs to the key, which is never found.",
         "Remove the tab."},
        {"trailing-blank", "ini", kWarning,
         "The blank at the end belongs to the value, which is \"{}\".", "Remove the blank."},
        {"comment-after-value", "ini", kWarning,
         "A comment cannot follow a value: the value is \"{}\".",
         "Move the comment to a line of its own that begins with a semicolon."},
        {"carriage-return", "ini", kWarning,
         "Lines end in a carriage return, which belongs to the values: \"EN\" with one is not "
         "\"EN\", and a library's name with one names another file.",
         "Convert the file to line feeds: sed -i 's/\\r$//' {}"},
        {"nul-byte", "ini", kError,
         "Byte {} is a NUL: the line ends there, and when a program sets a key, the file loses all "
         "that follows it.",
         "Remove the byte."},
        {"no-final-line-feed", "ini", kWarning,
         "The last line has no line feed: what a program adds to the end of the file continues "
         "this line.",
         "End the file with a line feed."},

        {"settings-missing", "settings", kWarning,
         "There is no such file: the debug log holds all levels, the messages of the channel "
         "included; old logs are compressed; texts are English.",
         "Install the file, with TraceLevel and Lang in [APP_SETTING]."},
        {"settings-section-missing", "settings", kWarning,
         "There is no section [APP_SETTING]: no setting is read, so the debug log holds all "
         "levels, and texts are English.",
         "Put [APP_SETTING] above the settings."},
        {"trace-level-malformed", "settings", kWarning,
         "\"{}\" is no hexadecimal number of 32 bits: it reads as {}.",
         "Write the bits to log, in hexadecimal: 7F for all and compression."},
        {"compression-off", "settings", kWarning,
         "Bit 0x40 is clear: rotated logs stay uncompressed, and once there are two, a program "
         "that starts goes on in the oldest while reading takes the newest.",
         "Add 0x40: {}."},
        {"lang-not-exactly-en", "settings", kWarning,
         "\"{}\" is not exactly \"EN\": texts are taken from the keys \"Format\", not "
         "\"FormatEng\", and messages without that key are unknown.",
         "Write EN for the English texts."},

        {"catalogue-missing", "catalogues", kError,
         "There is no such file: every message is logged as \"[Error] Message ID Not Found!!\", "
         "without its text and without a type.",
         "Install the catalogue."},
        {"catalogue-empty", "catalogues", kError,
         "The file has no section: every message is logged as \"[Error] Message ID Not Found!!\", "
         "without its text and without a type.",
         "Install the catalogue again."},
        {"catalogue-entry-without-text", "catalogues", kError,
         "[{}] has no {}, which Lang chooses: it is no message, and is logged as \"[Error] Message "
         "ID Not Found!!\".",
         "Give it a {}."},
        {"catalogue-entry-without-type", "catalogues", kWarning,
         "[{}] has no Type of its own and takes that of the message before it: its records are "
         "marked with {}.",
         "Give it a Type."},
        {"catalogue-entry-without-read", "catalogues", kWarning,
         "[{}] has no Read of its own and takes that of the message before it, {}: its records are "
         "{}.",
         "Give it a Read of 0x and eight hexadecimal digits."},
        {"catalogue-entry-without-event", "catalogues", kWarning,
         "[{}] has no Event of its own and takes that of the message before it: its records {} to "
         "the system log.",
         "Give it an Event of 0 or 1."},
        {"catalogue-conversions-differ", "catalogues", kError,
         "Format and FormatEng of [{}] take different arguments, but the program passes the same: "
         "in one of the languages records hold garbage, or the program crashes.",
         "Use the same conversions in the same order, or positions such as %2$s."},
        {"catalogue-conversion-unknown", "catalogues", kWarning,
         "\"{}\" is no conversion: it shows as it stands, and the argument that it is meant for "
         "goes to the next one.",
         "Write a conversion of printf(3), or a percent sign as %%."},
        {"catalogue-conversion-unknown/end", "", kWarning,
         "The text of {} ends inside \"{}\": records end before it.",
         "Write a percent sign as %%."},
        {"catalogue-percent-not-doubled", "catalogues", kError,
         "\"{}\" is a conversion to {}, and takes an argument: where the program passes none for "
         "it, records hold garbage, or the program crashes.",
         "Write a percent sign as %%."},
        {"catalogue-percent-not-doubled/errno", "", kError,
         "\"{}\" is a conversion to the text of errno: records hold that text in its place: \"5% "
         "max\" is written as \"5Successax\".",
         "Write a percent sign as %%."},
        {"catalogue-percent-not-doubled/percent", "", kError,
         "\"{}\" is a conversion to one percent sign: what stands between its two is lost: "
         "\"5%-10% more\" is written as \"5% more\".",
         "Write a percent sign as %%."},
        {"catalogue-text-not-expanded", "catalogues", kWarning,
         "The text holds %n, if with flags, as of \"50% new\": it is written as it stands, and the "
         "program's arguments do not appear.",
         "Write a percent sign as %%."},
        {"catalogue-event-with-percent", "catalogues", kWarning,
         "The text of an event is a format once more for the system log: the percent sign of its "
         "%% is read as a conversion there (\"100% done\" arrives as \"100 0one\").",
         "Say it without a percent sign, or set Event to 0."},
        {"catalogue-text-too-long", "catalogues", kWarning,
         "The text has {} bytes: what is read back of its records is cut to 255 bytes, stamp, code "
         "and type included.",
         "Shorten it to 216 bytes, arguments included."},
        {"catalogue-read-malformed", "catalogues", kWarning,
         "\"{}\" is not 0x and eight hexadecimal digits: the code is cut out by position, so "
         "records of [{}] are read back without a part of their text, or not at all.",
         "Write 0x and eight hexadecimal digits."},
        {"catalogue-event-not-a-number", "catalogues", kWarning,
         "\"{}\" reads as {}: records of [{}] {} to the system log.",
         "Write 0, or 1 for the system log."},
        {"catalogue-fail-misspelt", "catalogues", kWarning,
         "\"{}\" is not exactly \"fail\": records of [{}] go to the system log as information, not "
         "as errors.",
         "Write fail."},

        {"definition-missing", "providers", kError, "There is no such file: {}",
         "Install the file, or name the one that the programs read."},
        {"provider-count-unusable", "providers", kError,
         "NumProvider is \"{}\": there are no providers, and no class is served.",
         "Write the number of providers, in decimal."},
        {"provider-count-unusable/none", "", kError,
         "There is no NumProvider in [Common]: there are no providers, and no class is served.",
         "Write the number of providers, in decimal."},
        {"provider-section-missing", "providers", kError,
         "NumProvider is {}, but there is no [{}]: reading the file ends there with \"ProviderKind "
         "Not Found\".",
         "Correct the number, or add the section."},
        {"provider-section-unread", "providers", kWarning,
         "[{}] is not read: NumProvider is {}, and sections are numbered from 1 without zeros in "
         "front.",
         "Set NumProvider to the number of providers."},
        {"provider-key-missing", "providers", kError,
         "[{}] has no {}: reading the file ends here with \"{} Not Found\"; this provider and "
         "those after it are unknown.",
         "Give it the key; its value may be empty."},
        {"provider-kind-not-exact", "providers", kWarning,
         "\"{}\" is not exactly \"{}\": it counts as an unknown text.", "Write {}."},
        {"provider-class-repeated", "providers", kWarning,
         "The class \"{}\" is served by [{}] already, which is the one that is found.",
         "Name each class once."},
        {"provider-method-missing", "providers", kError,
         "MethodNum is {}, but there is no {}: reading the file ends here with \"{} Not Found\"; "
         "this provider and those after it are unknown.",
         "Correct the number, or add the method."},
        {"provider-method-unread", "providers", kWarning,
         "\"{}\" is not read: MethodNum is {}, and methods are numbered from 1 without zeros in "
         "front.",
         "Set MethodNum to the number of methods."},

        {"vendor-index-misspelt", "vendors", kError,
         "\"{}\" is not the index: the file is read as that of one device, named by its first "
         "section, with the first keys found anywhere.",
         "Spell the section SuportDevice and its key SuportDeviceNum."},
        {"vendor-index-not-first", "vendors", kError,
         "The index is not the first section: [{}] is passed over in its place, and reading ends "
         "at the index at the latest, which is no device.",
         "Move [SuportDevice] to the beginning of the file."},
        {"vendor-count-unusable", "vendors", kError,
         "SuportDeviceNum is \"{}\": no device is served.",
         "Write the number of devices, in decimal."},
        {"vendor-section-missing", "vendors", kWarning,
         "SuportDeviceNum is {}, but the number of sections after the index is {}: reading ends "
         "with them.",
         "Correct the number, or add the devices that are missing."},
        {"vendor-section-unread", "vendors", kWarning, "[{}] is not read: SuportDeviceNum is {}.",
         "Set SuportDeviceNum to the number of devices."},
        {"vendor-section-unread/no-index", "", kWarning,
         "[{}] is no device: without an index the file has one, [{}].",
         "Begin the file with [SuportDevice] and SuportDeviceNum."},
        {"vendor-key-missing", "vendors", kError,
         "[{}] has no {}: the device is not served, and neither are those after it.",
         "Give every device its DllName and ClassName."},

        {"library-missing", "libraries", kError,
         "There is no {}: the {} is defined, but its entry point is null.",
         "Install the library, or take it out of the file."},
        {"library-not-loadable", "libraries", kError,
         "The {} library cannot be loaded: {}. Its entry point is null.",
         "Install the library again, with what it depends on."},
        {"library-not-loadable/kind", "", kError,
         "{} in place of {}: programs that load it get no entry point, or wait for ever.",
         "Install the library again."},
        {"library-not-loadable/format", "", kError,
         "{} is no shared library: its entry point is null.", "Install the library again."},
        {"library-crashes", "libraries", kError,
         "The {} library {} cannot be loaded: {}, and so will every program that loads it.",
         "Ask the library's maker; until then, take it out of the file."},
        {"library-without-entry-point", "libraries", kError,
         "The {} library {} loads, but does not export \"{}\": its entry point is null.",
         "Name the right library, or export the function as extern \"C\" with default visibility."},
        {"library-with-unresolved-symbols", "libraries", kWarning,
         "The {} library loads, but calls what is nowhere to be found: {}. Unless the program that "
         "loads it has it, that call ends the program.",
         "Link the library with what it needs; -Wl,-z,defs finds such calls."},
        {"library-name-with-percent", "libraries", kWarning,
         "The path \"{}\" holds a percent sign: it is read as a conversion in the debug record, "
         "which then shows another path.",
         "Keep percent signs out of library names."},
        {"library-shadowed", "libraries", kWarning,
         "A copy of the library: programs that look here first use it in place of {}, and upgrades "
         "do not reach them.",
         "Remove the copy, and build the programs against the installed library."},
        {"library-shadowed/process", "", kWarning,
         "{} uses this copy of the library, not {}: upgrades do not reach it.",
         "Remove the copy, build the program against the installed library, and start it again."},
        {"library-outdated", "libraries", kWarning,
         "{} uses a library that was replaced or removed after it started.", "Start it again."},

        {"polling-interval-not-positive", "spool", kError,
         "The polling interval{}: RecvMessage returns -1 at once, and the request stays in the "
         "client directory.",
         "Write a number of microseconds above 0, for example 10000."},
        {"polling-interval-too-long", "spool", kWarning,
         "The polling interval{} microseconds: a client notices its answer up to {} seconds late.",
         "Write less than a second, for example 10000."},
        {"spool-directory-relative", "spool", kError,
         "\"{}\" is no absolute path: client and server look for it below their working "
         "directories, and do not meet.",
         "Write an absolute path."},
        {"spool-directories-equal", "spool", kError,
         "Client and server directory are one: a client finds its own request under the response's "
         "name, and takes it for the answer.",
         "Use two directories."},
        {"spool-leftover", "spool", kWarning,
         "Left behind by a client that was killed or could not write all of it: it lies here until "
         "it is two days old and a server scans the directory.",
         "Remove it. Is the disk full?"},
        {"spool-leftover/server", "", kWarning,
         "Left behind by a server that was killed or could not write all of it: no client reads "
         "it, and the library's sweep, which looks for names in the client directory, never "
         "removes it here.",
         "Remove it. Is the disk full?"},
        {"spool-request-untaken", "spool", kWarning,
         "The request has waited for more than a minute: nobody takes it, and its client has given "
         "up or is gone. When a server starts, it is still served.",
         "Start the server, or remove the request if it must not be carried out."},
        {"spool-expired", "spool", kWarning,
         "Two days old or more by its name: the next scan of a server deletes it, unread, and a "
         "file of this name in the server directory.",
         "Nothing, where that is right; otherwise move it away. Is the server running?"},
        {"spool-response-orphaned", "spool", kWarning,
         "A response that is two days old and whose request is gone: no client reads it, and the "
         "library's sweep does not see it.",
         "Remove it; services do so with IsExpiredFile and DeleteExpiredFile."},
        {"spool-name-foreign", "spool", kWarning,
         "The name holds \".snd\", and is none that a client makes: it is served as a request all "
         "the same.",
         "Keep other files out of the directory."},
        {"spool-not-a-regular-file", "spool", kError, "{} in the spool: {}.",
         "Find out who has put it there, and remove it."},
        {"spool-several-servers", "spool", kError,
         "Several processes read requests here: {}. Each request is served by whichever comes "
         "first, or its answer is lost.",
         "Stop all but one. A service can refuse to be the second: flock(2) on the directory."},

        {"log-several-writers", "logs", kError,
         "Written by several processes: {}. When one of them begins a new file, the others go on "
         "in the old one; where that is compressed, their records are lost.",
         "One process for each component name."},
        {"log-not-a-regular-file", "logs", kError,
         "{} with the name of a log: it counts as one of the five that are kept, and each program "
         "that starts begins a new file.",
         "Find out who has put it there, remove it, and let nobody else write to the directory."},
        {"log-name-unsafe", "logs", kError,
         "The name holds a character of the shell's: no program compresses the file.",
         "Find out who has put it there, and remove it."},
        {"log-name-foreign", "logs", kWarning,
         "The name is no log's, but counts as one: the file is one of the five that are kept, may "
         "be deleted in their place, and may be read or continued as a log.",
         "Keep copies of logs in another directory."},
        {"log-several-uncompressed", "logs", kWarning,
         "{} uncompressed logs of one kind: a program that starts goes on in this one, the oldest, "
         "until it is full, while reading takes the newest, {}.",
         "While no program writes them, compress all but the newest with gzip, and switch "
         "compression on (bit 0x40 of TraceLevel)."},
        {"disk-nearly-full", "logs", kError, "{} KiB are left on this disk. When it is full, {}",
         "Make room for 20 MiB at least, or give the directory a disk of its own."},
        {"gzip-missing", "logs", kWarning,
         "There is no gzip, but compression is on: rotated logs stay uncompressed, and a program "
         "that starts goes on in the oldest of them.",
         "Install gzip where the PATH of the services leads to it."},

        {"sigchld-ignored", "process", kError,
         "{}: the commands that the library runs have no result: COsInfo is empty, makeDeviceInfo "
         "false, RunVBS -1 although the command has run.",
         "Leave SIGCHLD at its default: signal(SIGCHLD, SIG_DFL) before the library is used."},
        {"umask-open", "process", kWarning,
         "{} makes files that everybody may write: its logs, which have mode 0666 before the "
         "umask, and the cache of firmware data.",
         "Set the umask to 007, or 077 (UMask= of its systemd unit)."},
    };
    return all;
}

}  // namespace doctor
