#include "stream/Stream.h"

#include <pthread.h>

#include <filesystem>
#include <fstream>

#include "support/StreamTest.h"

using KX::CBase;
using KX::CMemberLink;
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
    const CPointer<CBase> a = MakeNode(1), b = MakeNode(2), c = MakeNode(3), d = MakeNode(4);
    EXPECT_EQ(stream.Insert(nullptr), KX::kResultInvalidArgument);
    for (const auto& object : {a, b, c}) EXPECT_EQ(stream.Insert(object.Get()), KX::kResultOk);
    EXPECT_EQ(stream.Insert(b.Get()), KX::kResultNothingDone);

    EXPECT_EQ(stream.SetObjectAt(1, nullptr), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.SetObjectAt(3, d.Get()), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.SetObjectAt(1, b.Get()), KX::kResultNothingDone);
    EXPECT_EQ(stream.SetObjectAt(1, c.Get()), KX::kResultNothingDone);
    EXPECT_EQ(stream.SetObjectAt(1, d.Get()), KX::kResultOk);

    EXPECT_EQ(stream.Remove(nullptr), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.Remove(b.Get()), KX::kResultNothingDone);
    EXPECT_EQ(stream.Remove(a.Get()), KX::kResultOk);
    EXPECT_EQ(stream.GetObjectCount(), 2U);
    EXPECT_EQ((Objects{stream.GetObjectAt(0), stream.GetObjectAt(1), stream.GetObjectAt(2)}),
              (Objects{d.Get(), c.Get(), nullptr}));
    for (const auto& object : {a, b, c, d}) {
        EXPECT_EQ(stream.IsTopLevel(object.Get()), object.Get() == c.Get() || object.Get() == d.Get());
    }
}

TEST_F(StreamTest, DrmAndExtendInfoTakeAnythingAndSurviveRemoveAll) {
    const CPointer<CBase> first = MakeNode(1), second = MakeNode(2);
    CBase *const a = first.Get(), *const b = second.Get();
    CStream stream;
    const auto drm = [&] {
        Objects list;
        for (unsigned long i = 0; i < stream.GetDrmCount(); ++i) list.push_back(stream.GetDrm(i));
        return list;
    };
    const auto info = [&] {
        Objects list;
        for (unsigned long i = 0; i < stream.GetExtendInfoCount(); ++i) list.push_back(stream.GetExtendInfo(i));
        return list;
    };
    for (CBase* const object : Objects{a, b, nullptr, a}) {
        EXPECT_EQ(stream.AddDrm(object), KX::kResultOk);
        EXPECT_EQ(stream.AddExtendInfo(object), KX::kResultOk);
    }
    for (int i = 0; i < 3; ++i) {  // the third time there is none
        EXPECT_EQ(stream.RemoveDrm(a), KX::kResultOk);
        EXPECT_EQ(stream.RemoveExtendInfo(a), KX::kResultOk);
        EXPECT_EQ(drm(), i == 0 ? (Objects{b, nullptr, a}) : (Objects{b, nullptr}));
        EXPECT_EQ(info(), drm());
    }
    EXPECT_EQ(stream.InsertExtendInfo(a, 3), KX::kResultOutOfBounds);
    EXPECT_EQ(stream.InsertExtendInfo(a, 2), KX::kResultOk);
    EXPECT_EQ(stream.InsertExtendInfo(b, 0), KX::kResultOk);
    EXPECT_EQ(stream.RemoveExtendInfoAt(4), KX::kResultOutOfBounds);
    EXPECT_EQ(stream.RemoveExtendInfoAt(1), KX::kResultOk);
    EXPECT_TRUE(stream.GetDrm(2) == nullptr && stream.GetExtendInfo(3) == nullptr);

    stream.SetThumbnail(a);
    stream.Insert(a);
    stream.LogMissingLink(COrcaID(7), b);
    stream.AddVersion(a->GetRtti(), KX::CVersion(1, 2));
    EXPECT_EQ(stream.RemoveAll(), KX::kResultOk);
    EXPECT_TRUE(stream.GetObjectCount() == 0 && !stream.IsTopLevel(a) && !stream.HasVersion(a->GetRtti()));
    EXPECT_TRUE(stream.GetThumbnail() == a && stream.GetMissingLink()[COrcaID(7)].size() == 1);
    EXPECT_EQ(drm(), (Objects{b, nullptr}));
    EXPECT_EQ(info(), (Objects{b, nullptr, a}));

    stream.SetCompress(false);
    EXPECT_EQ(Load(stream, Saved(stream)), KX::kResultOk);  // null is not saved
    EXPECT_TRUE(stream.GetDrmCount() == 1 && stream.GetExtendInfoCount() == 2);
    EXPECT_EQ(stream.ClearDrm(), KX::kResultOk);
    EXPECT_EQ(stream.GetDrmCount(), 0U);
}

