#include <functional>
#include <new>
#include <stdexcept>
#include <tuple>

#include "stream/Stream.h"
#include "support/StreamTest.h"

using KX::COrcaID;
using KX::CStream;
using KX::Result;

// What objects and hooks may do to the stream that calls them.
namespace {

using StreamObjectsTest = StreamTest;
using Names = std::vector<std::string>;

TEST_F(StreamObjectsTest, FailuresOfObjectsAndHooksAreHandedUp) {
    const std::string bytes = Golden("orca306").Bytes();
    CStream filled, stream;
    EXPECT_EQ(Load(filled, bytes), KX::kResultOk);
    for (const char* const call : {"Load 50", "Load 61", "Load 71", "Load 2", "Link 2", "PostLink 2"}) {
        CTestObject::failingCall = call;
        EXPECT_EQ(Load(stream, bytes), kTestFailure) << call;
    }
    CTestIo io;
    filled.SetIoBuffer(&io);
    for (const char* const call : {"PrepareSave 4", "Save 50", "Save 61", "Save 71", "Save 3"}) {
        CTestObject::failingCall = call;
        EXPECT_EQ(filled.Save(kAllSections), kTestFailure) << call;
    }
    CTestObject::failingCall.clear();
    for (const bool isAfterSuccess : {false, true}) {  // after a failure sections are not announced
        io.announced.clear();
        EXPECT_EQ(filled.SaveHeader(), KX::kResultOk);
        EXPECT_EQ(io.announced, std::vector<unsigned long>(isAfterSuccess ? 1 : 0, 17));
        EXPECT_EQ(filled.Save(kAllSections), KX::kResultOk);
    }
    static_cast<CTestObject*>(filled.GetObjectAt(0))->wrongSize = 1;
    EXPECT_EQ(filled.Save(kAllSections), KX::kResultMalformed);

    CStream::m_fnDrmProcessBeforeSave = [](CStream&) { return kTestFailure; };
    CStream::m_fnDrmProcessAfterLoad = [](CStream& loaded) { return loaded.GetObjectCount() == 2 ? kTestFailure : 0; };
    io.bytes.clear();
    EXPECT_EQ(filled.Save(kAllSections), kTestFailure);
    EXPECT_TRUE(io.bytes.empty());
    EXPECT_EQ(Load(stream, bytes), kTestFailure);
}

// What used to be lost, or freed under the save, or thrown out of it.
TEST_F(StreamObjectsTest, ObjectsThatMeddleWithASaveLoseNothing) {
    CStream stream;
    ASSERT_EQ(Load(stream, Golden("orca306").Bytes()), KX::kResultOk);
    const std::string whole = Saved(stream);
    unsigned int used = 0;
    using Case = std::tuple<const char*, Result, std::function<Result()>>;
    for (const auto& [call, wanted, meddle] :
         {Case{"Save 3", KX::kResultOk, [&] { return stream.GetDiskUsed(used); }},
          Case{"Save 50", KX::kResultOk, [&] { return stream.AddDrm(nullptr); }},
          Case{"Save 3", KX::kResultOutOfMemory, []() -> Result { throw std::bad_alloc(); }},
          Case{"PrepareSave 4", KX::kResultFail, []() -> Result { throw std::runtime_error("an object's own"); }},
          Case{"Save 3", KX::kResultInvalidArgument, [&] { return stream.SetIoBuffer(nullptr); }},
          Case{"Save 3", KX::kResultMalformed, [&] { return stream.InsertInOrdered(stream.GetObjectAt(0)); }},
          Case{"PrepareSave 4", KX::kResultMalformed, [] {
                   KX::CRtti::GetVersionMap()[99] = nullptr;
                   return KX::kResultOk;
               }}}) {
        SCOPED_TRACE(call);
        CTestIo io;
        stream.SetIoBuffer(&io);
        CTestObject::failingCall = call;
        CTestObject::answer = meddle;
        EXPECT_EQ(stream.Save(kAllSections), wanted);
        EXPECT_TRUE(wanted != KX::kResultOk || io.bytes == whole);
        CTestObject::failingCall.clear();
    }
}

TEST_F(StreamObjectsTest, ObjectsMayChangeTheStreamThatLoadsThem) {
    const std::string bytes = Golden("orca306").Bytes();
    CStream stream;
    Names calls;
    const auto enterLinks = [&] {  // before and behind those of the file
        for (const unsigned int id : {9U, 0U}) {
            EXPECT_TRUE(stream.InsertInLinkMap(COrcaID(id), MakeLink(new CTestObject(kNodeClass, id)).Get()));
        }
        KX::CMissingLinkMap missing;
        return stream.CollectMissingLink(missing);
    };
    for (const char* const call : {"Load 2", "Link 2", "PostLink 2"}) {
        CTestObject::failingCall = call;
        CTestObject::answer = [&] { return stream.RemoveAll(); };
        EXPECT_EQ(Load(stream, bytes), KX::kResultOk) << call;
    }
    CTestObject::failingCall = "Link 2";
    CTestObject::answer = enterLinks;
    CTestObject::calls = &calls;
    EXPECT_EQ(Load(stream, bytes), KX::kResultOk);
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("PostLink"); });
    EXPECT_EQ(calls, (Names{"PostLink 0", "PostLink 1", "PostLink 2", "PostLink 3", "PostLink 4", "PostLink 9"}));
}

}  // namespace
