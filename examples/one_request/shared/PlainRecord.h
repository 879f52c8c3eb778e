// PlainRecord.h - one property without objects as one text record, and back.
//
//     WritePlainRecord(text, ".Memory.TotalBytes", value);    // "ulong;.Memory.TotalBytes;4096;"
//
// Arrays of strings end with an empty element that belongs to the record alone: without it the last
// element would be cut at its first ";", and an array of none would look like an array of one.
#ifndef ONE_REQUEST_SHARED_PLAINRECORD_H
#define ONE_REQUEST_SHARED_PLAINRECORD_H

#include <string>

#include <boost/any.hpp>

namespace one_request {

struct Record {
    std::string tag;
    std::string path;
    std::string text;  ///< all of it: "tag;path;value;"
};

/// Appends the record. False for a value that is neither plain nor an array of plain ones: nothing
/// is appended. Throws QorException for text that would not come back as it is.
bool WritePlainRecord(std::string& text, const std::string& path, const boost::any& value);

/// The value of a record whose path begins with a "."; empty for another tag. The getters are
/// lenient ("007", "yes"): whoever wants a record to be exactly what WritePlainRecord writes has to
/// write the value again.
boost::any ReadPlainRecord(const Record& record);

}  // namespace one_request

#endif  // ONE_REQUEST_SHARED_PLAINRECORD_H
