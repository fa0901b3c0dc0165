#include "string/Path.h"

#include <gtest/gtest.h>

namespace {

struct PathCase {
    std::string path;
    std::string filename;
    std::string withSlash;
    std::string withoutSlash;
};

const PathCase kCases[] = {
    {"", "", "", ""},
    {"/", "", "/", ""},
    {"abc", "abc", "abc/", "abc"},
    {"/x", "x", "/x/", "/x"},
    {"a/b/", "", "a/b/", "a/b"},
    {"/x//", "", "/x//", "/x/"},
    {"a/b\\c", "c", "a/b\\c/", "a/b\\c"},
    {"a\\b/c", "c", "a\\b/c/", "a\\b/c"},
    {"c:\\d\\", "", "c:\\d\\", "c:\\d"},
};

std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

TEST(PathTest, NarrowAndWideTakeBothSeparators) {
    for (const PathCase& item : kCases) {
        SCOPED_TRACE(item.path);
        EXPECT_EQ(KX::GetPathFilename(item.path), item.filename);
        EXPECT_EQ(KX::GetPathFilename(Wide(item.path)), Wide(item.filename));
        EXPECT_EQ(KX::GetPlatformSlashFolderPath(item.path), item.withSlash);
        EXPECT_EQ(KX::GetPlatformSlashFolderPath(Wide(item.path)), Wide(item.withSlash));
        EXPECT_EQ(KX::GetNoPlatformSlashFolderPath(item.path), item.withoutSlash);
        EXPECT_EQ(KX::GetNoPlatformSlashFolderPath(Wide(item.path)), Wide(item.withoutSlash));
    }
}

}  // namespace
