#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <tuple>
#include <utility>

#include "io/Buffer.h"
#include "support/FailingAllocation.h"
#include "support/TempFolder.h"
#include "system/System.h"

namespace fs = std::filesystem;
using KX::CSystem;

namespace {

using FileHelpersTest = TempFolderTest;

TEST_F(FileHelpersTest, PathsClimbToTheirFolders) {
    fs::create_directories("a/b");
    std::ofstream("a/b/c.txt") << "x";
    const std::wstring deep = L"a/b/" + std::wstring(3000, L'/');  // longer than any fixed buffer

    // one for each path that cannot be queried on the way to an existing folder
    using Case = std::tuple<std::wstring, std::wstring, std::wstring, std::wstring, int>;
    for (const auto& [path, folder, parent, existing, messages] :
         {Case{L"a/b/", L"a/b/", L"a", L"a/b/", 0}, Case{L"a/b/c.txt", L"a/b", L"a", L"a/b", 0},
          Case{L"a/b/none/deeper/", L"a/b/none/deeper", L"a/b/none", L"a/b", 2},
          Case{L"a//none", L"a/", L"a", L"a/", 1}, Case{L"a\\none", L"a", L"a", L"a", 1},
          Case{L"a\\", L"a", L"a", L"", 1}, Case{L"/", L"/", L"", L"/", 0}, Case{L"/none of that", L"", L"", L"", 1},
          Case{L"", L"", L"", L"", 1}, Case{L"a/\xD800", L"a", L"a", L"a", 1},
          Case{deep, deep, deep.substr(0, deep.size() - 2), deep, 0}}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(CSystem::GetExistPathFolder(path), existing) << messages;
        const std::string printed = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::ranges::count(printed, '\n'), messages) << printed;
        EXPECT_EQ(printed.starts_with("File stat Error!"), messages > 0) << printed;

        std::wstring own = path, above = path;
        EXPECT_EQ(CSystem::GetPathFolder(own), KX::kResultOk);
        EXPECT_EQ(CSystem::GetPathParentFolder(above), KX::kResultOk);
        EXPECT_EQ(std::pair(own, above), std::pair(folder, parent)) << fs::path(existing);
    }
}

TEST_F(FileHelpersTest, PathsComeApartAtTheLastSlashAndTheLastDotBehindIt) {
    using Case = std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*, bool>;
    for (const auto& [path, folder, name, extension, isRoot] :
         {Case{L"/a/b.c/d", L"/a/b.c/", L"d", L"", false}, Case{L"x.tar.gz", L"", L"x.tar", L".gz", false},
          Case{L"/", L"/", L"", L"", true}, Case{L"/x.", L"/", L"x", L".", true}, Case{L"", L"", L"", L"", false},
          Case{L"//\\a.b", L"//", L"\\a", L".b", false}}) {
        wchar_t parts[4][16];
        std::fill_n(parts[0], 64, L'?');
        CSystem::splitPath(path, parts[0], parts[1], parts[2], parts[3]);
        EXPECT_EQ(std::vector<std::wstring>(parts, parts + 4),
                  (std::vector<std::wstring>{L"", folder, name, extension}));
        CSystem::splitPath(path, nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(CSystem::IsRootFolder(path), isRoot);
    }
    wchar_t part[] = L"????????";
    EXPECT_EQ(CSystem::strcpypart(part, L"abcdef", 3), part);
    EXPECT_EQ(std::wstring(part, 8), std::wstring(L"abc\0????", 8));
}

// Reads the file while the given number of allocations succeed, and checks what the caller is left with.
KX::Result ReadInto(std::string& bytes, const std::wstring& path, std::size_t allowed = SIZE_MAX) {
    char* data = nullptr;
    unsigned long size = 0;
    std::wstring own = path;
    const KX::Result result = [&] {
        const CFailingAllocation failing(allowed);
        return CSystem::ReadFileToMemory(std::move(own), data, size);
    }();
    EXPECT_EQ(data == nullptr, KX::Failed(result));
    if (data != nullptr) bytes.assign(data, size);
    delete[] data;
    if (allowed != SIZE_MAX) return result;

    KX::CBuffer<char> buffer;
    EXPECT_EQ(CSystem::ReadFileToMemory(path, buffer), result);
    EXPECT_TRUE(KX::Failed(result) || std::string_view(buffer.GetBuffer(), buffer.GetCount()) == bytes);
    return result;
}

TEST_F(FileHelpersTest, FilesAreReadAndWrittenWhole) {
    for (const std::size_t size : {70'000U, 1U, 0U}) {
        const std::string bytes = Pattern(size);
        std::string read;
        ASSERT_EQ(CSystem::WriteMemoryToFile(L"file \u6587", bytes.data(), size), KX::kResultOk);
        EXPECT_EQ(fs::file_size("file \xE6\x96\x87"), size);
        EXPECT_EQ(ReadInto(read, L"file \u6587"), KX::kResultOk);
        EXPECT_EQ(read, bytes);
    }
    std::string none;
    std::size_t allowed = 0;
    while (ReadInto(none, L"file \u6587", allowed) == KX::kResultOutOfMemory) ++allowed;
    EXPECT_EQ(ReadInto(none, L"file \u6587", allowed), KX::kResultOk);
    EXPECT_GT(allowed, 2U);
    // Shorter than the size that the system gives; not there on all systems, which is the same to the caller.
    EXPECT_EQ(ReadInto(none, L"/sys/devices/system/cpu/online"), KX::kResultOpenFailed);

    EXPECT_EQ(CSystem::WriteMemoryToFile(L"no/file", "x", 1), KX::kResultOpenFailed);
    // Bytes that the C library takes but the device does not.
    EXPECT_EQ(CSystem::WriteMemoryToFile(L"/dev/full", "x", 1), KX::kResultOpenFailed);
}

TEST_F(FileHelpersTest, WhatIsNoRegularFileNeitherHangsNorLeavesAnArray) {
    fs::create_directory("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    const timespec times[] = {{1, 0}, {5'000'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, "folder", times, 0), 0);
    ASSERT_EQ(::utimensat(AT_FDCWD, "pipe", times, 0), 0);

    using Case = std::tuple<const wchar_t*, KX::Result, long long>;
    for (const auto& [path, expected, time] :
         {Case{L"", KX::kResultFileQueryFailed, -1}, Case{L"none", KX::kResultOpenFailed, -1},
          Case{L"folder", KX::kResultOpenFailed, 5'000'000'000}, Case{L"pipe", KX::kResultOk, 5'000'000'000}}) {
        SCOPED_TRACE(fs::path(path));
        unsigned long size = 77;
        const KX::Result queried = CSystem::GetFileSize(path, size);
        EXPECT_EQ(queried, *path == 0 ? KX::kResultFileQueryFailed : KX::kResultOk);
        EXPECT_EQ(size == 77, KX::Failed(queried));
        std::string bytes;
        EXPECT_EQ(ReadInto(bytes, path), expected);
        EXPECT_EQ(CSystem::GetFileModifiedTime(path), time);
        std::FILE* file = nullptr;
        const KX::Result opened = CSystem::OpenFile(path, file, "r+b");
        EXPECT_EQ(opened, KX::Failed(expected) ? KX::kResultInvalidArgument : KX::kResultOk);
        EXPECT_EQ(file == nullptr || std::fclose(file) != 0, KX::Failed(opened));
    }
}

}  // namespace
