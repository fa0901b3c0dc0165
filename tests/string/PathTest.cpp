#include "string/Path.h"

#include <gtest/gtest.h>

namespace {

std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

TEST(PathTest, SeparatorsAreBothSlashes) {
    struct Case {
        std::string path, filename, withSlash, withoutSlash, directory;
    };
    for (const Case& item :
         {Case{"", "", "", "", ""}, Case{"/", "", "/", "", ""}, Case{"abc", "abc", "abc/", "abc", ""},
          Case{"c.txt", "c.txt", "c.txt/", "c.txt", ""}, Case{"/x", "x", "/x/", "/x", "/x"},
          Case{"a/b/", "", "a/b/", "a/b", "a/b"}, Case{"/x//", "", "/x//", "/x/", "/x/"},
          Case{"a/b\\c", "c", "a/b\\c/", "a/b\\c", "a/b\\c"}, Case{"a\\b/c.d", "c.d", "a\\b/c.d/", "a\\b/c.d", "a\\b"},
          Case{"a.d/b", "b", "a.d/b/", "a.d/b", "a.d/b"}, Case{"c:\\d\\", "", "c:\\d\\", "c:\\d", "c:\\d"}}) {
        SCOPED_TRACE(item.path);
        EXPECT_EQ(KX::GetPathFilename(item.path), item.filename);
        EXPECT_EQ(KX::GetPathFilename(Wide(item.path)), Wide(item.filename));
        EXPECT_EQ(KX::GetPlatformSlashFolderPath(item.path), item.withSlash);
        EXPECT_EQ(KX::GetPlatformSlashFolderPath(Wide(item.path)), Wide(item.withSlash));
        EXPECT_EQ(KX::GetNoPlatformSlashFolderPath(item.path), item.withoutSlash);
        EXPECT_EQ(KX::GetNoPlatformSlashFolderPath(Wide(item.path)), Wide(item.withoutSlash));
        EXPECT_EQ(KX::GetPathDirectory(item.path), item.directory);
        EXPECT_EQ(KX::GetPathDirectory(Wide(item.path)), Wide(item.directory));
        EXPECT_EQ(KX::GetFullPath(item.path, "n.e"), item.directory + "/n.e");
        EXPECT_EQ(KX::GetFullPath(Wide(item.path), L"n.e"), Wide(item.directory + "/n.e"));
    }
}

TEST(PathTest, NamesEndAtTheLastDot) {
    struct Case {
        std::string path, subName, mainName, changedMain;
    };
    for (const Case& item : {Case{"/x/archive.tar.gz", "gz", "archive.tar", "/x/new.gz"},
                             Case{"/x/.profile", "profile", "", "/x/new.profile"}, Case{"a.b/c", "b/c", "c", "a.b/c"},
                             Case{"abc", "", "abc", "abc"}, Case{"a.", "", "a", "a."}, Case{"a.b", "b", "a", "new.b"},
                             Case{"a.b/", "b/", "", "a.b/new.b/"}, Case{"", "", "", ""}}) {
        SCOPED_TRACE(item.path);
        EXPECT_EQ(KX::GetSubName(item.path), item.subName);
        EXPECT_EQ(KX::GetSubName(Wide(item.path)), Wide(item.subName));
        EXPECT_EQ(KX::GetMainName(item.path), item.mainName);
        EXPECT_EQ(KX::GetMainName(Wide(item.path)), Wide(item.mainName));
        EXPECT_EQ(KX::ChangeMainName(item.path, "new"), item.changedMain);
        EXPECT_EQ(KX::ChangeMainName(Wide(item.path), L"new"), Wide(item.changedMain));
    }
}

TEST(PathTest, ChangeSubNameReplacesToTheEnd) {
    struct Case {
        std::string path, from, to, changed;
    };
    for (const auto& [path, from, to, changed] :
         {Case{"x.txt.bak", ".txt", ".doc", "x.doc"}, Case{"x.txt", ".png", ".doc", "x.txt"},
          Case{"x", "", ".doc", "x.doc"}}) {
        EXPECT_EQ(KX::ChangeSubName(path, from, to), changed);
        EXPECT_EQ(KX::ChangeSubName(Wide(path), Wide(from), Wide(to)), Wide(changed));
    }
}

TEST(PathTest, LastComponentsOfWidePaths) {
    for (const auto& [path, parent] :
         {std::pair{L"/a/b/c", L"/a/b"}, {L"/a/b\\c/", L"/a/b"}, {L"a/", L""}, {L"a", L""}, {L"", L""}, {L"/", L""}}) {
        EXPECT_EQ(KX::RemoveLastPathDirectory(path), parent);
    }
    for (const auto& [path, replaced] : {std::pair{L"a\\b\\c", L"a\\b\\n\\"},
                                         {L"a\\b\\c\\", L"a\\b\\n\\"},
                                         {L"a/b", L""},
                                         {L"a\\", L""},
                                         {L"\\", L""},
                                         {L"", L""}}) {
        EXPECT_EQ(KX::GetReplacedPath(path, L"n"), replaced);
    }
}

TEST(PathTest, ComparesWithoutCaseAndKindOfSeparator) {
    struct Case {
        std::string a, b;
        bool isSame;
    };
    for (const auto& [a, b, isSame] : {Case{"C:\\Dir\\File", "c:/dir/file", true}, Case{"/a", "/a/", false},
                                       Case{"", "", true}, Case{"a", "b", false}}) {
        EXPECT_EQ(KX::IsPathTheSame(a, b), isSame);
        EXPECT_EQ(KX::IsPathTheSame(Wide(a), Wide(b)), isSame);
    }
    EXPECT_EQ(KX::ConvertToPlatformSlashFolderPath(std::string("a\\b/c")), "a/b/c");
    EXPECT_EQ(KX::ConvertToCanonicalSlashFolderPath(std::wstring(L"a\\b/c")), L"a/b/c");
    EXPECT_EQ(KX::RemoveFolderInvalidCharacter(std::string("\\\"/:*?<>|a.b c")), "_________a.b c");
    EXPECT_EQ(KX::RemoveFolderInvalidCharacter(std::wstring(L"a:b*c\u6587")), L"a_b_c\u6587");
}

}  // namespace
