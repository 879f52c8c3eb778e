// CFileTransfer.h - requests and responses between two processes, each message a whole file.
//
// The client:
//
//     CFileTransfer channel("cli", "/opt/velmora/qor/som/socket.conf");
//     std::vector<char> memory(1 + 65536 + 1);    // a byte before and a NUL after what is read
//     int length = -1;
//     if (channel.SendMessage(request) >= 0)
//         length = channel.RecvMessage(memory.data() + 1, 65536, 0);
//
// The server, in a loop:
//
//     if (channel.OpenStream()) {
//         while (!channel.IsEndStream())
//             if (channel.IsTransFile()) {
//                 channel.GetTransFile(name);
//                 Serve(channel.GetFileHandle(), name);    // closes the handle
//             }
//         channel.CloseStream();
//     }
//
// The server takes a request by removing its file from the client directory, and answers by
// writing the response elsewhere in the server directory and renaming it to the request's name.
// File names, settings and time limits: docs/channel.md.
//
// Safety between processes rests on exclusive creation (O_EXCL) and on rename(2) within one
// directory; there are no locks. Threads: one object, one thread at a time. A cancelled thread
// (pthread_cancel(3)) ends where RecvMessage sleeps, where SendMessage waits for another client's
// temporary file, and otherwise after the operation; no descriptor stays open. Signals neither fail
// nor shorten an operation. Failures are returned; most leave a debug record of the channel's tag.
// Only allocation failures are thrown.
#ifndef QOR_CFILETRANSFER_H
#define QOR_CFILETRANSFER_H

#include <dirent.h>

#include <memory>
#include <string>

#include "QorExport.h"

class QOR_API CFileTransfer
{
public:
    /// The channel of tag "som", set up by /opt/velmora/qor/som/socket.conf.
    CFileTransfer();

    /// tag: the component whose debug log is written, and a part of the names of sent files;
    /// clients that send at the same time should have different tags (docs/channel.md). configFile:
    /// section "filetran", keys "clientdir", "serverdir" and "polling_interval" (microseconds);
    /// each has a default. A directory of more than 245 bytes is cut, because a line holds 255.
    /// Makes missing directories (mode 0770 before the umask; their parents must exist). A failure
    /// shows when the channel is used.
    CFileTransfer(std::string tag, std::string configFile);

    /// Copies every member. An open scan is shared: either object advances and closes it for both,
    /// on one thread. The file handle is shared too: close it once. Copy before OpenStream.
    CFileTransfer(const CFileTransfer& other);

    /// As the copy constructor. An open scan and file handle of the target are lost, not closed:
    /// close them first.
    CFileTransfer& operator=(const CFileTransfer& other);

    /// Intended: closes neither the scan nor the file handle, which copies may share: call
    /// CloseStream, and close(2) on GetFileHandle, yourself.
    virtual ~CFileTransfer();

    /// Publishes a request (any bytes) and makes it the current file. Returns its length in bytes,
    /// or -1 with errno when it could not be written; errno is 0 after a short write. A ".tmp" file
    /// may then stay until the expiry sweep.
    ///
    /// Publishes only when the clock no longer shows the time stamp in the request's name, so that
    /// no other client of the tag takes the same stamp; docs/channel.md describes the one
    /// exception. A request is never replaced. If the clock stands still, SendMessage publishes
    /// after 50 ms of sleep. If another request then has the name, it waits 3 s more for the clock
    /// and returns -1 with errno EEXIST: nothing is published, and the current file is unchanged.
    /// While another client's ".tmp" file has the name, it does not return. On such a clock use one
    /// tag per client.
    ///
    /// Intended: any other failed rename is only traced; the call succeeds, and RecvMessage then
    /// waits without limit for a response to a request that no server saw. A second call before
    /// RecvMessage abandons the first response.
    int SendMessage(std::string message);

