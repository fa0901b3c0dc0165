#include <algorithm>
#include <fstream>

#include "io/ArrayList.h"
#include "support/SmallStack.h"
#include "support/TempFolder.h"
#include "system/System.h"

namespace fs = std::filesystem;
using KX::CSystem;
using Paths = std::vector<std::wstring>;

namespace {

using FileSearchTest = TempFolderTest;

std::wstring Times(int count, const std::wstring& text) {
    std::wstring all;
    while (count-- > 0) all += text;
    return all;
}

void Touch(const fs::path& path) {
    std::ofstream(path) << "x";
}

TEST_F(FileSearchTest, FindsAndCountsInARealTree) {
    // A thousand files in ten folders, in one of them what makes trees hard.
    for (int i = 0; i < 1000; ++i) {
        const fs::path inner = fs::path("tree") / std::to_string(i % 10);
        fs::create_directories(inner);
        Touch(inner / (std::to_string(i) + (i % 2 == 0 ? ".txt" : ".dat")));
    }
    Touch("tree/.hidden.txt");
    Touch("tree/top.txt");
    Touch("tree/0/unreadable\xFF.txt");
    fs::create_directory("tree/\xFF");  // in wide text: "tree/" itself
    Touch("tree/\xFF/below.txt");
    fs::create_directory("tree/0/folder.txt");
    fs::create_symlink("nowhere", "tree/0/dangling.txt");
    fs::create_directory("elsewhere");
    Touch("elsewhere/linked.txt");
    fs::create_directory_symlink("../elsewhere", "tree/link");

    unsigned int count = 100;
    EXPECT_EQ(CSystem::CountFiles(L"tree", false, count), KX::kResultOk);
    EXPECT_EQ(count, 100U + 1000 + 6);

    Paths found = {L"held before"};
    EXPECT_EQ(CSystem::FindAllFiles(L"*.txt", L"tree", true, found), KX::kResultOk);
    EXPECT_EQ(found.at(1), L"tree/top.txt");  // ahead of what is in the folders below
    std::ranges::sort(found);
    EXPECT_EQ(std::adjacent_find(found.begin(), found.end()), found.end());
    EXPECT_EQ(found.size(), 1U + 500 + 6);
    EXPECT_TRUE(std::ranges::binary_search(found, L"tree/link/linked.txt"));
    EXPECT_TRUE(std::ranges::binary_search(found, L"tree/0/unreadable"));

    Paths names, visited;  // in the order of the system
    EXPECT_EQ(CSystem::GetAllSpecifiedExpendFilesInDirectory(L"tree", names), KX::kResultOk);
    std::erase_if(names, [](const std::wstring& name) { return name.size() != 1 || name == L"."; });
    EXPECT_EQ(CSystem::FindAllFiles(L"?.???", L"tree", true, visited), KX::kResultOk);
    for (std::wstring& path : visited) path = path.substr(5, 1);  // the folder's name
    EXPECT_EQ(visited, names);

    KX::CArrayList<std::wstring> own;
    EXPECT_EQ(CSystem::FindAllFiles(L"[12]?.txt", L"tree/2/", false, own), KX::kResultOk);
    EXPECT_EQ(Paths(own.begin(), own.end()), (Paths{L"tree/2/12.txt", L"tree/2/22.txt"}));
    EXPECT_EQ(CSystem::FindAllFiles(L"x", L"missing", true, own), KX::kResultFileQueryFailed);
}

// Those without a match would take more than the stack, if the C library were asked.
TEST_F(FileSearchTest, PatternsOfAnyLengthAreSafe) {
    fs::create_directories("tree/2");
    Touch("tree/top.txt");
    const std::wstring name(60'000, L'x'), few = Times(50, L"./"), many = Times(1000, L"./");
    RunOnStack(512 << 10, [&] {
        for (const auto& [pattern, matches] : {std::pair{L"../tre[e]/" + few + L"top.txt", 1U},
                                               {many + L"top.t*", 1},
                                               {many + L"?/../top.txt", 1},
                                               {L"2" + Times(50, L"/"), 1},
                                               {Times(20'000, L"*/"), 0},
                                               {Times(20'000, L"[x]/") + L"x", 0},
                                               {Times(40'000, L"/"), 0},
                                               {L"x" + Times(20'000, L"\\/"), 0},
                                               {name + Times(60, L"/"), 0},
                                               {L"?" + name + Times(60, L"/x"), 0}}) {
            Paths found;
            EXPECT_EQ(CSystem::FindAllFiles(pattern, L"tree", false, found), KX::kResultOk);
            EXPECT_EQ(found.size(), matches) << fs::path(pattern.substr(0, 40));
        }
    });
}

TEST_F(FileSearchTest, TellsWhichFoldersCannotBeOpened) {
    fs::create_directory("empty");
    fs::create_directory_symlink(".", "empty/loop");  // ended by the system
    Touch("empty/x");
    struct Case {
        const wchar_t *pattern, *folder;
        KX::Result found, counted, listed;
        std::size_t matches;
    };
    constexpr KX::Result kQuery = KX::kResultFileQueryFailed, kInvalid = KX::kResultInvalidArgument;
    for (const auto& [pattern, folder, found, counted, listed, matches] :
         {Case{L"x", L"missing", kQuery, kInvalid, kQuery, 0}, Case{L"empty", L"", kQuery, kInvalid, kQuery, 1},
          Case{L"x", L"empty\xD800", kQuery, kInvalid, kQuery, 0}, Case{L"x\xD800", L"empty", 0, 0, 0, 0},
          Case{L"x", L"empty", 0, 0, 0, 41}}) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(folder)));
        Paths paths;
        unsigned int count = 0;
        EXPECT_EQ(CSystem::FindAllFiles(pattern, folder, false, paths), KX::kResultOk);
        EXPECT_EQ(paths.size(), std::min<std::size_t>(matches, 1));
        paths.clear();
        EXPECT_EQ(CSystem::FindAllFiles(pattern, folder, true, paths), found);
        EXPECT_EQ(paths.size(), matches);
        EXPECT_EQ(CSystem::CountFiles(folder, true, count), counted);
        paths.assign(1, L"held before");
        EXPECT_EQ(CSystem::GetAllSpecifiedExpendFilesInDirectory(folder, paths), listed);
        std::ranges::sort(paths);
        EXPECT_EQ(paths, listed == 0 ? (Paths{L".", L"..", L"held before", L"loop", L"x"}) : Paths{L"held before"});
    }
}

TEST_F(FileSearchTest, LooksForAFileInAListOfFolders) {
    for (const char* const folder : {"c:", "base"}) fs::create_directory(folder);
    for (const char* const name :
         {"c:/file", "base\\sub\\file", "base\\file", "base\\up\\file", "\\up\\file", "base/beside\\file"}) {
        Touch(name);
    }
    struct Case {
        const wchar_t *file, *base;
        Paths folders;
        const wchar_t* found;
    };
    for (const auto& [file, base, folders, found] :
         {Case{L"x/file", L"", {L"missing:", L"c:/"}, L"c:/file"},
          Case{L"\\\\host\\file", L"", {L"base\\sub"}, L"base/sub/file"},
          Case{L"file", L"base/y.txt", {L"sub\\"}, L"base/sub/file"},
          Case{L"file", L"base/y.txt", {L"/./none/..\\sub"}, L"base/sub/file"},
          Case{L"file", L"base/y.txt", {L""}, L"base/file"},
          Case{L"file", L"base/in/y.txt", {L"../up"}, L"base/up/file"},
          Case{L"file", L"y.txt", {L"../up/", L"up"}, L"/up/file"},  // what is above the first folder: stays there
          Case{L"file", L"", {L"base", L"sub"}, L""}, Case{L"file", L"base/y.txt", {}, L""}}) {
        EXPECT_EQ(CSystem::SearchFile(file, folders, base), found) << fs::path(file) << fs::path(base);
    }

    std::wstring path = L"base";
    EXPECT_TRUE(CSystem::SearchFile(path, L"ignored/y.txt"));
    path = L"elsewhere/file";
    EXPECT_FALSE(CSystem::SearchFile(path, nullptr));
    EXPECT_EQ(path, L"elsewhere/file");
    EXPECT_TRUE(CSystem::SearchFile(path, L"base/beside/"));
    EXPECT_EQ(path, L"base/beside\\file");
    path = L"none/beside\\file";
    EXPECT_FALSE(CSystem::SearchFile(path, L"none/"));
    EXPECT_EQ(path, L"none\\file");
}

TEST_F(FileSearchTest, SerialNamesAreTheFirstFreeOnes) {
    EXPECT_EQ(CSystem::GetSerialFileName(L"./", L"log", L"a.b.dat"), L"./log.dat");
    const std::wstring cut(L".\0/", 3);
    EXPECT_EQ(CSystem::GetSerialFileName(cut, cut, cut), L"...");
    for (const char* const name : {"log.txt", "log0.txt", "log2.txt"}) Touch(name);
    EXPECT_EQ(CSystem::GetSerialFileName(L"./", L"log", L"txt"), L"./log1.txt");
    for (int i = 0; i < 998; ++i) Touch("log" + std::to_string(i) + ".txt");
    EXPECT_EQ(CSystem::GetSerialFileName(L"./", L"log", L"txt"), L"./log998.txt");
    Touch("log998.txt");
    EXPECT_EQ(CSystem::GetSerialFileName(L"./", L"log", L"txt"), L"");
    EXPECT_EQ(CSystem::GetSerialFileName(L"", std::wstring(300, L'x'), L"").size(), 259U);
}

TEST_F(FileSearchTest, TemporaryNamesAreAheadOfTheClockOrTaken) {
    const std::wstring below = folder.wstring();
    wchar_t out[1024];
    const double before = CSystem::GetTime();
    const unsigned int number = CSystem::GetSystemTempFileName((below + L"/").c_str(), L"ab", 0, out);
    EXPECT_GT(number, before);
    EXPECT_LE(number, CSystem::GetTime() + 100);
    EXPECT_EQ(out, below + L"/ab" + std::to_wstring(number) + L".tmp");

    for (const char* const name : {"ab9.tmp", "ab0.tmp"}) fs::create_directory(name);
    for (const unsigned int from : {7U, 9U}) {
        EXPECT_EQ(CSystem::GetSystemTempFileName(below.c_str(), L"ab", from, out), 9U);
        EXPECT_EQ(out, below + L"/ab9.tmp");
    }
    EXPECT_GT(CSystem::GetSystemTempFileName(below.c_str(), L"ab", UINT_MAX, out),
              before);  // round to 0, which is none
    EXPECT_EQ(out, below + L"/ab0.tmp");
    for (const char* const name : {"ab9.tmp", "ab0.tmp"}) fs::remove(name);
}

}  // namespace
