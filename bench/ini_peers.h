// ini_peers.h - the same answers and updates by the libraries one would use instead, each as its
// manual shows it: a file is loaded, asked or changed, and saved.
#ifndef QOR_BENCH_INI_PEERS_H
#define QOR_BENCH_INI_PEERS_H

#include <list>
#include <string>
#include <vector>

namespace qor::bench {

// A peer and its three operations.
struct IniPeer {
    const char* name;
    std::size_t largestFile;  // in bytes, that it is measured with
    // Empty when the file does not have it.
    std::string (*value)(const char* path, const std::string& section, const std::string& key);
    std::list<std::string> (*sections)(const char* path);
    // False when it failed; null when the library writes no files.
    bool (*write)(const char* path, const std::string& section, const std::string& key,
                  const std::string& value);
};

// inih, SimpleIni, iniparser, GLib key files, Boost property_tree.
const std::vector<IniPeer>& IniPeers();

}  // namespace qor::bench

#endif  // QOR_BENCH_INI_PEERS_H
