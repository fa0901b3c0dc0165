#include <cstdlib>
#include <fstream>
#include <random>
#include <tuple>

#include "support/StreamTest.h"

using KX::CStream;
using KX::DataSection;
using KX::Result;
using KX::SkipType;

namespace {

// What is left of a container of which only those sections were saved or loaded.
CContainer Only(CContainer container, unsigned int sections) {
    // Up to 300, sections have no lengths, and the first that is not asked for ends the load.
    if (container.version <= 300 && (sections & 2) == 0) sections = 0;
    if (container.version <= 300 && container.version >= 200 && (sections & 8) == 0) sections &= 2;
    if ((sections & 2) == 0) container.thumbnail.clear();
    if ((sections & 4) == 0) container.drm.clear();
    if ((sections & 8) == 0) container.extendInfo.clear();
    container.hasData = (sections & 16) != 0;
    if (!container.hasData) container.data.clear();
    return container;
}

class StreamGoldenTest : public StreamTest, public testing::WithParamInterface<std::string> {
protected:
    Result LoadWithCompressor(CStream& stream, const std::string& from, unsigned int sections, SkipType skip) {
        stream.SetLzmaInterface(new CTestCompressor);
        return Load(stream, from, static_cast<DataSection>(sections), skip);
    }

    const CContainer container = Golden(GetParam());
    const std::string bytes = container.Bytes();
};

using StreamSectionsGoldenTest = StreamGoldenTest;  // where sections have lengths, so that one may be kept raw
using StreamNewGoldenTest = StreamGoldenTest;       // of the version that is written

// KXMMF_WRITE_GOLDEN in the environment has the files written anew.
TEST_P(StreamGoldenTest, WriterMakesTheCommittedFile) {
    const std::string path = KXMMF_GOLDEN_FOLDER "/" + GetParam() + ".kxo";
    if (std::getenv("KXMMF_WRITE_GOLDEN") != nullptr) std::ofstream(path, std::ios::binary) << bytes;
    EXPECT_EQ(BytesOf(path), bytes);
}

TEST_P(StreamGoldenTest, LoadsWhatIsAskedFor) {
    for (unsigned int sections = 0; sections < 32; sections += 2) {
        SCOPED_TRACE(sections);
        CStream stream;
        if (container.isCompressed) stream.SetLzmaInterface(new CTestCompressor);
        ASSERT_EQ(Load(stream, bytes, static_cast<DataSection>(sections)), KX::kResultOk);
        EXPECT_EQ(stream.FileVersion(), container.version);
        ExpectHolds(stream, Only(container, sections));
    }
}

TEST_P(StreamNewGoldenTest, SavesWhatIsAskedFor) {
    CStream stream;
    ASSERT_EQ(LoadWithCompressor(stream, bytes, 2 + 4 + 8 + 16, kSkipNone), KX::kResultOk);
    if (container.classes.empty()) CTestClasses::Clear();
    for (unsigned int sections = 0; sections < 32; sections += 2) {
        EXPECT_EQ(Saved(stream, static_cast<DataSection>(sections)), Only(container, sections).Bytes()) << sections;
    }
    unsigned int size = 0;
    CContainer plain = container;
    plain.isCompressed = false;
    EXPECT_EQ(stream.GetDiskUsed(size), KX::kResultOk);
    EXPECT_EQ(size, plain.Bytes().size());
}

TEST_P(StreamSectionsGoldenTest, RawDataIsSavedAsItWasLoaded) {
    CStream stream, reloaded;
    ASSERT_EQ(Load(stream, bytes, static_cast<DataSection>(2 + 4 + 8 + 32)), KX::kResultOk);
    EXPECT_EQ(stream.GetObjectCount(), 0U);
    CContainer head = Only(container, 2 + 4 + 8);
    head.version = 306;
    std::string wanted = head.Bytes();
    wanted.resize(wanted.size() - 8);  // the data's minor version and length
    const std::string data = container.DataSection();
    wanted += Little(static_cast<std::uint64_t>(container.version % 100)) + Little(data.size()) + data;
    if (container.classes.empty()) CTestClasses::Clear();
    const std::string saved = Saved(stream, static_cast<DataSection>(2 + 4 + 8 + 32));
    EXPECT_EQ(saved, wanted);

    CTestClasses::Register();
    ASSERT_EQ(LoadWithCompressor(reloaded, saved, 2 + 4 + 8 + 16, kSkipNone), KX::kResultOk);
    ExpectHolds(reloaded, container);
}

// Every truncation, and every byte once changed: an answer, and no success where the format can tell.
TEST_P(StreamGoldenTest, DamageEndsInACode) {
    std::minstd_rand random(4711);
    const std::size_t dataAt = bytes.size() - container.DataSection().size();
    for (const unsigned int sections : {2U + 4 + 8 + 16, 4U + 8 + 32, 64U}) {
        const bool isDataSeen = container.hasDigest && (sections & 16) != 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            for (const SkipType skip : {kSkipNone, kSkipAll}) {
                CStream changed, cut;
                std::string damaged = bytes;
                damaged[i] = static_cast<char>(bytes[i] ^ static_cast<int>(1 + random() % 255));
                const bool isRefused = KX::Failed(LoadWithCompressor(changed, damaged, sections, skip));
                EXPECT_TRUE(isRefused || !isDataSeen || i < dataAt) << i;
                const bool isCutRefused = KX::Failed(LoadWithCompressor(cut, bytes.substr(0, i), sections, skip));
                EXPECT_TRUE(isCutRefused || container.version <= 300) << i;
            }
        }
    }
}

constexpr auto kNameOf = [](const auto& info) { return info.param; };
INSTANTIATE_TEST_SUITE_P(Of, StreamGoldenTest, testing::ValuesIn(GoldenNames()), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, StreamSectionsGoldenTest, testing::ValuesIn(GoldenNames(301)), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, StreamNewGoldenTest, testing::ValuesIn(GoldenNames(306)), kNameOf);

using StreamHeaderTest = StreamTest;

TEST_F(StreamHeaderTest, WhatIsNotReadIsRefused) {
    using Case = std::tuple<std::string, Result, int>;
    for (const auto& [header, expected, version] :
         {Case{"_KXOrcb" + Little(3) + Little(6), KX::kResultMalformed, 306},
          Case{"_KXOrca" + Little(3) + Little(2), KX::kResultMalformed, 302},
          Case{"_KXOrca" + Little(3) + Little(7), KX::kResultTooNew, 306},
          Case{"_KXOrca" + Little(0xFFFFFFFF) + Little(0xFFFFFFFF), KX::kResultTooNew, 306},
          Case{"_KXOrca" + Little(42949673) + Little(0), KX::kResultTooNew, 306},  // 4 in 32 bits
          Case{"KXLumen version 2-00 ", KX::kResultMalformed, 306},
          Case{"KXLumen version x.00 ", KX::kResultMalformed, 306},
          Case{"KXLumen version 2.x0 ", KX::kResultMalformed, 306},
          Case{"KXLumen version 4.00 ", KX::kResultTooNew, 306}}) {
        CStream stream;
        EXPECT_EQ(Load(stream, header + std::string(40, '\0')), expected) << header;
        EXPECT_EQ(stream.FileVersion(), version) << header;
    }
}

}  // namespace
