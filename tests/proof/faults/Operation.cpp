#include "proof/faults/Operation.h"

#include <cctype>
#include <stdexcept>

#include "support/Files.h"
#include "support/LogFiles.h"

namespace qor::proof {

std::string Holds(const std::string& path, const std::vector<Named>& texts)
{
    if (!test::Exists(path))
        return "absent";
    const std::string content = test::ReadFile(path);
    if (content.empty())
        return "empty";
    for (const Named& named : texts) {
        if (content == named.text)
            return named.name;
    }
    for (const Named& named : texts) {
        if (named.text.compare(0, content.size(), content) == 0)
            return std::string("part of ") + named.name;
    }
    return "\"" + content + "\"";
}

std::vector<test::DebugLine> DebugRecords(const std::string& component)
{
    try {
        return test::DebugTexts(component);
    } catch (const std::runtime_error&) {
        return {test::DebugLine{"", 0, "**FAIL**", "a torn record"}};
    }
}

std::string Failures(const std::string& component, const std::string& signature)
{
    std::string texts;
    for (const test::DebugLine& line : DebugRecords(component)) {
        if (line.level != "**FAIL**")
            continue;
        const std::string beginning = signature.empty() ? "" : signature + " ";
        const bool isSigned = line.text.compare(0, beginning.size(), beginning) == 0;
        texts += (texts.empty() ? "" : "; ");
        texts += isSigned ? line.text.substr(beginning.size()) : line.text;
    }
    return texts;
}

std::string Names(const std::string& directory)
{
    constexpr std::size_t kStampDigits = 6;
    if (!test::Exists(directory))
        return "absent";
    std::string names;
    for (const std::string& name : test::ListDir(directory)) {
        names += names.empty() ? "" : " ";
        for (std::size_t i = 0; i < name.size();) {
            std::size_t end = i;
            while (end < name.size() && std::isdigit(static_cast<unsigned char>(name[end])) != 0)
                ++end;
            if (end - i >= kStampDigits)
                names += "N";
            else
                names += name.substr(i, end == i ? 1 : end - i);
            i = end == i ? i + 1 : end;
        }
    }
    return names;
}

}  // namespace qor::proof
