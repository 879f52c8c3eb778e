// The main() of a fuzz program without an engine: runs the inputs that it is given, with any
// compiler.
//   qor_fuzz_TARGET PATH...    PATH: a file, or a directory for all files in it
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "support/Files.h"
#include "support/FuzzTarget.h"

namespace {

std::vector<std::string> FilesOf(const std::string& path)
{
    if (!std::filesystem::is_directory(path))
        return {path};
    std::vector<std::string> files;
    for (const std::string& name : qor::test::ListDir(path))
        files.push_back(path + "/" + name);
    return files;
}

void Run(const std::string& file)
{
    std::cout << file << std::endl;  // it may be the last thing that is seen
    const std::string input = qor::test::ReadFile(file);
    // Exactly as long as the input, so that a sanitizer sees a read past it.
    const std::vector<std::uint8_t> bytes(input.begin(), input.end());
    (void)LLVMFuzzerTestOneInput(bytes.data(), bytes.size());  // 0 always
}

}  // namespace

int main(int argc, char** argv)
{
    (void)LLVMFuzzerInitialize(&argc, &argv);  // 0 always
    std::size_t count = 0;
    try {
        for (int i = 1; i < argc; ++i) {
            for (const std::string& file : FilesOf(argv[i])) {
                Run(file);
                ++count;
            }
        }
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return EXIT_FAILURE;
    }
    if (count == 0) {
        std::cerr << "There was no input.\n";
        return EXIT_FAILURE;
    }
    std::cout << count << " inputs, no finding\n";
    return EXIT_SUCCESS;
}
