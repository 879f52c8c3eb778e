// winapi.h - free functions with Windows names over POSIX and the C library.
//
// These functions keep the Windows names and argument orders, but not always the Windows contract:
// rely only on what this header says. All text is narrow: a wchar_t* argument is passed to the
// narrow C functions as it is.
//
// Unless a function says otherwise, 0 is success and a null pointer argument gives -1.
//
// Threads: any thread may call any of them; a stack of 64 KiB suffices. A cancelled thread
// (pthread_cancel(3)) completes the call that it is in; only Sleep ends at once.
#ifndef QOR_WINAPI_H
#define QOR_WINAPI_H

#include <ctime>
#include <string>

#include "QorExport.h"

// Profile strings: INI files, read and written by the rules of CIniFileReader.h and
// CIniFileWriter.h. No locks: serialise updates of a file; a reader may see it truncated.

/// Copies the value of `key` in `section` of `file`, or else `defaultValue`, into `buffer` as
/// strncpy(3) does: NUL-padded up to `size` bytes. Returns 0; all bits set, and the buffer
/// untouched, when a pointer is null.
///
/// Intended: the length is not returned, and a missing file, section or key looks like a found
/// value. A text of `size` bytes or more is cut and NOT terminated: "abcdef" with size 4
/// leaves "abcd". Provide one byte more and set it to NUL. Values have at most 255 bytes (a longer
/// line is read as several); a default may have more.
QOR_API unsigned long GetPrivateProfileStringA(const char* section, const char* key,
                                               const char* defaultValue, char* buffer,
                                               unsigned long size, const char* file);

/// The value as decimal number, as strtol(3) reads it, cut to 32 bits; `defaultValue` when the key
/// is missing, its value empty, or a pointer null.
///
/// Intended: a value without digits is 0, not the default.
QOR_API int GetPrivateProfileIntA(const char* section, const char* key, int defaultValue,
                                  const char* file);

/// As GetPrivateProfileStringA, but `buffer` receives wide characters (wchar_t, the current
/// locale's mbstowcs(3)) with a terminating NUL; a byte that is no valid text in the locale ends
/// it. A default is cut to 255 bytes.
///
/// Intended: `size` is ignored. Provide room for (length + 1) wide characters: 256 always suffice.
QOR_API unsigned long GetPrivateProfileStringW(const char* section, const char* key,
                                               const char* defaultValue, char* buffer,
                                               unsigned long size, const char* file);

/// The same as GetPrivateProfileIntA.
QOR_API int GetPrivateProfileIntW(const char* section, const char* key, int defaultValue,
                                  const char* file);

/// Sets a key, as CIniFileWriter::append does. True when the file was written in full. A null
/// pointer gives false; intended: null deletes neither key nor section.
QOR_API bool WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                        const char* file);

/// The same as WritePrivateProfileStringA.
QOR_API bool WritePrivateProfileStringW(const char* section, const char* key, const char* value,
                                        const char* file);

// Copies of text.

/// A malloc'ed copy of `text` without leading and trailing spaces (0x20 only), which the caller
/// frees with free(3). Null for null, or without memory. `text` is not changed.
QOR_API char* Trim(char* text);

/// Copies `text` up to its first NUL, and a NUL, into `out`, which must have room. Returns 0
/// always; a null `out` is not written.
QOR_API int TStringToChar(std::string text, char* out);

// Errors, threads, time.

/// The record that WSAStartup fills; only the version is used.
struct WSADATA {
    unsigned short wVersion;      ///< the version asked for
    unsigned short wHighVersion;  ///< not touched
    char szDescription[257];      ///< not touched
    char szSystemStatus[129];     ///< not touched
    unsigned short iMaxSockets;   ///< not touched
    unsigned short iMaxUdpDg;     ///< not touched
    char* lpVendorInfo;           ///< not touched
};

/// Stores `version` in data->wVersion.
QOR_API int WSAStartup(unsigned short version, WSADATA* data);

/// Does nothing; returns 0.
QOR_API int WSACleanup();

/// The calling thread's errno.
QOR_API int WSAGetLastError();

/// Sets the calling thread's errno.
QOR_API void WSASetLastError(int error);

/// The calling thread's errno.
QOR_API long GetLastError();

/// The kernel's id of the calling thread (gettid(2)).
QOR_API unsigned long GetCurrentThreadId();

/// Sleeps `ms` milliseconds; signals do not shorten it.
QOR_API void Sleep(unsigned long ms);

/// Copies the local time of `*time` (seconds since the epoch) into `*out`. -1 also if the year does
/// not fit.
QOR_API int localtime_s(std::tm* out, const long* time);

/// Writes "Tue Mar  5 07:08:09 2024\n" (asctime(3)) of the local time of `*time` into `buf`, as
/// narrow text of at most `size` bytes, NUL included.
QOR_API int _wctime_s(wchar_t* buf, int size, long* time);

// Files and directories. The int results are 1 for success and 0 for failure, unless a function
// says otherwise. Intended: a null path gives -1 here too, which is not 0: compare with 1.

/// close(2) of a descriptor: 0 or -1.
QOR_API int closesocket(int descriptor);

