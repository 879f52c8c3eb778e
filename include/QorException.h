// QorException.h - an exception with a printf-formatted message.
//
//     throw QorException("slot %d is empty", slot);
//
// Threads: one object, one thread at a time.
#ifndef QOR_QOREXCEPTION_H
#define QOR_QOREXCEPTION_H

#include <exception>
#include <vector>

#include "QorExport.h"

class QOR_API QorException : public std::exception
{
public:
    /// Formats the message as printf(3) does. A message of 1024 bytes or more is cut to 1023; a
    /// null format gives an empty message. Pass foreign text as an argument of "%s", never as the
    /// format.
    QorException(const char* format, ...);

    QorException(const QorException&) = default;
    QorException& operator=(const QorException&) = default;
    /// Frees the message.
    ~QorException() noexcept override;

    /// The message. Valid as long as the object.
    const char* what() const noexcept override;

    /// Does nothing.
    static void set_transrator();

private:
    std::vector<char> buffer_;  // 1024 bytes, zero after the text
};

#endif  // QOR_QOREXCEPTION_H
