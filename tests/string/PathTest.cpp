#include "string/Path.h"

#include <gtest/gtest.h>

// Wide text: the replayed inputs of the fuzz target path_text hold each wide function to its narrow twin.
namespace {

TEST(PathTest, SeparatorsAreBothSlashes) {
    struct Case {
        std::string path, filename, withSlash, withoutSlash, directory;
    };
    for (const Case& item :
         {Case{"", "", "", "", ""}, Case{"/", "", "/", "", ""}, Case{"c.txt", "c.txt", "c.txt/", "c.txt", ""},
          Case{"/x//", "", "/x//", "/x/", "/x/"}, Case{"a/b\\c", "c", "a/b\\c/", "a/b\\c", "a/b\\c"},
          Case{"a\\b/c.d", "c.d", "a\\b/c.d/", "a\\b/c.d", "a\\b"}, Case{"a.d/b", "b", "a.d/b/", "a.d/b", "a.d/b"},
          Case{"c:\\d\\", "", "c:\\d\\", "c:\\d", "c:\\d"}}) {
        SCOPED_TRACE(item.path);
        EXPECT_EQ(KX::GetPathFilename(item.path), item.filename);
        EXPECT_EQ(KX::GetPlatformSlashFolderPath(item.path), item.withSlash);
        EXPECT_EQ(KX::GetNoPlatformSlashFolderPath(item.path), item.withoutSlash);
        EXPECT_EQ(KX::GetPathDirectory(item.path), item.directory);
        EXPECT_EQ(KX::GetFullPath(item.path, "n.e"), item.directory + "/n.e");
    }
}

TEST(PathTest, NamesEndAtTheLastDot) {
    struct Case {
        std::string path, subName, mainName, changedMain;
    };
    for (const Case& item : {Case{"/x/archive.tar.gz", "gz", "archive.tar", "/x/new.gz"},
                             Case{"/x/.profile", "profile", "", "/x/new.profile"}, Case{"a.b/c", "b/c", "c", "a.b/c"},
                             Case{"abc", "", "abc", "abc"}, Case{"a.", "", "a", "a."}, Case{"a.b", "b", "a", "new.b"},
                             Case{"a.b/", "b/", "", "a.b/new.b/"}}) {
        SCOPED_TRACE(item.path);
        EXPECT_EQ(KX::GetSubName(item.path), item.subName);
        EXPECT_EQ(KX::GetMainName(item.path), item.mainName);
        EXPECT_EQ(KX::ChangeMainName(item.path, "new"), item.changedMain);
    }
    EXPECT_EQ(KX::ChangeSubName(std::string("x.txt.bak"), ".txt", ".doc"), "x.doc");
    EXPECT_EQ(KX::ChangeSubName(std::string("x.txt"), ".png", ".doc"), "x.txt");
    EXPECT_EQ(KX::ChangeSubName(std::string("x"), "", ".doc"), "x.doc");
}

TEST(PathTest, LastComponentsOfWidePaths) {
    for (const auto& [path, parent] :
         {std::pair{L"/a/b/c", L"/a/b"}, {L"/a/b\\c/", L"/a/b"}, {L"a/", L""}, {L"/", L""}}) {
        EXPECT_EQ(KX::RemoveLastPathDirectory(path), parent);
    }
    for (const auto& [path, replaced] :
         {std::pair{L"a\\b\\c\\", L"a\\b\\n\\"}, {L"a/b", L""}, {L"a\\", L""}, {L"\\", L""}, {L"", L""}}) {
        EXPECT_EQ(KX::GetReplacedPath(path, L"n"), replaced);
    }
}

TEST(PathTest, ComparesWithoutCaseAndKindOfSeparator) {
    EXPECT_TRUE(KX::IsPathTheSame(std::string("C:\\Dir\\File"), "c:/dir/file"));
    EXPECT_FALSE(KX::IsPathTheSame(std::string("/a"), "/a/"));
    EXPECT_EQ(KX::RemoveFolderInvalidCharacter(std::string("\\\"/:*?<>|a.b c")), "_________a.b c");
}

}  // namespace
