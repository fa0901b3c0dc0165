#pragma once

#include <cstdint>
#include <string>

namespace KxStore {

// A folder of our own for the files of stores, removed with this object.
class CPrivateFolder {
public:
    // Makes it in the given one, or, where that is empty, in the system's temporary folder. Throws std::runtime_error.
    explicit CPrivateFolder(const std::string& parent);
    ~CPrivateFolder();

    CPrivateFolder(const CPrivateFolder&) = delete;
    CPrivateFolder& operator=(const CPrivateFolder&) = delete;

    const std::string& Path() const { return path; }
    // As the stores take it.
    const std::wstring& WidePath() const { return widePath; }

    // Throws std::runtime_error where the disk has less room than so many bytes and some to spare.
    void RequireRoom(std::uint64_t size) const;

    // Throws std::runtime_error where the folder stays, which the destructor cannot tell.
    void Remove();

private:
    std::string path;
    std::wstring widePath;
};

}  // namespace KxStore
