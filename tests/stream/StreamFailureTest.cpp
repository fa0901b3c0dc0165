#include <algorithm>

#include "support/FailingAllocation.h"
#include "support/StreamTest.h"

using KX::CStream;
using KX::DataSection;
using KX::Result;

namespace {

constexpr auto kRawAndQuick = static_cast<DataSection>(32 + 64);

// What a load or save is refused: one call of the buffer, that and all later ones, or memory once.
enum class Refused { kOneCall, kAllCalls, kMemory };
constexpr Refused kEachKind[] = {Refused::kOneCall, Refused::kAllCalls, Refused::kMemory};

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

struct Outcome {
    Result result;
    bool hasFailed;
};

template <typename Action>
Outcome Refusing(CTestIo& io, Refused kind, std::size_t allowed, Action action) {
    const bool isMemory = kind == Refused::kMemory;
    io.announced.reserve(1);
    io.Rewind(isMemory ? SIZE_MAX : allowed, kind == Refused::kOneCall);
    const CFailingAllocation failing(isMemory ? allowed : SIZE_MAX, 0, 1);
    const Result result = action();
    return {result, isMemory ? CFailingAllocation::HasFailed() : io.hasFailed};
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

TEST_P(StreamFailureTest, LoadHandsTheFailureUp) {
    const auto counts = container.CountPositions();
    CTestIo io(container.Bytes());
    for (const DataSection sections : {kAllSections, kRawAndQuick}) {
        if (sections == kRawAndQuick && container.version <= 300) continue;
        for (const Refused kind : kEachKind) {
            WhileFailing([&](std::size_t allowed) {
                CBoundStream stream(io);
                const auto load = [&] { return stream.Load(kSkipNone, sections); };
                const auto [result, hasFailed] = Refusing(io, kind, allowed, load);
                const bool isCount = std::ranges::find(counts, io.failedAt) != counts.end();
                const Result ofBuffer = isCount ? KX::kResultMalformed : kTestFailure;
                const Result failure = kind == Refused::kMemory ? KX::kResultOutOfMemory : ofBuffer;
                EXPECT_EQ(result, hasFailed ? failure : KX::kResultOk) << io.failedAt;
                EXPECT_GE(stream.progress.finishes, 1);
                ExpectLoads(stream, io);
                return hasFailed;
            });
        }
    }
}

// What the debug list needs is not missed where it is refused, and what the compressor needs leaves a file without
// data.
TEST_P(StreamSaveFailureTest, SaveHandsTheFailureUp) {
    for (const Refused kind : kEachKind) {
        WhileFailing([&](std::size_t allowed) {
            CTestIo io;
            CBoundStream stream(io);
            LoadForSave(stream, io);
            const auto save = [&] { return stream.Save(kAllSections); };
            const auto [result, hasFailed] = Refusing(io, kind, allowed, save);
            const bool isWithoutData = container.isCompressed && io.bytes.ends_with(Little(32) + Digest(""));
            if (kind == Refused::kMemory) {
                const bool isSaved = isWithoutData || io.bytes == container.Bytes();
                EXPECT_EQ(result, isSaved ? KX::kResultOk : KX::kResultOutOfMemory);
            } else {
                EXPECT_EQ(result, hasFailed ? kTestFailure : KX::kResultOk);
                EXPECT_EQ(stream.progress.last, 1.0F);
                EXPECT_EQ(stream.progress.finishes, 1);
            }
            ExpectSaves(stream, io);
            return hasFailed;
        });
    }
}

constexpr auto kNameOf = [](const auto& info) { return info.param; };
INSTANTIATE_TEST_SUITE_P(Of, StreamFailureTest, testing::ValuesIn(GoldenNames()), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, StreamSaveFailureTest, testing::ValuesIn(GoldenNames(306)), kNameOf);

}  // namespace
