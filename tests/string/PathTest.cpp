#include "string/Path.h"

#include <gtest/gtest.h>

#include <array>

// Wide text: the replayed inputs of the fuzz target path_text hold each wide function to its narrow twin, and to laws
// where there is none.
namespace {

TEST(PathTest, SeparatorsAreBothSlashes) {
    using Case = std::array<std::string, 5>;
    for (const auto& [path, filename, withSlash, withoutSlash, directory] :
         {Case{"", "", "", "", ""}, Case{"/", "", "/", "", ""}, Case{"c.txt", "c.txt", "c.txt/", "c.txt", ""},
          Case{"/x//", "", "/x//", "/x/", "/x/"}, Case{"a/b\\c", "c", "a/b\\c/", "a/b\\c", "a/b\\c"},
          Case{"a\\b/c.d", "c.d", "a\\b/c.d/", "a\\b/c.d", "a\\b"}, Case{"a.d/b", "b", "a.d/b/", "a.d/b", "a.d/b"},
          Case{"c:\\d\\", "", "c:\\d\\", "c:\\d", "c:\\d"}}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(KX::GetPathFilename(path), filename);
        EXPECT_EQ(KX::GetPlatformSlashFolderPath(path), withSlash);
        EXPECT_EQ(KX::GetNoPlatformSlashFolderPath(path), withoutSlash);
        EXPECT_EQ(KX::GetPathDirectory(path), directory);
        EXPECT_EQ(KX::GetFullPath(path, "n.e"), directory + "/n.e");
    }
}

TEST(PathTest, NamesEndAtTheLastDot) {
    using Case = std::array<std::string, 4>;
    for (const auto& [path, subName, mainName, changedMain] :
         {Case{"/x/archive.tar.gz", "gz", "archive.tar", "/x/new.gz"},
          Case{"/x/.profile", "profile", "", "/x/new.profile"}, Case{"a.b/c", "b/c", "c", "a.b/c"},
          Case{"abc", "", "abc", "abc"}, Case{"a.", "", "a", "a."}, Case{"a.b", "b", "a", "new.b"},
          Case{"a.b/", "b/", "", "a.b/new.b/"}}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(KX::GetSubName(path), subName);
        EXPECT_EQ(KX::GetMainName(path), mainName);
        EXPECT_EQ(KX::ChangeMainName(path, "new"), changedMain);
    }
    EXPECT_EQ(KX::ChangeSubName(std::string("x.txt.bak"), ".txt", ".doc"), "x.doc");
    EXPECT_EQ(KX::ChangeSubName(std::string("x.txt"), ".png", ".doc"), "x.txt");
    EXPECT_EQ(KX::ChangeSubName(std::string("x"), "", ".doc"), "x.doc");
}

TEST(PathTest, ComparesWithoutCaseAndKindOfSeparator) {
    EXPECT_TRUE(KX::IsPathTheSame(std::string("C:\\Dir\\File"), "c:/dir/file"));
    EXPECT_FALSE(KX::IsPathTheSame(std::string("/a"), "/a/"));
    EXPECT_EQ(KX::RemoveFolderInvalidCharacter(std::string("\\\"/:*?<>|a.b c")), "_________a.b c");
}

}  // namespace
