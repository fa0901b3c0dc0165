// Containers of any bytes are loaded; what could be loaded is saved and loaded again. Input: one byte with the bits of
// the sections, of a compressor and of skipping, then the container.
#include <cstring>
#include <vector>

#include "fuzz/Target.h"
#include "support/TestObjects.h"

namespace {

constexpr unsigned int kCompressorBit = 1, kSectionBits = 2 + 4 + 8 + 16 + 32 + 64, kSkipBit = 128;

KX::Result Load(KX::CStream& stream, unsigned int control, unsigned char* bytes, std::size_t size) {
    KX::CMemoryIoBuffer buffer;
    buffer.CreateBuffer(size, bytes);
    if ((control & kCompressorBit) != 0) stream.SetLzmaInterface(new CTestCompressor);
    stream.SetIoBuffer(&buffer);
    const auto skip = static_cast<KX::SkipType>((control & kSkipBit) != 0 ? kSectionBits : 0);
    return stream.Load(skip, static_cast<KX::DataSection>(control & kSectionBits));
}

bool Save(KX::CStream& stream, unsigned int control, KX::CMemoryIoBuffer& saved) {
    stream.SetIoBuffer(&saved);
    const KX::Result result = stream.Save(static_cast<KX::DataSection>(kSectionBits));
    if (result == KX::kResultInvalidArgument && (control & kCompressorBit) == 0) return false;
    Check(result == KX::kResultOk, "what was loaded can be saved");
    Check(saved.GetWriteSize() == saved.GetSize(), "as many bytes are written as were announced");
    return true;
}

void LoadAndSave(unsigned int control, std::vector<unsigned char> bytes) {
    KX::CStream first, second;
    if (KX::Failed(Load(first, control, bytes.data(), bytes.size()))) return;
    KX::CMemoryIoBuffer saved, savedAgain;
    if (!Save(first, control, saved)) return;
    Check(!KX::Failed(Load(second, control, saved.GetMemory(), saved.GetSize())), "what was saved can be loaded");
    Check(Save(second, control, savedAgain) && savedAgain.GetSize() == saved.GetSize() &&
              std::memcmp(saved.GetMemory(), savedAgain.GetMemory(), saved.GetSize()) == 0,
          "and is saved as it was");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    {
        const CTestClasses classes;
        LoadAndSave(data[0], {data + 1, data + size});
    }
    Check(CTestObject::alive == 0, "no object survives its stream");
    return 0;
}
