#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "stream/IoStream.h"
#include "stream/StreamText.h"

// The body of an object's record. A class describes it once, field by field, and the same description measures, writes
// and reads, so that the three cannot drift apart. After a failure all further fields do nothing.
class CSceneRecord {
public:
    enum class Mode : std::uint8_t { Write, Read };

    CSceneRecord() = default;  // measures
    CSceneRecord(KX::CBaseStream& stream, Mode mode) : stream(&stream), isReading(mode == Mode::Read) {}

    bool IsReading() const { return isReading; }
    std::uint64_t GetSize() const { return size; }
    KX::Result GetResult() const { return result; }
    bool HasFailed() const { return KX::Failed(result); }
    void Fail(KX::Result reason) { result = reason; }

    // In as many bytes as the type has, least significant first.
    template <std::integral T>
    void Value(T& value) {
        size += sizeof(T);
        if (stream == nullptr || HasFailed()) return;
        result = isReading ? KX::StreamRead(*stream, value) : KX::StreamWrite(*stream, value);
    }

    template <std::integral... T>
    void Values(T&... values) {
        (Value(values), ...);
    }

    void Identifier(KX::COrcaID& id) {
        std::uint64_t value = id.Value();
        Value(value);
        id = KX::COrcaID(value);
    }

    // The identifier of another object. Those that were read are kept until all objects are there.
    void Reference(KX::COrcaID& id) {
        Identifier(id);
        if (isReading && !HasFailed()) references.push_back(id);
    }
    std::vector<KX::COrcaID>& GetReferences() { return references; }

    // Keeps the low 16 bits of each character: one above U+FFFF, an emoji say, does not come back.
    void Text(std::wstring& text) {
        size += 4 + 2 * text.size();
        if (stream == nullptr || HasFailed()) return;
        result = isReading ? KX::StreamRead(*stream, text) : KX::StreamWrite(*stream, text);
    }

    void Bytes(std::span<std::uint8_t> bytes) {
        size += bytes.size();
        if (stream == nullptr || HasFailed()) return;
        result = isReading ? stream->ReadIn(bytes.data(), bytes.size(), bytes.size())
                           : stream->WriteOut(bytes.data(), bytes.size());
    }

private:
    KX::CBaseStream* stream = nullptr;
    bool isReading = false;
    KX::Result result = KX::kResultOk;
    std::uint64_t size = 0;
    std::vector<KX::COrcaID> references;
};
