// IWbemClassObject.h - an ordered bag of named, typed properties, and text records.
//
//     IWbemClassObject parameters;
//     CIWbemUtil::setStringToIWbemClassObject(&parameters, "Device", "raid0");
//
//     std::string text;                                  // a second, independent facility
//     IWbemClassObject::SetInt(text, "Slot", 4);         // text is "int;Slot;4;"
//
// A plain class with a Windows interface's name: no reference counting, no schema. Put values in
// and take them out with the typed functions of CIWbemUtil.h.
//
// Ownership: the bag owns its nested objects (values of type IWbemClassObject*), which are deep
// copies of what it was given. Intended: the destructor does not delete nested objects, since
// readers may hold pointers to them; call Release() once, then destroy. Copies of a bag share the
// vectors that it holds by boost::shared_ptr.
//
// Threads: one object, one thread at a time. Only allocation failures are thrown. Copying and
// releasing need about 250 bytes of stack for each level of nesting: a stack of 64 KiB suffices for
// 200 levels, one of 8 MiB for 30,000.
#ifndef QOR_IWBEMCLASSOBJECT_H
#define QOR_IWBEMCLASSOBJECT_H

#include <list>
#include <string>
#include <utility>
#include <vector>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>

#include "QorExport.h"

namespace qor {
struct Properties;
}  // namespace qor

class QOR_API IWbemClassObject
{
public:
    /// Empty, log flag false.
    IWbemClassObject();

    /// Copies every property in order: nested objects deeply, other values as their types copy, so
    /// that vectors held by boost::shared_ptr are shared. The log flag of the copy is false.
    IWbemClassObject(const IWbemClassObject& other);

    /// Properties are only ever appended; there is no assignment. Copy-construct instead.
    IWbemClassObject& operator=(const IWbemClassObject&) = delete;

    /// Intended: nested objects are not deleted; call Release() first.
    ~IWbemClassObject();

    /// Appends a property; an existing one of the same name stays and is found first. A value of
    /// type IWbemClassObject* is copied deeply: the caller keeps its own object. A null pointer is
    /// kept as null.
    void push(std::string name, boost::any value);

    /// The first property of that name, or an int 0 when there is none: boost::any_cast to another
    /// type then throws boost::bad_any_cast. CIWbemUtil gives a status instead.
    ///
    /// Intended: if a nested object comes before the name, it ends the search: the result is that
    /// of pop(name, nested object). Push plain properties before nested ones, or call pop(name).
    boost::any find(std::string name) const;

    /// The first property of that name in this object alone, or an int 0 when there is none.
    ///
    /// Intended: nothing is removed; a second call gives the same value.
    boost::any pop(std::string name) const;

    /// pop(name) of `object`; an int 0 when `object` is null.
    boost::any pop(std::string name, IWbemClassObject* object) const;

    /// The first property. Test with hasNext, advance the iterator yourself:
    ///
    ///     for (auto it = bag.getIterator(); bag.hasNext(it); ++it) Use(it->first, it->second);
    std::list<std::pair<std::string, boost::any>>::iterator getIterator();

    /// True while the iterator is not the end of the list.
    bool hasNext(std::list<std::pair<std::string, boost::any>>::iterator position) const;

    /// Stores a new empty object in `*out`, which the caller owns; a null `out` is allowed.
    /// `flags` is ignored. Returns 0 always.
    long SpawnInstance(long flags, IWbemClassObject** out);

    /// Stores a new empty object in `*outSignature`, which the caller owns; null is allowed. The
    /// other arguments are ignored. Returns 0 always.
    long GetMethod(const char* name, long flags, IWbemClassObject** inSignature,
                   IWbemClassObject** outSignature);

    /// Releases and deletes every nested object, depth first.
    ///
    /// Intended: the properties stay in the list and now hold dangling pointers: only the
    /// destructor may follow.
    void cleanup();

    /// cleanup(); returns 0. The object itself is not freed: its owner still deletes it. Call it
    /// once per object at most.
    long Release();

    /// Sets the log flag, which has no effect.
    void log(bool on);

    // Text records: "type;name;value;", appended to `text` by the setters. In strings and
    // array elements ";" is written as "%!@"; nothing else is escaped: a literal "%!@" is read back
    // as ";", and an array element with "!#" as two.

    /// Appends "int;name;value;".
    static void SetInt(std::string& text, std::string name, int value);
    /// The record of the name prefix + name.
    static void SetInt(std::string& text, std::string prefix, std::string name, int value);

