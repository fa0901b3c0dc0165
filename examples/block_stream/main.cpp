// Keeps object streams in blocks instead of files: saves a scene of 100,000 objects, with a picture, into a block of a
// global store and into one of a private store, loads it back and compares every field.
//
// The block:  size of the container (8 bytes), container. The container would do; but the room of a block may be
//             larger, and the size lets others copy the container out without loading it.
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

#include "mmf/IndependentMmfIo.h"
#include "mmf/Mmf.h"
#include "mmf/MmfIo.h"
#include "scene/Demo.h"
#include "scene/Scene.h"
#include "stream/Stream.h"
#include "stream/StreamText.h"
#include "string/Encoding.h"

namespace {

constexpr std::uint64_t kObjects = 100'000;
constexpr unsigned long kHeadSize = sizeof(std::uint64_t);
constexpr unsigned long kWindow = 16UL << 20;  // so much of a block is mapped at a time

// What is saved. The picture is written in one piece, through several windows.
struct SSample {
    CNode& scene;
    std::uint16_t pictureEdge;
};

// All that an application adds to the buffer over a global store: how it counts. The one position is right for both, as
// a pass either reads or writes.
class CSceneBlock : public KX::CMmfIo {
public:
    unsigned long GetReadSize() const override { return position; }
    unsigned long GetWriteSize() const override { return position; }
};

// The block gets its size before the first byte is written, so the size must be known: GetDiskUsed tells exactly what
// Save will write, as long as nothing is compressed. What compression leaves is known within Save only, and may even be
// a little more.
unsigned int PrepareToSave(KX::CStream& stream, const SSample& sample) {
    stream.SetCompress(false);
    FillStream(stream, sample.scene, sample.pictureEdge);
    unsigned int size = 0;
    Check(stream.GetDiskUsed(size), "cannot measure the scene");
    return size;
}

// Into a block that has room for both. Mind the sizes: Save announces the whole container to the buffer before its
// first byte, and where the block has no room for that many bytes BEHIND THE POSITION, the buffer replaces it by a new
// one of the announced size. The head is lost then, and the container, which starts behind it, does not fit: Save fails
// when it has all but ended.
void WriteHeadAndContainer(KX::CBlockIo& block, KX::CStream& stream, std::uint64_t size) {
    Check(block.SetOutputInfo(kHeadSize + size, 0), "cannot open the block");  // Create opens no view of it
    Check(stream.SetIoBuffer(&block), "cannot set the buffer");
    Check(KX::StreamWrite(stream, size), "cannot write the head");
    Check(stream.Save(kAllSections), "cannot save the scene");
    Demand(block.IsBufferEnd(), "the scene is not as large as it was measured");
}

// A buffer over a global store is told a name, of the file that the data come from, say; one over a private store none.
template <typename Block, typename... Name>
void SaveScene(Block& block, const SSample& sample, Name... name) {
    KX::CStream stream;
    const unsigned int size = PrepareToSave(stream, sample);
    Check(block.Create(kHeadSize + size, name...), "cannot allocate the block");
    WriteHeadAndContainer(block, stream, size);
    Check(block.Save(name...), "cannot end writing");
    std::printf("  %lu bytes, the end of a window passed %lu times\n", block.GetSize(),
                (block.GetSize() - 1) / kWindow);
}

template <typename Block, typename... Name>
void LoadScene(Block& block, unsigned int handle, const SSample& expected, Name... name) {
    Check(block.Open(handle, name...), "cannot open the block");
    KX::CStream stream;
    Check(stream.SetIoBuffer(&block), "cannot set the buffer");
    std::uint64_t size = 0;
    Check(KX::StreamRead(stream, size), "cannot read the head");
    Demand(size <= block.GetSize() - kHeadSize, "the head is wrong");
    Check(stream.Load(KX::SkipType::None, kAllSections), "cannot load the scene");
    VerifyStream(stream, expected.scene, "the block", expected.pictureEdge);
}

// The writer could read what it has written; a second buffer shows that the handle is all that is needed to find it.
template <typename Block, typename... Name>
void Demonstrate(Block& writer, Block& reader, const SSample& sample, Name... name) {
    Timed("save", [&] { SaveScene(writer, sample, name...); });
    const unsigned int handle = writer.GetHandle();
    Timed("load and verify", [&] { LoadScene(reader, handle, sample, name...); });
    reader.Remove();  // the block would outlive the buffers; the writer's handle is stale now
}

// Backing files are told apart by folder, prefix and second only, so each store gets a folder of its own.
std::wstring FolderOf(const CTemporaryFolder& parent, const char* name) {
    return KX::ConvertToWstring(parent.path + "/" + name + "/");
}

// A block of at most 64 MiB: it lives in a heap buffer.
void InGlobalStore(const CTemporaryFolder& folder, CNode& scene) {
    Demand(KX::CMmf::SetDirectory(0, L"GLB_", FolderOf(folder, "global").c_str(), 0), "cannot set the folder");
    std::puts("global store");
    CSceneBlock writer;
    CSceneBlock reader;
    Demonstrate(writer, reader, SSample{scene, 3584}, L"a.scene");
}

// A block of more than 64 MiB: it has a file. The store lives as long as a buffer holds it.
void InPrivateStore(const CTemporaryFolder& folder, CNode& scene) {
    std::puts("private store");
    KX::CIndependentMmfIo writer;
    Check(writer.Initialize(L"PRV_", FolderOf(folder, "private").c_str()), "cannot make the store");
    KX::CIndependentMmfIo reader;
    Check(reader.Initialize(writer), "cannot share the store");
    Demonstrate(writer, reader, SSample{scene, 3840});
}

}  // namespace

int main() {
    std::setlocale(LC_CTYPE, "");  // for a temporary folder that is not plain ASCII
    try {
        const CTemporaryFolder folder("block_stream");
        const KX::CPointer<CNode> scene = MakeScene(kObjects);
        InGlobalStore(folder, *scene);
        InPrivateStore(folder, *scene);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "block_stream: %s\n", failure.what());
        return 1;
    }
}
