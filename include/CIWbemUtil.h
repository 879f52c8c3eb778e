// CIWbemUtil.h - typed values into a class object and out again, with status codes.
//
//     IWbemClassObject result;
//     CIWbemUtil::setStringToIWbemClassObject(&result, "HostName", "node7");
//     CIWbemUtil::setReturnValueToIWbemClassObject(&result, 0);
//
//     std::string host;
//     if (CIWbemUtil::getStringFromIWbemClassObject(&result, "HostName", &host) == 0) Use(host);
//
// Status codes (int; the published management-interface codes):
//
//     0             success
//     0x80041008    an object, name, output or container pointer is null; nothing was touched
//     0x80041002    the property is absent or holds another type
//
// Setters append and never replace; readers see the first property of a name. Unless they say
// otherwise, getters look up with IWbemClassObject::find, where the first nested object ends the
// search. Types must match exactly; nothing is converted.
//
// Threads: no state; one object is used by one thread at a time. Only allocation failures throw.
#ifndef QOR_CIWBEMUTIL_H
#define QOR_CIWBEMUTIL_H

#include <list>
#include <string>
#include <utility>
#include <vector>

#include "IWbemClassObject.h"
#include "QorExport.h"

class QOR_API CIWbemUtil
{
public:
    /// Appends an int.
    static int setIntToIWbemClassObject(IWbemClassObject* object, const char* name, int value);

    /// Appends an unsigned int. Intended: getUIntFromIWbemClassObject does not read it back, as
    /// it accepts a stored int only; store an int for such readers.
    static int setUIntToIWbemClassObject(IWbemClassObject* object, const char* name,
                                         unsigned int value);

    /// Appends a long (64 bits).
    static int setLongToIWbemClassObject(IWbemClassObject* object, const char* name, long value);

    /// Appends an unsigned long (64 bits).
    static int setULongToIWbemClassObject(IWbemClassObject* object, const char* name,
                                          unsigned long value);

    /// Appends a bool.
    static int setBoolToIWbemClassObject(IWbemClassObject* object, const char* name, bool value);

    /// Appends a string.
    static int setStringToIWbemClassObject(IWbemClassObject* object, const char* name,
                                           std::string value);

    /// Appends a shared vector with a copy of the elements.
    static int setIntArrayToIWbemClassObject(IWbemClassObject* object, const char* name,
                                             std::vector<int> values);

    /// Appends a shared vector with a copy of the strings.
    static int setStringArrayToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                const std::vector<std::string>* values);

    /// Appends a shared vector of strings, one per pair: first + "?" + second, not escaped.
    static int setStringArrayToIWbemClassObject(
        IWbemClassObject* object, const char* name,
        const std::list<std::pair<std::string, std::string>>* values);

    /// Appends a deep copy of `value`; the caller keeps and frees its own object.
    static int setParameterClassToIWbemClassObject(IWbemClassObject* object, const char* name,
                                                   IWbemClassObject* value);

    /// Appends a shared vector of deep copies, in order; null elements stay null.
    ///
    /// Intended: the copies are freed neither by the bag's Release nor with the vector, since
    /// readers are given the pointers. The last reader calls Release on each and deletes it;
    /// otherwise they live until the process ends. Copies of the bag share the vector: free the
    /// objects once.
    static int setParameterClassArrayToIWbemClassObject(
        IWbemClassObject* object, const char* name, const std::vector<IWbemClassObject*>* values);

    /// Appends the unsigned long property "ReturnValue". Set it before nested objects, which end
    /// its readers' search.
    static int setReturnValueToIWbemClassObject(IWbemClassObject* object, unsigned long value);

    /// Reads an int; `*out` is 0 on mismatch. Intended: a name that does not exist gives status 0
    /// and the value 0. To distinguish "absent" from "0", walk with IWbemClassObject::getIterator.
    static int getIntFromIWbemClassObject(IWbemClassObject* object, const char* name, int* out);

    /// Reads a stored int as unsigned (-1 gives 4294967295); 0 on mismatch. Intended: a stored
    /// unsigned int is a mismatch, and a name that does not exist gives status 0 and 0.
    static int getUIntFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                           unsigned int* out);

    /// Reads a long; 0 on mismatch.
    static int getLongFromIWbemClassObject(IWbemClassObject* object, const char* name, long* out);

    /// Reads an unsigned long; 0 on mismatch.
    static int getULongFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                            unsigned long* out);

    /// Reads a bool; false on mismatch.
    static int getBoolFromIWbemClassObject(IWbemClassObject* object, const char* name, bool* out);

    /// Reads a string, first among the object's own properties, then with find; empty on mismatch.
    static int getStringFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                             std::string* out);

    /// Reads a shared vector of int. An array getter replaces the whole content of `*out` on
    /// success and leaves it untouched on mismatch.
    static int getIntArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                               std::vector<int>* out);

    /// Reads a std::vector<unsigned int> that was pushed by value.
    static int getUIntArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                std::vector<unsigned int>* out);

    /// Reads a std::vector<long> that was pushed by value.
    static int getLongArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                std::vector<long>* out);

    /// Reads a std::vector<unsigned long> that was pushed by value.
    static int getULongArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                 std::vector<unsigned long>* out);

    /// Reads a std::vector<bool> that was pushed by value.
    static int getBoolArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                std::vector<bool>* out);

    /// Reads a shared vector of strings.
    static int getStringArrayFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                  std::vector<std::string>* out);

    /// Reads a nested object, first among the object's own properties, then with find; null on
    /// mismatch. The pointer is the stored one: do not free it; it lives until the bag's Release.
    static int getParameterClassFromIWbemClassObject(IWbemClassObject* object, const char* name,
                                                     IWbemClassObject** out);

    /// Reads the stored pointers of a class array: a vector held by value, by pointer or by shared
    /// pointer, or a single nested object as the one element. `*out` is emptied first, also on
    /// mismatch. Ownership of the objects: see the setter.
    static int getParameterClassArrayFromIWbemClassObject(IWbemClassObject* object,
                                                          const char* name,
                                                          std::vector<IWbemClassObject*>* out);

    /// Reads the unsigned long property "ReturnValue", delivered unchanged as long.
    static int getReturnValueFromIWbemClassObject(IWbemClassObject* object, long* out);

    /// Reads the unsigned long property "ReturnValue".
    static int getReturnValueFromIWbemClassObject(IWbemClassObject* object, unsigned long* out);
};

#endif  // QOR_CIWBEMUTIL_H
