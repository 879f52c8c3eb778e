// ChannelModel.h - the channel step by step, as slowly and plainly as can be.
//
// CFileTransferModel_test.cpp compares CFileTransfer with it on random spools. Nothing here is
// shared with the library, and each operation is one literal step after the other.
#ifndef QOR_TEST_TRANSFER_CHANNELMODEL_H
#define QOR_TEST_TRANSFER_CHANNELMODEL_H

#include <sys/time.h>

#include <string>
#include <vector>

namespace qor::test {

class ChannelModel
{
public:
    // levels: of the records that are wanted.
    ChannelModel(std::string tag, std::string clientDir, std::string serverDir, int interval,
                 unsigned int levels)
        : tag_(std::move(tag)),
          clientDir_(std::move(clientDir)),
          serverDir_(std::move(serverDir)),
          interval_(interval),
          levels_(levels)
    {
    }

    int Send(const std::string& message);
    int Receive(char* buffer, int size);

    // The names served; each request's descriptor is closed.
    std::vector<std::string> Scan();

    void SetCurrentFile(const std::string& name) { currentFile_ = name; }
    const std::string& CurrentFile() const { return currentFile_; }

    // Debug records as "LEVEL TEXT".
    const std::vector<std::string>& Records() const { return records_; }

private:
    void Trace(unsigned int level, const std::string& text);
    void TracePieces(const std::string& body);
    // The path of the file that is being written.
    std::string Temporary(const timeval& moment) const;
    bool IsExpired(const char* name) const;
    void DeleteExpired(const std::string& name);

    std::string tag_;
    std::string clientDir_;
    std::string serverDir_;
    std::string currentFile_;
    int interval_;
    unsigned int levels_;
    std::vector<std::string> records_;
};

}  // namespace qor::test

#endif  // QOR_TEST_TRANSFER_CHANNELMODEL_H
