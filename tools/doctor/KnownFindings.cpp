#include "KnownFindings.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace doctor {

const std::vector<KnownFinding>& KnownFindings()
{
    constexpr Severity kWarning = Severity::kWarning;
    constexpr Severity kError = Severity::kError;
    static const std::vector<KnownFinding> all = {
        {"directory-missing", "directories", kWarning},
        {"not-a-directory", "directories", kError},
        {"directory-without-search", "directories", kWarning},
        {"foreign-owner", "directories", kError},
        {"writable-by-others", "directories", kError},
        {"spool-open-to-others", "directories", kError},
        {"sticky-bit-missing", "directories", kError},
        {"shared-name-taken", "directories", kError},

        {"not-a-regular-file", "ini", kError},
        {"line-too-long", "ini", kError},
        {"header-without-bracket", "ini", kError},
        {"section-repeated", "ini", kWarning},
        {"key-repeated", "ini", kWarning},
        {"entry-before-first-section", "ini", kWarning},
        {"blank-in-key", "ini", kWarning},
        {"trailing-blank", "ini", kWarning},
        {"comment-behind-value", "ini", kWarning},
        {"carriage-return", "ini", kWarning},
        {"nul-byte", "ini", kError},
        {"no-final-line-feed", "ini", kWarning},

        {"settings-missing", "settings", kWarning},
        {"settings-section-missing", "settings", kWarning},
        {"trace-level-malformed", "settings", kWarning},
        {"compression-off", "settings", kWarning},
        {"lang-not-exactly-en", "settings", kWarning},

        {"catalogue-missing", "catalogues", kError},
        {"catalogue-empty", "catalogues", kError},
        {"catalogue-entry-without-text", "catalogues", kError},
        {"catalogue-entry-without-type", "catalogues", kWarning},
        {"catalogue-entry-without-read", "catalogues", kWarning},
        {"catalogue-entry-without-event", "catalogues", kWarning},
        {"catalogue-conversions-differ", "catalogues", kError},
        {"catalogue-conversion-unknown", "catalogues", kWarning},
        {"catalogue-percent-not-doubled", "catalogues", kError},
        {"catalogue-text-not-expanded", "catalogues", kWarning},
        {"catalogue-event-with-percent", "catalogues", kWarning},
        {"catalogue-text-too-long", "catalogues", kWarning},
        {"catalogue-read-malformed", "catalogues", kWarning},
        {"catalogue-event-not-a-number", "catalogues", kWarning},
        {"catalogue-fail-misspelt", "catalogues", kWarning},

        {"definition-missing", "providers", kError},
        {"provider-count-unusable", "providers", kError},
        {"provider-section-missing", "providers", kError},
        {"provider-section-unread", "providers", kWarning},
        {"provider-key-missing", "providers", kError},
        {"provider-kind-not-exact", "providers", kWarning},
        {"provider-class-repeated", "providers", kWarning},
        {"provider-method-missing", "providers", kError},
        {"provider-method-unread", "providers", kWarning},

        {"vendor-index-misspelt", "vendors", kError},
        {"vendor-index-not-first", "vendors", kError},
        {"vendor-count-unusable", "vendors", kError},
        {"vendor-section-missing", "vendors", kWarning},
        {"vendor-section-unread", "vendors", kWarning},
        {"vendor-key-missing", "vendors", kError},

        {"library-missing", "libraries", kError},
        {"library-not-loadable", "libraries", kError},
        {"library-crashes", "libraries", kError},
        {"library-without-entry-point", "libraries", kError},
        {"library-with-unresolved-symbols", "libraries", kWarning},
        {"library-name-with-percent", "libraries", kWarning},

        {"polling-interval-not-positive", "spool", kError},
        {"polling-interval-too-long", "spool", kWarning},
        {"spool-directory-relative", "spool", kError},
        {"spool-directories-equal", "spool", kError},
        {"spool-leftover", "spool", kWarning},
        {"spool-request-untaken", "spool", kWarning},
        {"spool-expired", "spool", kWarning},
        {"spool-response-orphaned", "spool", kWarning},
        {"spool-name-foreign", "spool", kWarning},
        {"spool-not-a-regular-file", "spool", kError},

        {"log-several-writers", "logs", kError},
        {"log-not-a-regular-file", "logs", kError},
        {"log-name-unsafe", "logs", kError},
        {"log-name-foreign", "logs", kWarning},
        {"log-several-uncompressed", "logs", kWarning},
        {"disk-nearly-full", "logs", kError},
        {"gzip-missing", "logs", kWarning},

        {"sigchld-ignored", "process", kError},
        {"umask-open", "process", kWarning},
    };
    return all;
}

const KnownFinding& Known(std::string_view id)
{
    const auto& all = KnownFindings();
    const auto entry = std::find_if(all.begin(), all.end(),
                                    [id](const KnownFinding& known) { return known.id == id; });
    if (entry == all.end())
        throw std::logic_error("no known finding: " + std::string(id));
    return *entry;
}

}  // namespace doctor
