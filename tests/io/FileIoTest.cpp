#include "io/FileIo.h"

#include <sys/stat.h>

#include <fstream>
#include <functional>
#include <new>
#include <tuple>

#include "io/FileStream.h"
#include "stream/Stream.h"
#include "support/TempFolder.h"
#include "system/System.h"

namespace fs = std::filesystem;
using KX::CFileIo;
using KX::Result;

namespace {

// A stream that does one thing with its buffer, and notes what else it was given.
class CActingStream : public KX::CStream {
public:
    Result SetIoBuffer(KX::CIoBuffer* newBuffer) override { return buffer = newBuffer, 0; }
    Result SetProgress(KX::CProgress* newProgress) override { return progress = newProgress, 0; }
    Result Load(KX::SkipType newSkip, KX::DataSection newSection) override { return skip = newSkip, Save(newSection); }
    Result Save(KX::DataSection newSection) override { return section = newSection, ++calls, act(*buffer); }

    std::function<Result(KX::CIoBuffer&)> act;
    KX::CIoBuffer* buffer = nullptr;
    KX::CProgress* progress = nullptr;
    KX::SkipType skip = KX::SkipType::None;
    KX::DataSection section = KX::DataSection::None;
    int calls = 0;
};

struct CSilentProgress : KX::CProgress {
    void Report(float /*fraction*/) override {}
    void Finish() override {}
};

constexpr auto kData = KX::DataSection::Data;

class FileIoTest : public TempFolderTest {
protected:
    ~FileIoTest() override { CFileIo::c_kfSpaceChecker = nullptr; }

    Result Load(const wchar_t* path) { return KX::LoadFileStream(stream, path, KX::SkipType::Drm, kData, &progress); }
    Result Save(const wchar_t* path) { return KX::SaveFileStream(stream, path, kData, &progress); }