/// Makes a directory; 0 or -1.
///
/// Intended: mode 0644 before the umask, without search permission; chmod(2) it to use it as any
/// user but root.
QOR_API int _mkdir(const char* path);

/// As _mkdir; `path` is read as narrow text.
QOR_API int _wmkdir(const wchar_t* path);

/// Removes an empty directory.
QOR_API int RemoveDirectoryA(const char* path);

/// Unlinks a file.
QOR_API int DeleteFileA(const char* path);

/// 1 when `path` can be opened as a directory, else 0.
QOR_API int PathIsDirectoryA(const char* path);

/// Writes the working directory and a NUL into `buf`. Returns its length; 0 when it does not fit
/// into `size` bytes, is unknown, or `buf` is null.
QOR_API unsigned long GetCurrentDirectoryA(unsigned long size, char* buf);

/// The size in bytes of the open file whose descriptor is the int at `handle`. `ignored` is not
/// used. All bits set when the descriptor is not open or `handle` is null.
QOR_API unsigned long GetFileSize(void* handle, unsigned long* ignored);

/// Copies a file's content over `to`, which is made or truncated. False leaves `to` untouched when
/// `from` cannot be opened, is a directory, or is the same file; otherwise `to` may be short.
///
/// Intended: `ignored` (fail if it exists) is not used, and an empty source gives an empty `to` and
/// false. Null gives false.
QOR_API bool CopyFileA(const char* from, const char* to, int ignored);

// Memory and user interface.

/// Does nothing; returns 1.
QOR_API int DeleteObject(void* object);

/// Intended: returns its argument, no copy: the caller still owns the text.
QOR_API char* SysAllocString(const char* text);

/// Does nothing.
QOR_API void SysFreeString(char* text);

/// Does nothing.
QOR_API void ShowMessage(const char* text);
/// Does nothing.
QOR_API void ShowMessage(const char* text, const char* title);
/// Does nothing.
QOR_API void ShowMessage(const char* text, const char* title, unsigned int type);

// Numbers.

/// The bytes of `text` as narrow decimal text (strtol(3)), cut to int; -1 for null.
QOR_API int atoi(const wchar_t* text);

/// Swaps the two bytes.
QOR_API void swap_endian16(unsigned short& value);

/// Replaces the value by its low 32 bits with the bytes reversed; the upper 32 bits become 0.
QOR_API void swap_endian32(unsigned long& value);

// Text. The destination is the caller's: provide the room that each function needs.

/// Sets dst[0] to NUL, then strncpy(3) of at most `size` bytes.
///
/// Intended: NUL-padded up to `size`, and not terminated when `src` has `size` bytes or more. Pass
/// one byte less than there is room for, and set the last byte to NUL.
QOR_API int strcpy_s(char* dst, unsigned long size, const char* src);

/// strncpy(3) with the limit max(size, count). Intended: the larger one: provide that much room.
QOR_API int strncpy_s(char* dst, unsigned long size, const char* src, unsigned long count);

/// strcpy_s(dst, n, src).
QOR_API int strncpy_s(char* dst, const char* src, unsigned long n);

/// Appends at most `count` bytes of `src` and a NUL. Intended: `size` is ignored.
QOR_API int _mbsnbcat_s(char* dst, unsigned long size, const char* src, unsigned long count);

/// Appends at most min(size, count) bytes of `src` and a NUL, all narrow.
QOR_API int wcsncat_s(wchar_t* dst, unsigned long size, const wchar_t* src, unsigned long count);

/// snprintf(3) with the limit min(size, count), NUL included. Returns the full formatted length.
/// A null buffer of size 0 is allowed, to measure.
QOR_API int _snprintf_s(char* buf, unsigned long size, unsigned long count, const char* fmt, ...);

/// snprintf(3) with the limit `size`. Returns the full formatted length. A null buffer of size 0 is
/// allowed, to measure.
QOR_API int _sprintf_s(char* buf, unsigned long size, const char* fmt, ...);

/// As _snprintf_s.
QOR_API int _snwprintf_s(char* buf, unsigned long size, unsigned long count, const char* fmt, ...);

/// As _sprintf_s.
QOR_API int swprintf_s(char* buf, unsigned long size, const char* fmt, ...);

/// vsprintf(3) without a limit. Intended: returns 0, not the length. Prefer _sprintf_s.
QOR_API int wsprintfA(char* buf, const char* fmt, ...);

/// strcmp(3).
QOR_API int lstrcmpW(const char* a, const char* b);

/// strncmp(3).
QOR_API int _mbsnbcmp(const unsigned char* a, const unsigned char* b, unsigned long n);

/// strncmp(3).
QOR_API int wcsncmp(const char* a, const char* b, unsigned long n);

/// 0 when both texts are equal without regard to case (the current locale's).
///
/// Intended: otherwise the order is not alphabetical: different texts of equal length give -1, else
/// the longer one is greater ("b" against "aa" is -1).
QOR_API int _mbsicmp(const unsigned char* a, const unsigned char* b);

#endif  // QOR_WINAPI_H