    /// Waits for the response to the last SendMessage, reads it into `buffer` and deletes it.
    /// Returns the number of bytes read; 0 for a response that stayed empty for ten reads, 0.1 s
    /// apart; -1 in these cases:
    ///
    ///     the request lay untaken for 30 s of sleep          the request is deleted
    ///     the response cannot be opened (see below)          it stays
    ///     the response cannot be read                        it is deleted
    ///     `buffer` is null                                   request and response stay
    ///     the polling interval is not positive               request and response stay
    ///
    /// Signals do not shorten the sleeps. With a short interval the 30 s take longer, since every
    /// poll adds its own time. `ignored` is not used: the limit is fixed.
    ///
    /// Only a regular file is opened. A link, even one to a regular file, a directory, a FIFO, a
    /// socket or a device counts as a response that cannot be opened, and stays. A dangling link
    /// counts as no response. While no current file is set, the server directory itself counts as
    /// the response: the call returns -1 if there is one.
    ///
    /// Intended: once the server has taken the request there is no limit; a server that dies then
    /// leaves the client waiting. Run a watchdog, or kill the client.
    ///
    /// Intended: a second call for the same request never returns: its response was read, or the
    /// request was deleted. Call it once for each request.
    ///
    /// Intended: a NUL is written after what was read: a full read of `size` bytes writes
    /// buffer[size], and a failed read writes buffer[-1]. Provide size + 1 bytes, and one byte
    /// before `buffer`. Longer responses are cut to `size`; the rest is lost.
    int RecvMessage(char* buffer, int size, int ignored);

    /// Opens the client directory for a scan; false with a debug record when that fails. An open
    /// scan is closed first, or left to a copy that shares it.
    bool OpenStream();

    /// Moves to the next directory entry. True when there is none.
    bool IsEndStream();

    /// Whether the current entry is a request: a regular file whose name contains ".snd", with no
    /// other hard link. If so, opens it for reading and writing: GetFileHandle. A regular file
    /// whose name has expired (see IsExpiredFile) is deleted, with ".snd" in its name or not, and
    /// so is the file of that name in the server directory. Links are never followed.
    ///
    /// The caller closes the handle. It is close-on-exec; to pass it to a program, clear the flag
    /// in the child between fork(2) and exec(3): fcntl(handle, F_SETFD, 0), or use dup2(2).
    ///
    /// Intended: every regular file becomes the current file, even one that is deleted or is no
    /// request: call GetTransFile only after true.
    ///
    /// Intended: a response without a request is not deleted. To remove such orphans, call
    /// IsExpiredFile for each name in the server directory.
    bool IsTransFile();

    /// Closes the scan, if one is open.
    void CloseStream();

    /// Whether the name's first 20 characters compare equal to or lower than the time stamp of two
    /// days ago. The file's own times do not matter. False for null, and for every name while the
    /// clock shows the first two days of 1970 or earlier.
    ///
    /// Intended: a plain comparison of characters. "abc.snd" never expires. "0.snd" always has, and
    /// so has every name that begins with a character below "0": IsTransFile deletes ".keep".
    bool IsExpiredFile(const char* name);

    /// Deletes the file of that name, expired or not, from the client and the server directory.
    /// Null is ignored.
    void DeleteExpiredFile(const char* name);

    /// Sets `out` to a temporary name: 20-digit time stamp, tag, ".tmp". Two channels of one tag
    /// may get the same name: a server makes a name from its request's instead.
    void GetTmpFileName(std::string& out);

    /// Sets `out` to `tmpName`, cut before its first ".tmp", with ".snd" appended.
    void GetSndFileName(std::string tmpName, std::string& out);

    /// Puts `dir` before `path`, with a "/" between unless `dir` ends in one.
    void AppendFullPath(std::string dir, std::string& path);

    /// Sets `out` to the client directory. Intended: the name is the server's view, which receives
    /// there; clients find responses in GetSendDir.
    void GetRecvDir(std::string& out);

    /// Sets `out` to the server directory.
    void GetSendDir(std::string& out);

    /// Sets `out` to the name of the current file, which SendMessage, IsTransFile or SetCurrentFile
    /// has set.
    void GetTransFile(std::string& out);

    /// Sets the current file's name, without directory, for RecvMessage.
    void SetCurrentFile(std::string name);

    /// The descriptor that IsTransFile opened last; -1 before, and after a request that could not
    /// be opened.
    int GetFileHandle();

    /// Microseconds between polls, as configured.
    int Interval();

private:
    // The open scan, shared by copies; no pointer, or a null one, where none is open. Not owned:
    // see the destructor.
    std::shared_ptr<DIR*> scan_;
    struct dirent* entry_;  // of the scan
    std::string tag_;
    std::string clientDir_;
    std::string serverDir_;
    std::string currentFile_;
    std::string spareName_;  // kept for the layout; unused
    int fileHandle_;
    int interval_;  // microseconds
};

#endif  // QOR_CFILETRANSFER_H