// ---- Links ----

TEST_F(StreamTest, LinkProcessStopsAtAFailureAndLinksNoneAgain) {
    CStream stream;
    KX::CLinkMap links;
    for (const std::uint64_t id : {3U, 1U, 2U}) {
        const CPointer<CMemberLink> link(new CMemberLink);
        link->DecrementReferences();
        link->SetOwnerObject(MakeNode(id).Get());
        links[COrcaID(id)] = link;
    }
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
    ASSERT_EQ(missing.size(), 1U);
    ASSERT_EQ(missing[COrcaID(99)].size(), 1U);
    EXPECT_EQ(missing[COrcaID(99)].front().Get(), stream.GetObjectAt(1));

    const CPointer<CMemberLink> link(new CMemberLink);
    link->DecrementReferences();
    EXPECT_FALSE(stream.InsertInLinkMap(COrcaID(1), link.Get()));
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
            const unsigned int section = i % 4;
            const bool isStrange = i / 4 % 2 == 1, isSkipped = i / 8 == 1, isData = section == 3;
            SCOPED_TRACE(std::string(name) + " " + std::to_string(i));
            CContainer container = Golden(name);
            (container.*sections[section]).front().classId = isStrange ? kStrangeClass : kNoCreatorClass;
            const unsigned int bit = 2U << section, skip = isSkipped ? bit : (2 + 4 + 8 + 16) - bit;
            const bool isLoaded = isSkipped && (!isStrange || isData);
            const Result failure = isStrange ? KX::kResultMalformed : KX::kResultUnknownClass;

            CStream stream;
            stream.SetLzmaInterface(new CTestCompressor);
            EXPECT_EQ(Load(stream, container.Bytes(), kAllSections, static_cast<SkipType>(skip)),
                      isLoaded ? KX::kResultOk : failure);
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
    const struct {
        std::int64_t classId;
        std::uint32_t version;
        Result expected;
    } cases[] = {{kNodeClass, 202, KX::kResultTooNew},
                 {kNodeClass, 0x80000000, KX::kResultTooNew},
                 {kNoCreatorClass, 101, KX::kResultTooNew},  // the base of the others
                 {kNodeClass, 0, KX::kResultOk},
                 {kStrangeClass, 999, KX::kResultOk}};
    for (const char* const name : {"orca303compressed", "orca306"}) {
        for (const auto& row : cases) {
            CContainer container = Golden(name);
            container.classes[row.classId] = row.version;
            CStream stream;
            stream.SetLzmaInterface(new CTestCompressor);
            EXPECT_EQ(Load(stream, container.Bytes()), row.expected) << name << row.classId;
        }
    }
}

// ---- Load and save ----

TEST_F(StreamTest, QuickLoadTakesTheFirstExtendInfoAlone) {
    CContainer container = Golden("orca306");
    const std::string bytes = container.Bytes();
    CStream stream;
    ASSERT_EQ(Load(stream, bytes, DataSection::HQThumbnail), KX::kResultOk);
    EXPECT_TRUE(stream.GetExtendInfo(0) != nullptr && stream.GetExtendInfo(1) == nullptr);
    EXPECT_TRUE(stream.GetThumbnail() == nullptr && stream.GetDrmCount() == 0 && stream.GetObjectCount() == 0);
    ASSERT_EQ(Load(stream, bytes, static_cast<DataSection>(64 + 8)), KX::kResultOk);
    EXPECT_TRUE(stream.GetExtendInfo(0) != nullptr && stream.GetExtendInfo(1) != nullptr);
    container.extendInfo.front().classId = kNoCreatorClass;
    EXPECT_EQ(Load(stream, container.Bytes(), DataSection::HQThumbnail, kSkipAll), KX::kResultUnknownClass);
}

