#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <tuple>

#include "support/TempFolder.h"
#include "system/System.h"
#include "system/platform/Platform.h"

namespace fs = std::filesystem;

namespace {

using StoreFilesTest = TempFolderTest;

TEST_F(StoreFilesTest, TheTemporaryFolderIsTmpdirAsItStands) {
    for (const char* const value : {"/var/tmp/x/", "relative", "/doubled//"}) {
        ::setenv("TMPDIR", value, 1);
        std::wstring path = L"held before";
        KX::CSystem::GetSystemTmpPath(path);
        EXPECT_EQ(path, fs::path(value).wstring());
        wchar_t buffer[64];
        KX::CSystem::GetSystemTmpPath(buffer);
        EXPECT_EQ(buffer, path);
    }
}

TEST_F(StoreFilesTest, WithoutTmpdirItIsAPrivateFolderAtHome) {
    const std::string expected = KX::Platform::HomeFolder() + "/Ferrovance";
    ::rmdir(expected.c_str());  // goes if it is empty, as any program of ours may have left it
    if (fs::exists(expected)) GTEST_SKIP() << "the folder is the user's own, and so is its mode";
    for (const bool isSet : {true, false}) {
        isSet ? ::setenv("TMPDIR", "", 1) : ::unsetenv("TMPDIR");
        std::string path;
        KX::CSystem::GetTmpDirForOSX(path);
        EXPECT_EQ(path, expected);
        EXPECT_EQ(fs::status(expected).permissions(), fs::perms::owner_all);
        fs::remove(expected);
    }
}

TEST_F(StoreFilesTest, FileExistsFollowsLinksUnlessToldNotTo) {
    fs::create_directory("folder \xE6\x96\x87");
    std::ofstream("file") << "x";
    fs::create_symlink("nowhere", "dangling");
    fs::create_symlink("file", "link");

    using Case = std::tuple<const wchar_t*, bool, bool>;
    for (const auto& [path, followed, itself] :
         {Case{L"folder \u6587/", true, true}, Case{L"file", true, true}, Case{L"file\\", true, true},
          Case{L"dangling", false, true}, Case{L"link", true, true}, Case{L"missing", false, false},
          Case{L"", false, false}, Case{L"file\xD800", false, false}}) {
        EXPECT_EQ(KX::CSystem::FileExists(path, false), followed) << path;
        EXPECT_EQ(KX::CSystem::FileExists(path, true), itself) << path;
    }
}

TEST_F(StoreFilesTest, DeleteFileByNameDeletesThatFileAndNoOther) {
    fs::create_directories("folder/inner");
    std::ofstream("file") << "x";
    EXPECT_EQ(KX::CSystem::DeleteFileByName(L"folder"), KX::kResultFail);
    EXPECT_EQ(KX::CSystem::DeleteFileByName(L"missing"), KX::kResultFail);
    // A path that cannot be converted whole must not be cut down to the name of another file.
    EXPECT_EQ(KX::CSystem::DeleteFileByName(L"file\xD800"), KX::kResultFail);
    EXPECT_EQ(NamesIn("."), (std::vector<std::string>{"file", "folder"}));
    EXPECT_EQ(KX::CSystem::DeleteFileByName(L"file"), KX::kResultOk);
    EXPECT_EQ(NamesIn("."), std::vector<std::string>{"folder"});
}

}  // namespace