    CFileIo io;
    CActingStream stream;
    CSilentProgress progress;
    char bytes[10] = {};
};

TEST_F(FileIoTest, TellsWhyAFileCannotBeOpened) {
    fs::create_directory("folder");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    using Case = std::tuple<const wchar_t*, Result, Result>;
    for (const auto& [path, opened, saved] : {Case{nullptr, KX::kResultInvalidArgument, KX::kResultInvalidArgument},
                                              Case{L"", KX::kResultFileQueryFailed, KX::kResultOpenFailed},
                                              Case{L"none/file", KX::kResultOpenFailed, KX::kResultOpenFailed},
                                              Case{L"none\xD800", KX::kResultOpenFailed, KX::kResultOpenFailed},
                                              Case{L"folder", KX::kResultOk, KX::kResultOpenFailed}}) {
        SCOPED_TRACE(path == nullptr ? L"null" : path);
        EXPECT_EQ(io.Save(path), saved);
        EXPECT_EQ(io.Open(path), opened);
        EXPECT_EQ(io.IsOpen(), opened == 0);
    }
    EXPECT_EQ(io.ReadIn(bytes, 1, 1, nullptr), KX::kResultIoFailed) << "of a folder";
    EXPECT_EQ(io.Open(L"pipe"), 0) << "without anybody to write into it";
    EXPECT_EQ(io.GetSize(), 0U);
    io.Close();
    EXPECT_EQ(io.InitFilePosition(0), KX::kResultInvalidArgument);
    EXPECT_EQ(io.Flush(), KX::kResultInvalidArgument);
}

TEST_F(FileIoTest, CountsLastUntilTheNextFileOrTheEnd) {
    fs::create_directory("\xE5\x9C\x96");
    ASSERT_EQ(io.Save(L"\u5716/a.bin") | io.WriteOut("0123456789", 10, nullptr), 0);
    ASSERT_EQ(io.Open(L"\u5716/a.bin"), 0);  // which closes the other
    EXPECT_EQ(io.GetWriteSize(), 10U);
    std::wstring directory;
    EXPECT_EQ(io.GetSearchDirectory(directory), 0);
    EXPECT_EQ(directory, L"\u5716");
    EXPECT_TRUE(io.CheckFileExist(directory + L"/a.bin"));
    ASSERT_EQ(io.ReadIn(bytes, 9, 9, nullptr), 0);

    ASSERT_EQ(io.Open(L"\u5716/a.bin") | io.ReadIn(bytes, 4, 4, nullptr) | io.InitFilePosition(7), 0);
    ASSERT_EQ(io.ReadIn(bytes, 1, 1, nullptr), 0);
    EXPECT_TRUE(bytes[0] == '7' && io.GetReadSize() == 5);
    EXPECT_EQ(io.InitFilePosition(~0UL), KX::kResultIoFailed);
    EXPECT_EQ(io.Skip(100), 0) << "past the end";
    EXPECT_EQ(io.GetRemainingSize(), 0U);

    ASSERT_EQ(io.Save(L"b"), 0);
    EXPECT_EQ(io.GetSize(), 10U);
    EXPECT_EQ(io.GetWriteSize(), 0U);
    ASSERT_EQ(io.WriteOut("old", 3, nullptr) | io.Save(L"b") | io.Close(), 0);
    EXPECT_EQ(fs::file_size("b"), 0U);
    EXPECT_EQ(io.GetSize() + io.GetReadSize() + io.GetWriteSize(), 0U);
}

TEST_F(FileIoTest, TheSpaceCheckerHasItsSay) {
    ASSERT_EQ(io.Save(L"file"), 0);
    std::vector<std::pair<std::wstring, unsigned long>> asked;
    CFileIo::c_kfSpaceChecker = [&](std::wstring path, unsigned long size) -> Result {
        asked.emplace_back(std::move(path), size);
        if (size == 1) throw std::bad_alloc();
        if (size == 2) throw size;
        return KX::kResultNoSpace;
    };
    EXPECT_EQ(io.SetOutputInfo(~0UL, 3), KX::kResultNoSpace);
    EXPECT_EQ(asked, (decltype(asked){{L"file", ~0UL}}));
    EXPECT_EQ(io.SetOutputInfo(1, 3), KX::kResultOutOfMemory);
    EXPECT_EQ(io.SetOutputInfo(2, 3), KX::kResultFail);
}

TEST_F(FileIoTest, FileOpenTellsByThePointer) {
    std::FILE* file = nullptr;
    ASSERT_EQ(KX::FileOpen(&file, L"\u5716", L"wb"), 0);
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_TRUE(fs::exists("\xE5\x9C\x96"));
    EXPECT_TRUE(KX::FileOpen(&file, L"none/file", L"rb") == 0 && file == nullptr);
    EXPECT_EQ(KX::FileOpen(&file, nullptr, L"rb"), KX::kResultInvalidArgument);
    EXPECT_EQ(KX::FileOpen(nullptr, L"file", L"rb"), KX::kResultInvalidArgument);
}

TEST_F(FileIoTest, LoadsAStreamFrom7BytesOn) {
    std::ofstream("short") << "123456";
    for (const auto& [path, result] : {std::pair{static_cast<const wchar_t*>(nullptr), KX::kResultInvalidArgument},
                                       {L"", KX::kResultFileQueryFailed},
                                       {L"none", KX::kResultOpenFailed},
                                       {L"short", KX::kResultFail}}) {
        EXPECT_EQ(Load(path), result);
    }
    EXPECT_EQ(stream.calls, 0);

    std::ofstream("file") << "1234567";
    stream.act = [&](KX::CIoBuffer& buffer) { return buffer.ReadIn(bytes, 8, 8, nullptr); };
    EXPECT_EQ(Load(L"file"), KX::kResultIoFailed);
    EXPECT_EQ(stream.calls, 1);
    EXPECT_EQ(stream.GetFileModifyTime(), KX::CSystem::GetFileModifiedTime(L"file"));
    EXPECT_TRUE(stream.progress == &progress && stream.skip == KX::SkipType::Drm && stream.section == kData);
    stream.act = [](KX::CIoBuffer&) -> Result { throw std::bad_alloc(); };
    EXPECT_EQ(Load(L"file"), KX::kResultOutOfMemory);
}

TEST_F(FileIoTest, AFailedSaveLeavesAPartUnlessTheRoomWasRefused) {
    EXPECT_EQ(Save(nullptr), KX::kResultInvalidArgument);
    EXPECT_EQ(Save(L"none/file"), KX::kResultOpenFailed);
    EXPECT_EQ(stream.calls, 0);
    for (const Result result : {KX::kResultOk, KX::kResultNothingDone, KX::kResultIoFailed, KX::kResultNoSpace}) {
        stream.act = [&](KX::CIoBuffer& buffer) { return buffer.WriteOut("12345", 5, nullptr) | result; };
        EXPECT_EQ(Save(L"file"), result);
        EXPECT_TRUE(stream.progress == &progress && stream.section == kData);
        EXPECT_EQ(BytesOf("file"), result == KX::kResultNoSpace ? "" : "12345");
        EXPECT_EQ(fs::exists("file"), result != KX::kResultNoSpace);
    }
}

TEST_F(FileIoTest, AFullDiskFailsTheSaveThoughTheBytesWereTaken) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
    fs::create_symlink("/dev/full", "full");             // so that a fault that deletes the file takes only the link
    for (const unsigned long size : {5UL, 1000000UL}) {  // some that fail at the end, some that fail when written
        stream.act = [&](KX::CIoBuffer& buffer) {
            (void)buffer.WriteOut(std::string(size, 'x').data(), size, nullptr);
            return KX::kResultOk;
        };
        EXPECT_EQ(Save(L"full"), KX::kResultIoFailed) << size;
    }
    ASSERT_EQ(io.Save(L"full"), 0);
    EXPECT_EQ(io.WriteOut(std::string(1000000, 'x').data(), 1000000, nullptr), KX::kResultIoFailed);
    EXPECT_EQ(io.GetWriteSize(), 0U);
}

}  // namespace
