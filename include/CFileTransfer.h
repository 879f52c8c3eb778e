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
//             if (channel.IsTransFile())
//                 Serve(channel.GetFileHandle(), name);    // GetTransFile(name); close the handle
//         channel.CloseStream();
//     }
//
// The server takes a request by removing its file from the client directory, and answers by
// writing the response elsewhere in the server directory and renaming it to the request's name.
// File names, settings and time limits: docs/channel.md.
//
// Safety between processes rests on exclusive creation (O_EXCL) and on rename(2) within one
// directory; there are no locks. Threads: one object, one thread at a time. A cancelled thread
// (pthread_cancel(3)) ends in RecvMessage, where that sleeps, in SendMessage, where that waits for
// another client's temporary file, and otherwise after the operation; no descriptor stays open.
// Signals neither fail nor shorten an operation. Failures are returned and leave a debug record of
// the channel's tag; nothing is thrown but allocation failures.
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

    /// tag: the component that traces, and part of the names of files sent; clients that send in
    /// bulk at the same time bring tags of their own (docs/channel.md). configFile: section
    /// "filetran", keys "clientdir", "serverdir" and "polling_interval" (microseconds); missing
    /// ones have defaults. A line holds 255 bytes, so that the two directories hold 245: what is
    /// longer is cut. Makes missing directories (mode 0770, their parents must exist); failures
    /// show when the channel is used.
    CFileTransfer(std::string tag, std::string configFile);

    /// Copies every member. The two share an open scan: each goes on where the other is, and either
    /// closes it for both (on one thread). They share the file handle too, which only one of them
    /// may close. Copy before OpenStream.
    CFileTransfer(const CFileTransfer& other);

    /// As copying; a scan and a file handle of its own are lost, not closed: close them before.
    CFileTransfer& operator=(const CFileTransfer& other);

    /// Intended: closes neither the scan nor the file handle, which copies may share: call
    /// CloseStream, and close(2) on GetFileHandle, yourself.
    virtual ~CFileTransfer();

    /// Publishes a request (any bytes) and makes it the current file. Returns its length in bytes,
    /// or -1 when it could not be written, errno as the failed call left it; a ".tmp" file may then
    /// stay until the expiry sweep.
    ///
    /// Waits until the clock has left the moment in the request's name, so that other clients of
    /// the same tag do not draw it again; docs/channel.md names the one case that is left. A
    /// request is never replaced. Where the clock never moves, SendMessage waits 50 ms of sleep and
    /// publishes. If another request has the name, it waits 3 s more and returns -1 with errno
    /// EEXIST: nothing is published, and the current file stays. While another client's ".tmp" file
    /// has the name, it does not return. On such a clock give each client a tag of its own.
    ///
    /// Intended: any other failed rename is only traced; the call succeeds and RecvMessage then
    /// waits for a server that never saw the request. A second call before RecvMessage gives up the
    /// first response.
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
    /// Sleeps are slept to their end, whatever signals arrive. Short intervals take longer than
    /// 30 s in all, since every poll costs time of its own. `ignored` is not used: the limit is
    /// fixed.
    ///
    /// Only a regular file is opened. A link, even one to a regular file, a directory, a FIFO, a
    /// socket or a device counts as a response that cannot be opened, and stays. A link to nothing
    /// counts as no response. Before any SendMessage or SetCurrentFile the current file has no
    /// name, and the server directory itself is the response: -1.
    ///
    /// Intended: once the server has taken the request there is no limit; a server that dies then
    /// leaves the client waiting. Run a watchdog, or kill the client.
    ///
    /// Intended: the same holds for a second call without a SendMessage between: once a response
    /// was read, or the request deleted, there is nothing left to wait for, and the call never
    /// ends. Call it once for each request.
    ///
    /// Intended: a NUL is written after what was read: a full read of `size` bytes writes
    /// buffer[size], and a failed read writes buffer[-1]. Bring size + 1 bytes, and one byte in
    /// front, for a disk that fails. Longer responses are cut to `size`.
    int RecvMessage(char* buffer, int size, int ignored);

    /// Opens the client directory for a scan; false with a debug record when that fails. A scan
    /// that is open is closed first, unless a copy shares it: it is left to the copy.
    bool OpenStream();

    /// Moves to the next directory entry. True when there is none.
    bool IsEndStream();

    /// Whether the current entry is a request: a regular file whose name contains ".snd", with no
    /// other hard link. If so, opens it for reading and writing: GetFileHandle. A regular file of
    /// any name that is older than two days (see IsExpiredFile) is deleted, and so is the file of
    /// its name in the server directory. Links are never followed.
    ///
    /// The caller closes the handle. It is close-on-exec; to pass it on to a program, clear the
    /// flag in the child, between fork(2) and exec(3): fcntl(handle, F_SETFD, 0), or dup2(2) to
    /// another number.
    ///
    /// Intended: every regular file that is looked at becomes the current file, also when it is
    /// deleted or no request: ask GetTransFile only after true.
    ///
    /// Intended: a response whose request is gone is not looked at; a service that wants such
    /// orphans gone asks IsExpiredFile for each name in the server directory itself.
    bool IsTransFile();

    /// Closes the scan, if one is open.
    void CloseStream();

    /// Whether the name's first 20 characters compare equal to or lower than the time stamp of two
    /// days ago. The file's own times do not matter. False for null, and for every name while the
    /// clock shows the first two days of 1970 or earlier.
    ///
    /// Intended: a plain comparison of characters: "abc.snd" never expires, "0.snd" always has, as
    /// have all names that begin with a character below "0": IsTransFile deletes ".keep".
    bool IsExpiredFile(const char* name);

    /// Deletes the file of that name from the client directory and, when it is there, from the
    /// server directory. Null is ignored.
    void DeleteExpiredFile(const char* name);

    /// Sets `out` to a temporary name: 20-digit time stamp, tag, ".tmp". Channels of one tag that
    /// ask at the same time get one name: a server makes a name from its request's instead.
    void GetTmpFileName(std::string& out);

    /// Sets `out` to `tmpName`, cut before its first ".tmp", with ".snd" appended.
    void GetSndFileName(std::string tmpName, std::string& out);

    /// Puts `dir` before `path`, with a "/" between unless `dir` ends in one.
    void AppendFullPath(std::string dir, std::string& path);

    /// The client directory. Intended: where the server receives; GetSendDir is the other one.
    void GetRecvDir(std::string& out);

    /// The server directory, where the server sends.
    void GetSendDir(std::string& out);

    /// The bare name of the message file in hand.
    void GetTransFile(std::string& out);

    /// Sets the bare name of the message file in hand.
    void SetCurrentFile(std::string name);

    /// The descriptor that the last IsTransFile opened, or -1.
    int GetFileHandle();

    /// Microseconds between polls.
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
