// IniModel.h - the rules of INI files once more, slowly and literally, to compare the library with.
//
// Reading is done with fgets(3) into 256 bytes and the C string functions; writing byte by byte.
// Nothing here shares code with the library, and nothing here is clever.
#ifndef QOR_TEST_INIMODEL_H
#define QOR_TEST_INIMODEL_H

#include <list>
#include <optional>
#include <string>

namespace qor::test {

// What CIniFileReader answers about the file; nothing for false.
class IniReaderModel
{
public:
    explicit IniReaderModel(const std::string& path) : path_(path) {}

    std::optional<std::string> FindKey(const std::string& key) const;
    std::optional<std::string> FindSection(const std::string& section,
                                           const std::string& key) const;
    std::list<std::string> ListSection() const;

private:
    std::string path_;
};

// The bytes of a file after CIniFileWriter::append; `content` are those before, nothing when there
// is no file.
std::string AppendModel(const std::optional<std::string>& content, const std::string& section,
                        const std::string& key, const std::string& value);

}  // namespace qor::test

#endif  // QOR_TEST_INIMODEL_H
