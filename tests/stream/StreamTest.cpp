#include "stream/Stream.h"

#include <fstream>
#include <tuple>
#include <utility>

#include "support/SmallStack.h"
#include "support/StreamTest.h"

using KX::CBase;
using KX::COrcaID;
using KX::CPointer;
using KX::CStream;
using KX::DataSection;
using KX::Result;
using KX::SkipType;

namespace {

using Objects = std::vector<CBase*>;
using Names = std::vector<std::string>;

CPointer<CBase> MakeNode(std::uint64_t id) {
    return new CTestObject(kNodeClass, id);
}

// ---- Lists ----

TEST_F(StreamTest, TopLevelObjectsAreEachThereOnce) {
    CStream stream;
    const CPointer<CBase> first = MakeNode(1), second = MakeNode(2), third = MakeNode(3);
    CBase *const a = first.Get(), *const b = second.Get(), *const c = third.Get();
    using Results = std::vector<Result>;
    constexpr Result ok = KX::kResultOk, nothing = KX::kResultNothingDone, invalid = KX::kResultInvalidArgument;
    EXPECT_EQ((Results{stream.Insert(nullptr), stream.Insert(a), stream.Insert(b), stream.Insert(b)}),
              (Results{invalid, ok, ok, nothing}));
    EXPECT_EQ((Results{stream.SetObjectAt(1, nullptr), stream.SetObjectAt(2, c), stream.SetObjectAt(1, a),
                       stream.SetObjectAt(1, c)}),
              (Results{invalid, invalid, nothing, ok}));
    EXPECT_EQ((Results{stream.Remove(nullptr), stream.Remove(b), stream.Remove(a)}), (Results{invalid, nothing, ok}));
    EXPECT_EQ((Objects{stream.GetObjectAt(0), stream.GetObjectAt(1)}), (Objects{c, nullptr}));
    EXPECT_TRUE(stream.IsTopLevel(c) && !stream.IsTopLevel(a) && !stream.IsTopLevel(b));
}

TEST_F(StreamTest, DrmAndExtendInfoTakeAnythingAndSurviveRemoveAll) {
    const CPointer<CBase> first = MakeNode(1), second = MakeNode(2);
    CBase *const a = first.Get(), *const b = second.Get();
    CStream stream;
    for (CBase* const object : Objects{a, b, nullptr, a}) {
        EXPECT_EQ(stream.AddDrm(object) | stream.AddExtendInfo(object), KX::kResultOk);
    }
    EXPECT_EQ(stream.RemoveDrm(a) | stream.RemoveExtendInfo(a) | stream.InsertExtendInfo(b, 3), KX::kResultOk);
    EXPECT_EQ(stream.InsertExtendInfo(a, 5), KX::kResultOutOfBounds);
    EXPECT_EQ(stream.RemoveExtendInfoAt(4), KX::kResultOutOfBounds);
    EXPECT_EQ(stream.RemoveExtendInfoAt(0), KX::kResultOk);
    stream.SetThumbnail(a);
    stream.Insert(a);
    stream.LogMissingLink(COrcaID(7), b);
    stream.AddVersion(a->GetRtti(), KX::CVersion(1, 2));
    EXPECT_EQ(stream.RemoveAll(), KX::kResultOk);
    EXPECT_TRUE(stream.GetObjectCount() == 0 && !stream.IsTopLevel(a) && !stream.HasVersion(a->GetRtti()));
    EXPECT_TRUE(stream.GetThumbnail() == a && stream.GetMissingLink()[COrcaID(7)].size() == 1);
    for (unsigned long i = 0; i < 4; ++i) {
        EXPECT_EQ(stream.GetDrm(i), (Objects{b, nullptr, a, nullptr})[i]) << i;
        EXPECT_EQ(stream.GetExtendInfo(i), (Objects{nullptr, a, b, nullptr})[i]) << i;
    }
    stream.SetCompress(false);
    EXPECT_EQ(Load(stream, Saved(stream)), KX::kResultOk);  // null is not saved
    EXPECT_TRUE(stream.GetDrmCount() == 2 && stream.GetExtendInfoCount() == 2);
    EXPECT_EQ(stream.ClearDrm(), KX::kResultOk);
    EXPECT_EQ(stream.GetDrmCount(), 0U);
}

// ---- Links ----

TEST_F(StreamTest, LinkProcessStopsAtAFailureAndLinksNoneAgain) {
    CStream stream;
    KX::CLinkMap links;
    for (const std::uint64_t id : {3U, 1U, 2U}) links[COrcaID(id)] = MakeLink(MakeNode(id).Get());
    Names calls;
    CTestObject::calls = &calls;
    CTestObject::failingCall = "Link 2";
    EXPECT_EQ(stream.LinkProcess(links), kTestFailure);
    CTestObject::failingCall = "PostLink 2";
    EXPECT_EQ(stream.LinkProcess(links), KX::kResultOk);
    EXPECT_EQ(stream.PostLinkProcess(links), kTestFailure);
    EXPECT_EQ(calls, (Names{"Link 1", "Link 2", "Link 2", "Link 3", "PostLink 1", "PostLink 2"}));
}

TEST_F(StreamTest, LinksJoinTheObjectsOfTheDataSection) {
    Names calls;
    CTestObject::calls = &calls;
    CStream stream;
    ASSERT_EQ(Load(stream, Golden("orca306").Bytes(), DataSection::Data), KX::kResultOk);
    EXPECT_EQ(calls, (Names{"Load 1", "Load 3", "Load 2", "Load 4", "Link 1", "Link 2", "Link 3", "Link 4",
                            "PostLink 1", "PostLink 2", "PostLink 3", "PostLink 4"}));
    KX::CMissingLinkMap missing;
    stream.CollectMissingLink(missing);
    ASSERT_TRUE(missing.size() == 1 && missing[COrcaID(99)].size() == 1);
    EXPECT_EQ(missing[COrcaID(99)].front().Get(), stream.GetObjectAt(1));

    EXPECT_FALSE(stream.InsertInLinkMap(COrcaID(1), MakeLink().Get()));
    EXPECT_EQ(stream.GetObjectFromLinkMap(COrcaID(1)), stream.GetObjectAt(0));
    ASSERT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
    EXPECT_EQ(stream.GetObjectFromLinkMap(COrcaID(60)), nullptr);  // is in another section
}

// ---- Classes ----

TEST_F(StreamTest, ObjectsOfUnknownClassesFailOrAreSkipped) {
    std::vector<CRecord> CContainer::*const sections[] = {&CContainer::thumbnail, &CContainer::drm,
                                                          &CContainer::extendInfo, &CContainer::data};
    for (const char* const name : {"orca304", "orca306", "orca306plain", "orca306compressed"}) {
        for (unsigned int i = 0; i < 4 * 2 * 2; ++i) {
            const unsigned int section = i % 4, bit = 2U << section;
            const bool isStrange = i / 4 % 2 == 1, isSkipped = i / 8 == 1, isData = section == 3;
            SCOPED_TRACE(std::string(name) + " " + std::to_string(i));
            CContainer container = Golden(name);
            (container.*sections[section]).front().classId = isStrange ? kStrangeClass : kNoCreatorClass;
            const bool isLoaded = isSkipped && (!isStrange || isData);
            const Result failure = isStrange ? KX::kResultMalformed : KX::kResultUnknownClass;

            CStream stream;
            stream.SetLzmaInterface(new CTestCompressor);
            const auto skip = static_cast<SkipType>(isSkipped ? bit : (2 + 4 + 8 + 16) - bit);
            EXPECT_EQ(Load(stream, container.Bytes(), kAllSections, skip), isLoaded ? KX::kResultOk : failure);
            if (!isLoaded) continue;
            EXPECT_EQ(stream.GetThumbnail() == nullptr, section == 0);
            EXPECT_EQ(stream.GetDrm(0) == nullptr, section == 1);
            EXPECT_EQ(stream.GetExtendInfo(0) == nullptr, section == 2);
            EXPECT_TRUE(stream.GetDrm(1) != nullptr && stream.GetExtendInfo(1) != nullptr);
            EXPECT_EQ(stream.GetObjectCount(), isData ? 1U : 2U);
        }
    }
    CContainer old = Golden("lumen100");  // whose records tell no size
    old.data.back().classId = kNoCreatorClass;
    CStream stream;
    EXPECT_EQ(Load(stream, old.Bytes(), kAllSections, kSkipAll), KX::kResultUnknownClass);
}

TEST_F(StreamTest, AClassOfANewerVersionEndsTheLoad) {
    using Case = std::tuple<std::int64_t, std::uint32_t, Result>;
    for (const char* const name : {"orca303compressed", "orca306"}) {
        for (const auto& [classId, version, expected] :
             {Case{kNodeClass, 202, KX::kResultTooNew}, Case{kNodeClass, 0x80000000, KX::kResultTooNew},
              Case{kNoCreatorClass, 101, KX::kResultTooNew},  // the base of the others
              Case{kNodeClass, 0, KX::kResultOk}, Case{kStrangeClass, 999, KX::kResultOk}}) {
            CContainer container = Golden(name);
            container.classes[classId] = version;
            CStream stream;
            stream.SetLzmaInterface(new CTestCompressor);
            EXPECT_EQ(Load(stream, container.Bytes()), expected) << name << classId;
        }
    }
}

// ---- Load and save ----

TEST_F(StreamTest, QuickLoadTakesTheFirstExtendInfoAlone) {
    CContainer container = Golden("orca306");
    for (const bool isQuick : {true, false}) {
        CStream stream;
        const auto sections = static_cast<DataSection>(isQuick ? 64 : 64 + 8);
        ASSERT_EQ(Load(stream, container.Bytes(), sections), KX::kResultOk);
        EXPECT_TRUE(stream.GetExtendInfo(0) != nullptr && (stream.GetExtendInfo(1) == nullptr) == isQuick);
        EXPECT_TRUE(stream.GetThumbnail() == nullptr && stream.GetDrmCount() + stream.GetObjectCount() == 0);
    }
    container.extendInfo.front().classId = kNoCreatorClass;
    CStream stream;
    EXPECT_EQ(Load(stream, container.Bytes(), DataSection::HQThumbnail, kSkipAll), KX::kResultUnknownClass);
}

TEST_F(StreamTest, LengthsThatContradictTheContentAreMalformed) {
    constexpr std::size_t kTableAt = 17, kCountAt = 21, kThumbnailAt = 17 + 4 + 40;
    const auto dataSize = static_cast<std::uint32_t>(Golden("orca306plain").DataSection().size());
    const std::size_t plainAt = Golden("orca306plain").Bytes().size() - dataSize;
    const std::size_t dataAt = Golden("orca306").Bytes().size() - Golden("orca306").DataSection().size();
    using Case = std::tuple<const char*, std::size_t, std::uint32_t>;
    for (const auto& [name, at, number] :
         {Case{"orca306", kTableAt, 41}, Case{"orca306", kTableAt, 28}, Case{"orca306", kCountAt, 0xFFFFFFFF},
          Case{"orca306classless", kTableAt, 4}, Case{"orca306classless", kCountAt, 1},
          Case{"orca306", kThumbnailAt, 1}, Case{"orca306", kThumbnailAt, 0xFFFFFFFF},
          Case{"orca306", dataAt - 4, 31},  // no room for a digest
          Case{"orca306", dataAt, 41}, Case{"orca306plain", plainAt - 4, dataSize - 1}}) {
        std::string wrong = Golden(name).Bytes();
        CStream stream;
        EXPECT_EQ(Load(stream, wrong.replace(at, 4, Little(number))), KX::kResultMalformed)
            << name << " " << at << " " << number;
    }
}

TEST_F(StreamTest, SectionsCanBeLoadedAlone) {
    for (const bool isLengthTold : {true, false}) {  // or else the buffer's end is the section's
        const CContainer container = Golden("orca305");
        const std::string section = container.DataSection().substr(0, container.DataSection().size() - 32);
        CTestIo io("_KXOrca" + Little(3) + Little(5) + Little(0, 2) + section + (isLengthTold ? "rest" : ""));
        CStream stream;
        stream.SetIoBuffer(&io);
        EXPECT_EQ(stream.LoadHeader(), KX::kResultOk);
        EXPECT_EQ(stream.LoadDataVersion(), KX::kResultOk);
        const auto length = static_cast<unsigned int>(isLengthTold ? section.size() : 0);
        EXPECT_EQ(stream.LoadData(false, length), KX::kResultOk);
        EXPECT_EQ(io.GetReadSize(), 17 + section.size());
        EXPECT_EQ(stream.GetObjectCount(), 2U);
    }
}

TEST_F(StreamTest, WhatIsMissingIsAnInvalidArgument) {
    CStream stream;
    unsigned char byte = 0, *block = nullptr;
    for (const Result result :
         {stream.ReadIn(&byte, 1, 1), stream.WriteOut(&byte, 1), stream.Skip(1), stream.Save(DataSection::None),
          stream.Load(kSkipNone, DataSection::None), stream.LoadRawData(0, block)}) {
        EXPECT_EQ(result, KX::kResultInvalidArgument);
    }
    KX::CMemoryIoBuffer memory;
    EXPECT_EQ(stream.LoadCompressData(memory, 0xF0000001), KX::kResultOutOfBounds);

    const std::string compressed = Golden("orca306compressed").Bytes();
    CTestIo io;
    stream.SetIoBuffer(&io);
    EXPECT_EQ(stream.Save(kAllSections), KX::kResultInvalidArgument);  // is to be compressed
    EXPECT_EQ(Load(stream, compressed), KX::kResultInvalidArgument);
    EXPECT_EQ(Load(stream, compressed, DataSection::RawData), KX::kResultOk);
    stream.SetIoBuffer(&io);
    stream.SetCompress(false);  // which the raw data are
    EXPECT_EQ(stream.Save(kAllSections), KX::kResultInvalidArgument);
    EXPECT_TRUE(io.bytes.empty());
}

struct CHookedStream : CStream {
    Result Note(std::string note) { return notes.push_back(std::move(note)), kTestFailure; }  // is not looked at
    Result GetHeadSize(unsigned long size) override { return Note("head size " + std::to_string(size)); }
    Result GetHeadStartTime() override { return Note("head start"); }
    Result GetHeadEndTime() override { return Note("head end"); }
    Result GetDataSize(unsigned long size) override { return Note("data size " + std::to_string(size)); }
    Result GetDataStartTime() override { return Note("data start"); }
    Result GetDataEndTime() override { return Note("data end"); }
    Result InitializeCompressInf() override { return Note("init"); }
    Result ShowSaveTimeAndSize() override { return Note("saved"); }
    Result ShowLoadTimeAndSize() override { return Note("loaded"); }

