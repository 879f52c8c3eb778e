// CException.h - an exception with a message and the place where it was raised.
//
//     throw CException("no such device", __FILE__, __func__, __LINE__);
//
// Threads: one object, one thread at a time.
#ifndef QOR_CEXCEPTION_H
#define QOR_CEXCEPTION_H

#include <exception>
#include <string>

#include "QorExport.h"

class QOR_API CException : public std::exception
{
public:
    /// The message alone: file and function are "unknown", the line is 0.
    CException(const std::string& message);

    /// file, function: constant texts that outlive the exception (not copied), or null.
    CException(const std::string& message, const char* file, const char* function, int line);

    CException(const CException&) = default;
    CException& operator=(const CException&) = default;
    /// Frees the message; the file and function names are not freed.
    ~CException() noexcept override;

    /// The message. Valid as long as the object.
    const char* what() const noexcept override;

    /// The file name given, or "unknown".
    const char* getFileName() const;

    /// The function name given, or "unknown".
    const char* getFunctionName() const;

    /// The line number given, or 0.
    int getLineNumber() const;

private:
    std::string message_;
    const char* fileName_;
    const char* functionName_;
    int lineNumber_;
};

#endif  // QOR_CEXCEPTION_H
