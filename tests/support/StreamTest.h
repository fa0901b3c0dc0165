#pragma once

#include "support/TempFolder.h"
#include "support/TestObjects.h"

inline constexpr KX::SkipType kSkipNone = KX::SkipType::None;
inline constexpr auto kSkipAll = static_cast<KX::SkipType>(2 + 4 + 8 + 16);
inline constexpr auto kAllSections = static_cast<KX::DataSection>(2 + 4 + 8 + 16);

// With the test classes registered; fails if an object outlives its test.
class StreamTest : public TempFolderTest {
protected:
    void TearDown() override {
        KX::CStream::m_fnDrmProcessBeforeSave = nullptr;
        KX::CStream::m_fnDrmProcessAfterLoad = nullptr;
        KX::CStream::m_strLoadFileLogPath.clear();
        CTestObject::calls = nullptr;
        CTestObject::failingCall.clear();
        CTestObject::answer = nullptr;
        EXPECT_EQ(CTestObject::alive, 0);
    }

    static KX::Result Load(KX::CStream& stream, const std::string& bytes, KX::DataSection sections = kAllSections,
                           KX::SkipType skip = kSkipNone) {
        CTestIo io(bytes);
        stream.SetIoBuffer(&io);
        const KX::Result result = stream.Load(skip, sections);
        stream.SetIoBuffer(nullptr);
        return result;
    }

    static std::string Saved(KX::CStream& stream, KX::DataSection sections = kAllSections) {
        CTestIo io;
        stream.SetIoBuffer(&io);
        EXPECT_EQ(stream.Save(sections), KX::kResultOk);
        EXPECT_EQ(io.announced, std::vector<unsigned long>{io.bytes.size()});
        stream.SetIoBuffer(nullptr);
        return io.bytes;
    }

    // That a plain save writes what the container holds, in the newest version.
    static void ExpectHolds(KX::CStream& stream, CContainer container) {
        stream.SetCompress(container.isCompressed = false);
        stream.SetMd5(container.hasDigest = false);
        container.version = 306;
        container.hasData = true;
        container.classes = TestClassVersions();
        EXPECT_EQ(Saved(stream), container.Bytes());
    }

    const CTestClasses classes;
};
