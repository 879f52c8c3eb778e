// CVcFacReader.h - reads a vendor factory file: which vendor library serves which device.
//
//     CVcFacReader reader("/opt/velmora/qor/etc/vendors.ini");
//     reader.parse();
//     if (reader.isExist("ArrayX")) Load(reader.find("ArrayX")->second->dllName);
//
// Two layouts: one device, whose name is the file's first section and whose "DllName" and
// "ClassName" may stand anywhere; or several, where the first section is [SuportDevice] (spelled
// so) with "SuportDeviceNum", and the device sections follow. docs/providers.md shows both.
//
// Nothing is thrown or reported: what cannot be read has no entry.
// Threads: parse on one thread; afterwards any thread may look up.
#ifndef QOR_CVCFACREADER_H
#define QOR_CVCFACREADER_H

#include <list>
#include <map>
#include <string>

#include "CIniFileReader.h"
#include "QorExport.h"

/// One device's entry, texts as read.
struct SVendorInfo {
    std::string dllName;    ///< "DllName", the vendor library
    std::string className;  ///< "ClassName", the class inside it
};

class QOR_API CVcFacReader : public CIniFileReader
{
public:
    /// path: copied. Reads nothing.
    CVcFacReader(std::string path);

    CVcFacReader(const CVcFacReader&) = delete;
    CVcFacReader& operator=(const CVcFacReader&) = delete;

    /// Frees the entries: pointers and iterators from the reader become invalid.
    ~CVcFacReader();

    /// Reads the file. An entry is never replaced: a second call adds only new names.
    void parse();

    /// Adds the device of a one-device file, unless a key is missing.
    void parseSimpleDeviceFile(std::string deviceName);

    /// Adds up to `count` devices of a file with several. `sections`: all section names in file
    /// order; the first, and those of the devices added, are removed.
    ///
    /// Intended: a device section that lacks a key ends the reading; later devices are not seen.
    /// Complete every section.
    void parseMultiDeviceFile(int count, std::list<std::string>& sections);

    /// The device's entry by its exact name, or the end of the map.
    std::map<std::string, SVendorInfo*>::iterator find(const std::string& deviceName);

    /// Whether the device has an entry.
    bool isExist(const std::string& deviceName) const;

    /// The first entry, by name. Test with hasNext, advance the iterator yourself.
    std::map<std::string, SVendorInfo*>::iterator getIterator();

    /// True while the iterator is not the end of the map.
    bool hasNext(std::map<std::string, SVendorInfo*>::iterator position) const;

private:
    std::string fileName_;
    std::map<std::string, SVendorInfo*> vendors_;  // owns the entries
};

#endif  // QOR_CVCFACREADER_H
