#include "mmf/MmfObj.h"

#include <sys/resource.h>
#include <unistd.h>

#include <ctime>
#include <cwchar>
#include <fstream>
#include <tuple>

#include "support/TempFolder.h"

namespace fs = std::filesystem;

namespace {

using MmfObjTest = TempFolderTest;

TEST_F(MmfObjTest, TempFileNamesTellTheSecond) {
    wchar_t name[64];
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(GetTempFileName(L"/d/", L"KX_", 7, name), name);
    const long second = std::wcstol(name + 7, nullptr, 10);
    EXPECT_TRUE(before <= second && second <= std::time(nullptr));
    EXPECT_EQ(name, L"/d//KX_" + std::to_wstring(second) + L".tmp");
}

TEST_F(MmfObjTest, OpenFileGrowsTo2BytesMoreIn32Bits) {
    using Case = std::tuple<unsigned int, std::uintmax_t>;
    for (const auto& [size, fileSize] :
         {Case{0, 0}, Case{1, 3}, Case{5000, 5002}, Case{0xFFFFFFFE, 0x100000000}, Case{0xFFFFFFFF, 1}}) {
        const int descriptor = OpenFile4MMF(L"file", size);
        ASSERT_NE(descriptor, -1);
        EXPECT_EQ(::lseek(descriptor, 0, SEEK_CUR), 0);
        EXPECT_EQ(fs::file_size("file"), fileSize) << size;
        EXPECT_EQ(fs::status("file").permissions(), fs::perms::owner_read | fs::perms::owner_write);
        ::close(descriptor);
        fs::remove("file");
    }
    EXPECT_EQ(OpenFile4MMF(L"missing/file", 1), -1);
}

TEST_F(MmfObjTest, OpenFileKeepsWhatIsThere) {
    std::ofstream("file") << "0123456789";
    ::close(OpenFile4MMF(L"file", 3));
    EXPECT_EQ(BytesOf("file"), std::string("0123\0"
                                           "56789",
                                           10));
}

TEST_F(MmfObjTest, OpenFileNeitherFollowsLinksNorExceedsTheLimitForFiles) {
    fs::create_symlink("victim", "link");
    EXPECT_EQ(OpenFile4MMF(L"link", 5000), -1);
    EXPECT_FALSE(fs::exists("victim"));

    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{4096, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    ::close(OpenFile4MMF(L"file", 5000));
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(fs::file_size("file"), 0U);
}

}  // namespace
