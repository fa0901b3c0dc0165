#include <algorithm>

#include "support/FailingAllocation.h"
#include "support/StreamTest.h"

using KX::CStream;
using KX::DataSection;
using KX::Result;

namespace {

constexpr auto kRawAndQuick = static_cast<DataSection>(32 + 64);

// Calls `run` with 0, 1, 2 and so on, as long as it says that something failed in it.
template <typename Run>
void WhileFailing(Run run) {
    std::size_t allowed = 0;
    for (bool hasFailed = true; hasFailed && !testing::Test::HasFailure(); ++allowed) {
        SCOPED_TRACE("after " + std::to_string(allowed));
        hasFailed = run(allowed);
    }
    EXPECT_GT(allowed, 3U);
}

struct CTestProgress : KX::CProgress {
    void Report(float fraction) override {
        EXPECT_TRUE(fraction >= 0 && fraction <= 1) << fraction;
        if (finishes == 0) last = fraction;
    }
    void Finish() override { ++finishes; }

    float last = -1;  // before the end
    int finishes = 0;
};

struct CBoundStream : CStream {
    explicit CBoundStream(KX::CIoBuffer& io) {
        SetIoBuffer(&io);
        SetProgress(&progress);
        SetLzmaInterface(new CTestCompressor);
    }

    CTestProgress progress;
};

class StreamFailureTest : public StreamTest, public testing::WithParamInterface<std::string> {
protected:
    // The stream is still bound to the buffer, and loads and saves as if nothing had been.
    void ExpectLoads(CStream& stream, CTestIo& io) {
        io.Rewind();
        EXPECT_EQ(stream.Load(kSkipNone, kAllSections), KX::kResultOk);
        ExpectHolds(stream, container);
    }
    // With the classes registered that the container names.
    void LoadForSave(CBoundStream& stream, CTestIo& io) {
        CTestClasses::Register();
        io.bytes = container.Bytes();
        EXPECT_EQ(stream.Load(kSkipNone, kAllSections), KX::kResultOk);
        if (container.classes.empty()) CTestClasses::Clear();
        io.bytes.clear();
        stream.progress = {};
    }
    void ExpectSaves(CStream& stream, CTestIo& io) {
        io.Rewind();
        io.bytes.clear();
        EXPECT_EQ(stream.Save(kAllSections), KX::kResultOk);
        EXPECT_EQ(io.bytes, container.Bytes());
    }

    const CContainer container = Golden(GetParam());
};

using StreamSaveFailureTest = StreamFailureTest;

TEST_P(StreamFailureTest, LoadHandsTheBuffersFailureUp) {
    const auto counts = container.CountPositions();
    CTestIo io(container.Bytes());
    for (const DataSection sections : {kAllSections, kRawAndQuick}) {
        if (sections == kRawAndQuick && container.version <= 300) continue;
        for (const bool isOnce : {true, false}) {
            WhileFailing([&](std::size_t calls) {
                CBoundStream stream(io);
                io.Rewind();
                io.FailAfter(calls, isOnce);
                const Result result = stream.Load(kSkipNone, sections);
                const bool hasFailed = io.hasFailed;
                const bool isCount = std::ranges::find(counts, io.failedAt) != counts.end();
                const Result failure = isCount ? KX::kResultMalformed : kTestFailure;
                EXPECT_EQ(result, hasFailed ? failure : KX::kResultOk) << io.failedAt;
                EXPECT_GE(stream.progress.finishes, 1);
                ExpectLoads(stream, io);
                return hasFailed;
            });
        }
    }
}

TEST_P(StreamSaveFailureTest, SaveHandsTheBuffersFailureUp) {
    for (const bool isOnce : {true, false}) {
        WhileFailing([&](std::size_t calls) {
            CTestIo io;
            CBoundStream stream(io);
            LoadForSave(stream, io);
            io.FailAfter(calls, isOnce);
            const Result result = stream.Save(kAllSections);
            const bool hasFailed = io.hasFailed;
            EXPECT_EQ(result, hasFailed ? kTestFailure : KX::kResultOk);
            EXPECT_EQ(stream.progress.last, 1.0F);
            EXPECT_EQ(stream.progress.finishes, 1);
            ExpectSaves(stream, io);
            return hasFailed;
        });
    }
}

TEST_P(StreamFailureTest, LoadReportsRefusedMemory) {
    WhileFailing([&](std::size_t allowed) {
        CTestIo io(container.Bytes());
        CBoundStream stream(io);
        const Result result = [&] {
            const CFailingAllocation failing(allowed, 0, 1);
            return stream.Load(kSkipNone, kAllSections);
        }();
        const bool hasFailed = CFailingAllocation::HasFailed();
        EXPECT_EQ(result, hasFailed ? KX::kResultOutOfMemory : KX::kResultOk);
        ExpectLoads(stream, io);
        return hasFailed;
    });
}

// What the debug list needs is not missed where it is refused, and what the compressor needs leaves a file without data.
TEST_P(StreamSaveFailureTest, SaveReportsRefusedMemory) {
    WhileFailing([&](std::size_t allowed) {
        CTestIo io;
        CBoundStream stream(io);
        LoadForSave(stream, io);
        io.announced.reserve(1);
        const Result result = [&] {
            const CFailingAllocation failing(allowed, 0, 1);
            return stream.Save(kAllSections);
        }();
        const bool hasFailed = CFailingAllocation::HasFailed();
        const bool isWithoutData = container.isCompressed && io.bytes.ends_with(Little(32) + Digest(""));
        const bool isSaved = isWithoutData || io.bytes == container.Bytes();
        EXPECT_EQ(result, isSaved ? KX::kResultOk : KX::kResultOutOfMemory);
        ExpectSaves(stream, io);
        return hasFailed;
    });
}

constexpr auto kNameOf = [](const auto& info) { return info.param; };
INSTANTIATE_TEST_SUITE_P(Of, StreamFailureTest, testing::ValuesIn(GoldenNames()), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, StreamSaveFailureTest, testing::ValuesIn(GoldenNames(306)), kNameOf);

}  // namespace
