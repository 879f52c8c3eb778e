// Method.h - what the methods of the provider are written with.
#ifndef ONE_REQUEST_PROVIDER_METHOD_H
#define ONE_REQUEST_PROVIDER_METHOD_H

#include <fcntl.h>
#include <unistd.h>

#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

#include "CFileUtility.h"
#include "CIWbemUtil.h"
#include "IWbemClassObject.h"
#include "shared/FileDescriptor.h"

namespace one_request {

// The provider's own trace component: its logs lie beside those of the service, its settings and
// texts in /opt/velmora/qor/provider.
constexpr char kComponent[] = "inventory";

// Files of the installation. The first three are fixed in the library: COsInfo::makeDeviceInfo,
// CFileUtility::MakeVersionList.
constexpr char kDeviceScript[] = "/opt/velmora/qor/etc/lspcimn.sh";
constexpr char kDeviceList[] = "/opt/velmora/qor/etc/devices.tmp";
constexpr char kVersionFile[] = "/opt/velmora/qor/etc/qorversion.ver";
constexpr char kCatalogue[] = "/opt/velmora/qor/etc/catalogue.xml";
constexpr char kVendorFile[] = "/opt/velmora/qor/etc/vendors.ini";

// The published management status codes that the methods return.
constexpr unsigned long kStatusSuccess = 0;
constexpr unsigned long kStatusFailed = 0x80041001;
constexpr unsigned long kStatusNotFound = 0x80041002;
constexpr unsigned long kStatusInvalidParameter = 0x80041008;
constexpr unsigned long kStatusInvalidMethod = 0x8004102E;

/// How a method says that it cannot do what was asked.
class MethodError : public std::runtime_error
{
public:
    MethodError(unsigned long status, const std::string& message)
        : std::runtime_error(message), status_(status)
    {
    }

    /// The "ReturnValue" of the answer.
    unsigned long Status() const { return status_; }

private:
    unsigned long status_;
};

/// Throws MethodError when there is no such file: the library's readers then find no entry in it,
/// and do not report it.
inline void RequireFile(const std::string& path)
{
    if (!CFileUtility::IsFileExist(path))
        throw MethodError(kStatusNotFound, "there is no file " + path);
}

/// "" when the parameter is not there, or no string.
inline std::string StringParameter(IWbemClassObject* parameters, const char* name)
{
    std::string value;
    (void)CIWbemUtil::getStringFromIWbemClassObject(parameters, name, &value);
    return value;
}

// The setters fail for null pointers only, and the methods have none.

inline void Set(IWbemClassObject& object, const char* name, const std::string& value)
{
    (void)CIWbemUtil::setStringToIWbemClassObject(&object, name, value);
}

inline void Set(IWbemClassObject& object, const char* name, unsigned long value)
{
    (void)CIWbemUtil::setULongToIWbemClassObject(&object, name, value);
}

/// A table for an answer: a class array with an element for each row.
///
///     Rows rows;
///     Set(rows.Add(), "Name", "eth0");
///     rows.AppendTo(result, "Devices");
class Rows
{
public:
    /// The new last row, empty; it stays where it is.
    IWbemClassObject& Add() { return rows_.emplace_back(); }

    /// Copies the rows.
    void AppendTo(IWbemClassObject* result, const char* name)
    {
        std::vector<IWbemClassObject*> elements;
        for (IWbemClassObject& row : rows_)
            elements.push_back(&row);
        (void)CIWbemUtil::setParameterClassArrayToIWbemClassObject(result, name, &elements);
    }

private:
    std::deque<IWbemClassObject> rows_;
};

/// Keeps the process's standard error stream quiet for a while. The commands that the library runs,
/// and its XML parser, write to the stream of the service; what they have to say is in the method's
/// answer. The stream belongs to the process: one thread only.
class QuietErrors
{
public:
    /// Without descriptors left the stream stays as it is.
    QuietErrors() : stream_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        const FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (stream_ && nowhere)
            (void)::dup2(nowhere.Get(), STDERR_FILENO);
    }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
    ~QuietErrors()
    {
        if (stream_)
            (void)::dup2(stream_.Get(), STDERR_FILENO);  // both are open: it cannot fail
    }

private:
    FileDescriptor stream_;
};

}  // namespace one_request

#endif  // ONE_REQUEST_PROVIDER_METHOD_H