    Names notes;
};

TEST_F(StreamTest, HooksAreCalledInOrder) {
    CHookedStream stream;
    EXPECT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
    Saved(stream);
    EXPECT_EQ(stream.notes, (Names{"init", "head start", "head end", "data start", "data end", "loaded", "init",
                                   "head start", "head end", "head size 365", "data start", "data size 304", "data end",
                                   "head start", "head end", "data start", "data end", "saved"}));
}

TEST_F(StreamTest, DebugListsNameTheObjects) {
    const std::string listPath = "C:\\KXLog\\StreamSave_ObjectList.txt";
    std::ofstream(listPath) << std::string(10000, 'x');  // a longer one from before
    CStream::m_strLoadFileLogPath = L"load.txt";
    CStream stream;
    EXPECT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
    Saved(stream);
    EXPECT_EQ(BytesOf(listPath),
              "[0] Rtti:CTestNode Name:root Size:68\n"
              "[1] Rtti:CThumbnail Name: Size:28\n"
              "[2] Rtti:CTestNode Name:\u540d\u524d Size:44\n"
              "[3] Rtti:CTestNode Name:other Size:72\n"
              "Version Size : 40\n"
              "[0] Size : 76\n[1] Size : 28\n[2] Size : 44\n[3] Size : 80\n");
    EXPECT_EQ(BytesOf("load.txt"),
              "CTestNode, root, 76\nCThumbnail, , 28\nCTestNode, \u540d\u524d, 44\nCTestNode, other, 80\n");
}

// ---- Digest ----

TEST_F(StreamTest, DigestCoversWhatPassesWhileItIsOn) {
    CTestIo io("0123456789");
    CStream stream;
    stream.SetIoBuffer(&io);
    for (const bool isOn : {true, false}) {  // in neither case before a load or save
        stream.SetMd5(isOn);
        for (const Result result :
             {stream.BeginLoadMD5(), stream.BeginSaveMD5(), stream.EndLoadMD5(), stream.EndSaveMD5()}) {
            EXPECT_EQ(result, KX::kResultNothingDone);
        }
    }
    EXPECT_TRUE(io.GetReadSize() == 0 && io.bytes.size() == 10);

    char bytes[10];
    ASSERT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
    stream.SetIoBuffer(&io);
    EXPECT_EQ(stream.BeginLoadMD5() | stream.ReadIn(bytes, 1, 1), KX::kResultOk);
    EXPECT_EQ(stream.Skip(1), KX::kResultNothingDone);  // the buffer's answer as it is; not in the digest
    io.Rewind(0);
    EXPECT_EQ(stream.ReadIn(bytes, 1, 1), kTestFailure);  // not in the digest either
    EXPECT_EQ(stream.GetMd5TotalInputBits(), 8U);
    EXPECT_EQ(stream.WriteOut("x", 1), kTestFailure);  // in it, though the write failed
    EXPECT_EQ(stream.GetMd5TotalInputBits(), 16U);
    EXPECT_EQ(stream.EndSaveMD5(), kTestFailure);
    EXPECT_EQ(stream.EndSaveMD5(), KX::kResultNothingDone);  // is off after a failure

    CTestIo block("some bytes" + Digest("some byte"));  // is covered without its last byte
    ASSERT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
    stream.SetIoBuffer(&block);
    EXPECT_EQ(stream.BeginLoadMD5() | stream.ReadIn(bytes, 10, 9), KX::kResultOk);
    EXPECT_FALSE(KX::Failed(stream.Skip(1)));
    EXPECT_EQ(stream.EndLoadMD5(), KX::kResultOk);
    EXPECT_EQ(stream.EndLoadMD5(), KX::kResultOutOfBounds);
    EXPECT_EQ(stream.EndLoadMD5(), KX::kResultNothingDone);
}

// ---- Depth ----

void SaveAndLoadAChain() {
    constexpr int kLength = 1'000'000;
    KX::CMemoryIoBuffer memory;
    CStream stream;
    stream.SetCompress(false);
    stream.SetIoBuffer(&memory);
    CPointer<CBase> next;
    for (std::uint64_t id = kLength; id > 0; --id) {
        CPointer<CBase> object = MakeNode(id);
        auto& node = static_cast<CTestObject&>(*object);
        node.record.references = {id + 1};
        if (next) node.kept.push_back(next);
        next = object;
    }
    stream.Insert(next.Get());
    next = nullptr;
    EXPECT_EQ(stream.Save(kAllSections) | stream.RemoveAll(), KX::kResultOk);
    EXPECT_EQ(CTestObject::alive, 0);
    EXPECT_EQ(stream.Load(kSkipNone, kAllSections), KX::kResultOk);
    next = stream.GetObjectAt(0);
    stream.RemoveAll();
    EXPECT_EQ(CTestObject::alive, kLength);
    next = nullptr;  // and with it all others, one in the other
    EXPECT_EQ(CTestObject::alive, 0);
}

TEST_F(StreamTest, AMillionLinksNeedLittleStack) {
    RunOnStack(256U << 10, SaveAndLoadAChain);
}

}  // namespace
