#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

#include "stream/Base.h"

namespace KX {

// The list of the objects that a save writes, for those who look for a fault: a text file of a fixed name. Where it
// cannot be opened, nothing is written and nothing is reported.
class CObjectListLog {
public:
    enum class Mode { Begin, Append };

    explicit CObjectListLog(Mode mode);
    ~CObjectListLog();

    CObjectListLog(const CObjectListLog&) = delete;
    CObjectListLog& operator=(const CObjectListLog&) = delete;

    bool IsOpen() const { return file != nullptr; }

    // These may throw std::bad_alloc.
    void AddObject(std::size_t index, const CBase& object, unsigned int size);
    void AddVersionSize(unsigned int size);
    void AddWrittenSize(std::size_t index, unsigned long size);

private:
    struct CloseFile {
        void operator()(std::FILE* open) const { (void)std::fclose(open); }
    };

    void AppendText(const std::wstring& text);
    void AppendNumber(unsigned long number);
    void EndLine();
    void Flush();

    std::unique_ptr<std::FILE, CloseFile> file;
    std::string pending;
};

}  // namespace KX