TEST_F(StreamTest, LengthsThatContradictTheContentAreMalformed) {
    const auto dataAt = [](const char* name) {
        const CContainer container = Golden(name);
        return container.Bytes().size() - container.DataSection().size();
    };
    const auto dataSize = static_cast<std::uint32_t>(Golden("orca306plain").DataSection().size());
    constexpr std::size_t kTableAt = 17, kCountAt = 21, kThumbnailAt = 17 + 4 + 40;
    const struct {
        const char* name;
        std::size_t at;
        std::uint32_t number;
    } cases[] = {{"orca306", kTableAt, 41},
                 {"orca306", kTableAt, 28},
                 {"orca306", kCountAt, 0xFFFFFFFF},
                 {"orca306classless", kTableAt, 4},
                 {"orca306classless", kCountAt, 1},
                 {"orca306", kThumbnailAt, 1},
                 {"orca306", kThumbnailAt, 0xFFFFFFFF},
                 {"orca306", dataAt("orca306") - 4, 31},  // no room for a digest
                 {"orca306", dataAt("orca306"), 41},
                 {"orca306plain", dataAt("orca306plain") - 4, dataSize - 1}};
    for (const auto& row : cases) {
        std::string wrong = Golden(row.name).Bytes();
        CStream stream;
        EXPECT_EQ(Load(stream, wrong.replace(row.at, 4, Little(row.number))), KX::kResultMalformed)
            << row.name << " " << row.at << " " << row.number;
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
    KX::CMemoryIoBuffer memory;
    EXPECT_EQ(stream.ReadIn(&byte, 1, 1), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.WriteOut(&byte, 1), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.Skip(1), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.Save(DataSection::None), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.Load(kSkipNone, DataSection::None), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.LoadRawData(0, block), KX::kResultInvalidArgument);
    EXPECT_EQ(stream.LoadCompressData(memory, 0xF0000001), KX::kResultOutOfBounds);

    const std::string compressed = Golden("orca306compressed").Bytes();
    CTestIo io;
    const auto save = [&] {
        stream.SetIoBuffer(&io);
        return stream.Save(kAllSections);
    };
    EXPECT_EQ(save(), KX::kResultInvalidArgument);  // is to be compressed
    EXPECT_EQ(Load(stream, compressed), KX::kResultInvalidArgument);
    EXPECT_EQ(Load(stream, compressed, DataSection::RawData), KX::kResultOk);
    stream.SetCompress(false);  // which the raw data are
    EXPECT_EQ(save(), KX::kResultInvalidArgument);
    EXPECT_TRUE(io.bytes.empty());
}

class CHookedStream : public CStream {
public:
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

private:
    Result Note(std::string note) {
        notes.push_back(std::move(note));
        return kTestFailure;  // is not looked at
    }
};

TEST_F(StreamTest, HooksAreCalledInOrder) {
    const CContainer container = Golden("orca306");
    const std::size_t data = container.DataSection().size(), head = container.Bytes().size() - data - 4;
    CHookedStream stream;
    EXPECT_EQ(Load(stream, container.Bytes()), KX::kResultOk);
    EXPECT_EQ(stream.notes, (Names{"init", "head start", "head end", "data start", "data end", "loaded"}));
    stream.notes.clear();
    Saved(stream);
    EXPECT_EQ(stream.notes, (Names{"init", "head start", "head end", "head size " + std::to_string(head), "data start",
                                   "data size " + std::to_string(data), "data end", "head start", "head end",
                                   "data start", "data end", "saved"}));
}

TEST_F(StreamTest, DebugListsNameTheObjects) {
    const CContainer container = Golden("orca306");
    const std::filesystem::path listPath = "C:\\KXLog\\StreamSave_ObjectList.txt", loadPath = "load.txt";
    std::ofstream(listPath) << std::string(10000, 'x');  // a longer one from before
    CStream::m_strLoadFileLogPath = loadPath.wstring();
    CStream stream;
    EXPECT_EQ(Load(stream, container.Bytes()), KX::kResultOk);
    Saved(stream);
    const char* const classNames[] = {"CTestNode", "CThumbnail", "CTestNode", "CTestNode"};
    const char* const names[] = {"root", "", "\u540d\u524d", "other"};
    std::ostringstream objects, sizes, loads;
    for (std::size_t i = 0; i < container.data.size(); ++i) {
        const std::size_t size = 12 + container.data[i].Body().size();
        const std::size_t withMarker = size + (container.data[i].isTopLevel ? 8 : 0);
        objects << "[" << i << "] Rtti:" << classNames[i] << " Name:" << names[i] << " Size:" << size << "\n";
        sizes << "[" << i << "] Size : " << withMarker << "\n";
        loads << classNames[i] << ", " << names[i] << ", " << withMarker << "\n";
    }
    const auto textOf = [](const std::filesystem::path& path) {
        std::ifstream file(path);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    EXPECT_EQ(textOf(listPath), objects.str() + "Version Size : 40\n" + sizes.str());
    EXPECT_EQ(textOf(loadPath), loads.str());
}

// ---- Digest ----

TEST_F(StreamTest, DigestCoversWhatPassesWhileItIsOn) {
    CTestIo io("0123456789");
    CStream stream;
    stream.SetIoBuffer(&io);
    for (const bool isOn : {true, false}) {  // in neither case before a load or save
        stream.SetMd5(isOn);
        EXPECT_EQ((std::vector<Result>{stream.BeginLoadMD5(), stream.BeginSaveMD5(), stream.EndLoadMD5(),
                                       stream.EndSaveMD5()}),
                  std::vector<Result>(4, KX::kResultNothingDone));
    }
    EXPECT_TRUE(io.GetReadSize() == 0 && io.bytes.size() == 10);

    char bytes[10];
    ASSERT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
    stream.SetIoBuffer(&io);
    EXPECT_EQ(stream.BeginLoadMD5(), KX::kResultOk);
    EXPECT_EQ(stream.ReadIn(bytes, 1, 1), KX::kResultOk);
    EXPECT_EQ(stream.Skip(1), KX::kResultNothingDone);  // the buffer's answer as it is; not in the digest
    io.FailAfter(0, false);
    EXPECT_EQ(stream.ReadIn(bytes, 1, 1), kTestFailure);  // not in the digest either
    EXPECT_EQ(stream.GetMd5TotalInputBits(), 8U);
    EXPECT_EQ(stream.WriteOut("x", 1), kTestFailure);  // in it, though the write failed
    EXPECT_EQ(stream.GetMd5TotalInputBits(), 16U);
    EXPECT_EQ(stream.EndSaveMD5(), kTestFailure);
    EXPECT_EQ(stream.EndSaveMD5(), KX::kResultNothingDone);  // is off after a failure

    for (const unsigned int skipped : {0U, 2U}) {
        CTestIo block("some bytes" + Digest("some bytes"));
        ASSERT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
        stream.SetIoBuffer(&block);
        EXPECT_EQ(stream.BeginLoadMD5(), KX::kResultOk);
        EXPECT_FALSE(KX::Failed(stream.Skip(skipped)));
        EXPECT_EQ(stream.ReadIn(bytes, 10, 10 - skipped), KX::kResultOk);
        EXPECT_EQ(stream.EndLoadMD5(), skipped == 0 ? KX::kResultOk : KX::kResultDigestMismatch);
        EXPECT_EQ(stream.EndLoadMD5(), KX::kResultOutOfBounds);
        EXPECT_EQ(stream.EndLoadMD5(), KX::kResultNothingDone);
    }
}

// ---- Depth ----

void* SaveAndLoadAChain(void* /*unused*/) {
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
    EXPECT_EQ(stream.Save(kAllSections), KX::kResultOk);
    stream.RemoveAll();
    EXPECT_EQ(CTestObject::alive, 0);
    EXPECT_EQ(stream.Load(kSkipNone, kAllSections), KX::kResultOk);
    EXPECT_EQ(CTestObject::alive, kLength);
    EXPECT_EQ(stream.GetObjectCount(), 1U);
    next = stream.GetObjectAt(0);
    stream.RemoveAll();
    EXPECT_EQ(CTestObject::alive, kLength);
    next = nullptr;  // and with it all others, one in the other
    EXPECT_EQ(CTestObject::alive, 0);
    return nullptr;
}

TEST_F(StreamTest, AMillionLinksNeedLittleStack) {
    pthread_attr_t attributes;
    pthread_t thread{};
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, 256U << 10), 0);
    ASSERT_EQ(::pthread_create(&thread, &attributes, SaveAndLoadAChain, nullptr), 0);
    ::pthread_join(thread, nullptr);
    ::pthread_attr_destroy(&attributes);
}

}  // namespace