    /// Intended: the tag is "int;" as for signed values. Read values above the largest int with
    /// GetLong or GetULong.
    static void SetUInt(std::string& text, std::string name, unsigned int value);

    /// Appends "long;name;value;".
    static void SetLong(std::string& text, std::string name, long value);

    /// Appends "ulong;name;value;".
    static void SetULong(std::string& text, std::string name, unsigned long value);

    /// Appends "bool;name;true;" or "bool;name;false;".
    static void SetBool(std::string& text, std::string name, bool value);
    /// The record of the name prefix + name.
    static void SetBool(std::string& text, std::string prefix, std::string name, bool value);

    /// Appends "string;name;escaped value;".
    static void SetString(std::string& text, std::string name, std::string value);
    /// The record of the name prefix + name.
    static void SetString(std::string& text, std::string prefix, std::string name,
                          std::string value);

    /// Appends "string[];name;elements;", the escaped elements joined by "!#".
    static void SetStringArray(std::string& text, std::string name,
                               std::vector<std::string> values);
    /// The record of the name prefix + name.
    static void SetStringArray(std::string& text, std::string prefix, std::string name,
                               std::vector<std::string> values);

    /// Appends "class;name;;".
    ///
    /// Intended: the object itself is not written; write its properties as records of their own,
    /// for example under a prefix.
    static void SetClass(std::string& text, std::string name, const IWbemClassObject& object);
    /// The record of the name prefix + name.
    static void SetClass(std::string& text, std::string prefix, std::string name,
                         const IWbemClassObject& object);

    /// Appends "class[];name;;". Intended: the objects are not written either.
    static void SetClassArray(std::string& text, std::string name,
                              const std::vector<IWbemClassObject*>* objects);
    /// The record of the name prefix + name.
    static void SetClassArray(std::string& text, std::string prefix, std::string name,
                              const std::vector<IWbemClassObject*>* objects);
    /// The same for objects that the caller has by reference.
    static void SetClassArray(std::string& text, std::string name,
                              const std::vector<IWbemClassObject*>& objects)
    {
        SetClassArray(text, name, &objects);
    }
    /// The record of the name prefix + name.
    static void SetClassArray(std::string& text, std::string prefix, std::string name,
                              const std::vector<IWbemClassObject*>& objects)
    {
        SetClassArray(text, prefix, name, &objects);
    }

    // Getters. Intended, for all of them: the name is searched as a plain substring from the start
    // of the text, not only at record boundaries: "ax" is found inside "int;Max;1;", and "Name"
    // inside "string;HostName;x;". The value is the text between the first two ";" after that
    // place, or, if none follows, the first field of the whole text.
    //
    // Safe names begin with a mark that no value contains, and then a letter. Search for them with
    // the ";" that ends them: "=Name;". Do not use "%", "!", "@" or "#" as the mark: the escapes
    // contain them. The value "see;Name" is written as "see%!@Name;", which holds "@Name;".
    //
    // If a value may contain the mark, escape it: for example, write "=", ";", "%" and "!" as
    // "=3D", "=3B", "=25" and "=21". No name begins like these, since a letter follows its mark.
    // "%!@" and "!#" then come back unchanged, and arrays keep their last element whole.

    /// Sets `out` to the un-escaped value. A name that does not occur leaves `out` unchanged.
    static void GetString(std::string text, std::string name, std::string& out);

    /// Sets `out` to the value as a decimal number. A missing name, a value without a number, or
    /// one out of range leaves `out` unchanged.
    static void GetInt(std::string text, std::string name, int& out);

    /// As GetInt.
    static void GetLong(std::string text, std::string name, long& out);

    /// As GetInt. A negative number wraps around, as in stream extraction.
    static void GetULong(std::string text, std::string name, unsigned long& out);

    /// Sets `out` to whether the value is "true"; a missing name gives false.
    static void GetBool(std::string text, std::string name, bool& out);

    /// Appends the elements to `out`, which is not cleared.
    ///
    /// Intended: the last element is cut at its first ";": "x", "y;z" come back as "x", "y". A
    /// missing name or an empty array gives one empty element. To keep every array whole, append an
    /// empty element when writing and drop the last one after reading.
    static void GetStringArray(std::string text, std::string name, std::vector<std::string>& out);

private:
    friend struct qor::Properties;

    bool log_;
    bool plain_;  // no value is a nested object, nor can a caller's iterator have made one of it
    std::list<std::pair<std::string, boost::any>> properties_;
};

#endif  // QOR_IWBEMCLASSOBJECT_H
