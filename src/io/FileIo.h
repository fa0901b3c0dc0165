#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "io/IoBuffer.h"
#include "system/File.h"

namespace KX {

// One file on disk as a buffer, read or written from its start.
//
// Ownership: the open file is the buffer's own and is closed with it.
// Errors:    kResultIoFailed for a read, write or seek that failed or was short: the counts stay, so that they tell how
//            far the buffer got, while the place in the file means nothing any more. kResultInvalidArgument for null and
//            where no file is open.
// Threads:   no lock inside; one thread at a time per buffer.
class CFileIo : public CIoBuffer {
public:
    CFileIo() = default;
    ~CFileIo() override { Close(); }

    // Opens a file for reading, and takes its size. Neither looks at what is open: a file that still is gets closed
    // just before the new one is opened, and what was written to it stays counted. Close first.
    //
    // kResultInvalidArgument  the path is null; nothing has changed
    // kResultFileQueryFailed  the path is empty; the buffer has taken it, an open file is still open
    // kResultOpenFailed       there is no such file, or it must not be read; the buffer is closed
    // kResultOutOfMemory
    Result Open(const wchar_t* path);
    // Creates a file for writing, or empties it. The size stays what it was.
    // kResultInvalidArgument, kResultOpenFailed, kResultOutOfMemory: as for Open.
    Result Save(const wchar_t* path);
    // Closes the file, if there is one, and zeroes size and counts. Always 0: what was written may yet have failed to
    // reach the disk. Flush tells.
    Result Close();
    // Whether a file is open.
    bool IsOpen() const { return file != nullptr; }

    // Hands the system all that was written. kResultIoFailed: part of it is lost.
    Result Flush();
    // Moves to a place in the file, counted from its start; the counts stay.
    Result InitFilePosition(unsigned long offset);

    bool IsBufferEnd() const override { return size == readCount; }
    bool CheckFileExist(std::wstring name) const override;
    // The folder of the last path, as GetPathDirectory gives it. kResultOutOfMemory: unchanged.
    Result GetSearchDirectory(std::wstring& directory) const override;
    // Asks the space checker, if there is one, and returns what it says; an exception from it is kResultFail, or
    // kResultOutOfMemory.
    Result SetOutputInfo(unsigned long outputSize, unsigned long secondSize) override;
    // As it was when the file was opened for reading.
    unsigned long GetSize() const override { return size; }

    unsigned long GetRemainingSize() const override { return readCount < size ? size - readCount : 0; }
    // The capacity is not looked at.
    Result ReadIn(void* destination, unsigned long capacity, unsigned long count, CProgress* progress) override;

    Result WriteOut(const void* source, unsigned long count, CProgress* progress) override;
    // May lead past the end.
    Result Skip(unsigned long count) override;

    unsigned long GetReadSize() const override { return readCount; }
    unsigned long GetWriteSize() const override { return writeCount; }

    // Told the path and the size of what is about to be written, it may refuse: kResultNoSpace. Empty unless an
    // application sets it, which is to be done before any save begins.
    static inline std::function<Result(std::wstring path, unsigned long size)> c_kfSpaceChecker;

private:
    Result Replace(CFile (*opener)(const std::string& narrowPath));
    Result Seek(unsigned long offset, int origin);

    std::uint64_t size = 0;
    std::uint64_t readCount = 0;  // read or skipped
    std::uint64_t writeCount = 0;
    std::wstring filePath;
    std::unique_ptr<char[]> pieces;  // gathered here on their way from and to the file,
    CFile file;                      // which is closed before they go
};

}  // namespace KX
