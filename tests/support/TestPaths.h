// TestPaths.h - the build tree and the source tree as tests reach them.
//
// Both trees are mounted once more inside the private /dev, so that plug-ins and sample files
// can be read wherever the checkout lies, below /opt or /tmp too.
#ifndef QOR_TEST_TESTPATHS_H
#define QOR_TEST_TESTPATHS_H

#include <string>

namespace qor::test {

inline constexpr char kTreesInDev[] = "/qor_tests";
inline constexpr char kBuildTreeName[] = "/build";
inline constexpr char kSourceTreeName[] = "/source";

// `name`: relative to the top of the build tree.
inline std::string BuildPath(const std::string& name)
{
    return std::string("/dev") + kTreesInDev + kBuildTreeName + "/" + name;
}

// `name`: relative to the top of the source tree.
inline std::string SourcePath(const std::string& name)
{
    return std::string("/dev") + kTreesInDev + kSourceTreeName + "/" + name;
}

// The shared library that qor_add_test_plugin(name ...) builds.
inline std::string PluginPath(const std::string& name)
{
    return BuildPath("tests/plugins/" + name + ".so");
}

}  // namespace qor::test

#endif  // QOR_TEST_TESTPATHS_H
