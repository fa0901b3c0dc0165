#include "string/Path.h"

#include <array>
#include <tuple>

#include "support/Twins.h"

namespace {

TEST(PathTest, SeparatorsAreBothSlashes) {
    using Case = std::array<std::string, 5>;
    for (const auto& [path, filename, withSlash, withoutSlash, directory] :
         {Case{"", "", "", "", ""}, Case{"/", "", "/", "", ""}, Case{"c.txt", "c.txt", "c.txt/", "c.txt", ""},
          Case{"/x//", "", "/x//", "/x/", "/x/"}, Case{"a/b\\c", "c", "a/b\\c/", "a/b\\c", "a/b\\c"},
          Case{"a\\b/c.d", "c.d", "a\\b/c.d/", "a\\b/c.d", "a\\b"}, Case{"a.d/b", "b", "a.d/b/", "a.d/b", "a.d/b"},
          Case{"c:\\d\\", "", "c:\\d\\", "c:\\d", "c:\\d"}}) {
        SCOPED_TRACE(path);
        ExpectTwins([](auto text) { return KX::GetPathFilename(text); }, filename, path);
        ExpectTwins([](auto text) { return KX::GetPlatformSlashFolderPath(text); }, withSlash, path);
        ExpectTwins([](auto text) { return KX::GetNoPlatformSlashFolderPath(text); }, withoutSlash, path);
        ExpectTwins([](auto text) { return KX::GetPathDirectory(text); }, directory, path);
        ExpectTwins([](auto text, auto name) { return KX::GetFullPath(text, name); }, directory + "/n.e", path, "n.e");
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
        ExpectTwins([](auto text) { return KX::GetSubName(text); }, subName, path);
        ExpectTwins([](auto text) { return KX::GetMainName(text); }, mainName, path);
        ExpectTwins([](auto text, auto name) { return KX::ChangeMainName(text, name); }, changedMain, path, "new");
    }
    const auto change = [](auto path, auto from, auto to) { return KX::ChangeSubName(path, from, to); };
    ExpectTwins(change, "x.doc", "x.txt.bak", ".txt", ".doc");
    ExpectTwins(change, "x.txt", "x.txt", ".png", ".doc");
    ExpectTwins(change, "x.doc", "x", "", ".doc");
}

TEST(PathTest, ComparesWithoutCaseAndKindOfSeparator) {
    for (const auto& [left, right, isSame] : {std::tuple{"C:\\Dir\\File", "c:/dir/file", true}, {"/a", "/a/", false}}) {
        EXPECT_EQ(KX::IsPathTheSame(std::string(left), right), isSame);
        EXPECT_EQ(KX::IsPathTheSame(Wide(left), Wide(right)), isSame);
    }
    ExpectTwins([](auto text) { return KX::RemoveFolderInvalidCharacter(text); }, "_________a.b c", "\\\"/:*?<>|a.b c");
}

}  // namespace
