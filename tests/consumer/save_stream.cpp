// Saves an object, compressed, into a file and loads it back, by the static library and the compressor.
#include <cstdio>

#include "LzmaCompressor.h"
#include "io/FileStream.h"
#include "stream/Stream.h"
#include "stream/StreamText.h"

namespace {

constexpr long long kClassID = 7;
const KX::CRtti kRtti("Text", nullptr, 1, 0);

struct CText : KX::CBase {
    const KX::CRtti* GetRtti() const override { return &kRtti; }
    KX::Result Load(KX::CBaseStream& stream, KX::CMemberLink*, KX::CProgress*) override {
        return KX::StreamRead(stream, text);
    }
    KX::Result Link(KX::CBaseStream&, KX::CMemberLink*, int) override { return KX::kResultOk; }
    KX::Result PostLink(KX::CBaseStream&, int) override { return KX::kResultOk; }
    KX::Result PrepareSave(KX::CBaseStream& stream, int) override { return stream.InsertInOrdered(this); }
    KX::Result Save(KX::CBaseStream& stream, KX::CProgress*) override {
        if (KX::Failed(KX::StreamWrite(stream, kClassID))) return KX::kResultFail;
        if (KX::Failed(KX::StreamWrite(stream, GetDiskSize() - 12))) return KX::kResultFail;
        return KX::StreamWrite(stream, text);
    }
    unsigned int GetDiskSize() override { return static_cast<unsigned int>(12 + 4 + 2 * text.size()); }

    std::wstring text;
};

KX::Result Create(KX::CPointer<KX::CBase>& target) {
    target = new CText;
    return KX::kResultOk;
}

}  // namespace

int main() {
    constexpr const wchar_t* kFile = L"text.stream";
    KX::CRtti::GetVersionMap()[kClassID] = &kRtti;
    KX::CBase::GetFactory()["Text"] = &Create;
    const KX::CPointer<CText> saved(new CText);
    saved->text.assign(10'000, L'x');

    KX::CStream stream;
    stream.SetLzmaInterface(new KX::CLzmaCompressor);
    if (KX::Failed(stream.Insert(saved.Get()))) return 1;
    if (KX::Failed(KX::SaveFileStream(stream, kFile, KX::DataSection::Data, nullptr))) return 2;

    KX::CStream loaded;
    loaded.SetLzmaInterface(new KX::CLzmaCompressor);
    if (KX::Failed(KX::LoadFileStream(loaded, kFile, KX::SkipType::None, KX::DataSection::Data, nullptr))) return 3;
    const auto* const back = dynamic_cast<const CText*>(loaded.GetObjectAt(0));
    if (back == nullptr || back->text != saved->text) return 4;
    std::printf("loaded %zu characters\n", back->text.size());
}
