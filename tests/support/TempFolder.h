#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

// A test in a folder of its own, which is the current folder and the system's temporary folder meanwhile. Fails if
// a backing file survives the test.
class TempFolderTest : public testing::Test {
protected:
    TempFolderTest();
    ~TempFolderTest() override;

    // A folder for a store below the test's own, as SetDirectory takes it.
    std::wstring StoreFolder(const std::wstring& name = L"store") const;

    std::filesystem::path folder;

private:
    std::filesystem::path folderBefore;
    std::string tmpdirBefore;
};

// The names in a folder, sorted; none if there is no such folder.
std::vector<std::string> NamesIn(const std::filesystem::path& folder);

// All bytes of a file; none if it cannot be read.
std::string BytesOf(const std::filesystem::path& path);

// Every byte tells its place: the period is a prime.
std::string Pattern(std::size_t size);

// A small tmpfs for one scope, where mounting is allowed.
class CMount {
public:
    CMount(const std::filesystem::path& folder, const char* options);
    ~CMount();

    CMount(const CMount&) = delete;
    CMount& operator=(const CMount&) = delete;

    bool IsMounted() const { return isMounted; }

private:
    std::string folder;
    bool isMounted;
};

// Whether the page of that address is mapped.
bool IsMapped(const unsigned char* address);
