#include "SurviveStore.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>

#include "Stores.h"
#include "mmf/IndependentMmf.h"
#include "stream/Pointer.h"

namespace KxStore {
namespace {

constexpr std::size_t kPiece = 0x100000;
constexpr unsigned int kWindow = 0x1000000;    // a multiple of the pieces
constexpr std::uint64_t kSmallSize = 0x10000;  // what a shared object gives out at the least
constexpr unsigned char kSmallByte = 0x5A;

using Store = KX::CPointer<KX::CIndependentMmf>;
using Memory = std::span<unsigned char>;

void Require(bool isDone, const std::string& what) {
    if (!isDone) throw std::runtime_error(what);
}

void RequireOk(KX::Result result, const char* what) {
    Require(!KX::Failed(result), fmt::format("{}: result 0x{:08X}", what, static_cast<std::uint32_t>(result)));
}

// True answers that folder and prefix were refused.
void SetPrefix(KX::CIndependentMmf& store, const SurviveJob& job, std::size_t object) {
    Require(!store.SetDirectory(PrefixOf(object).c_str(), job.folder.c_str(), 0), "the store does not take its folder");
}

// Ready for the header file, whose prefix is none of a block.
void SetHeaderPrefix(KX::CIndependentMmf& store, const SurviveJob& job) {
    SetPrefix(store, job, job.blocks + std::size_t{1});
}

Store MakeStore() {
    Store store(new KX::CIndependentMmf);
    RequireOk(store->Initialize(), "no store can be made");
    return store;
}

// Differs for each offset, block and round: 29, 14 and 21 bits, mixed without loss.
std::uint64_t Word(unsigned int block, std::uint64_t offset, std::uint64_t round) {
    std::uint64_t word = offset / sizeof word | std::uint64_t{block} << 29 | round << 43;
    word ^= word >> 32;
    word *= 0x9E3779B97F4A7C15;
    return word ^ word >> 32;
}

void Fill(const Piece& piece, std::uint64_t round, unsigned char* memory) {
    for (std::size_t at = 0; at < piece.size; at += sizeof(std::uint64_t)) {
        const std::uint64_t word = Word(piece.block, piece.offset + at, round);
        std::memcpy(memory + at, &word, std::min(sizeof word, piece.size - at));
    }
}

// The memory of the pieces, by one window at a time.
class CPieces {
public:
    CPieces(KX::CIndependentMmf& store, const std::vector<unsigned int>& handles) : store(store), handles(handles) {}

    Memory Of(const Piece& piece) {
        if (!window || block != piece.block) window.emplace(handles[piece.block], kWindow, &store);
        block = piece.block;
        const std::uint64_t start = piece.offset - piece.offset % kWindow;
        unsigned char* const address = window->GetMapAddress(nullptr, start);
        Require(address != nullptr,
                fmt::format("block {}, offset {}: no backing file could be made or mapped", piece.block, start));
        return {address + (piece.offset - start), piece.size};
    }

private:
    KX::CIndependentMmf& store;
    const std::vector<unsigned int>& handles;
    std::optional<KX::CIndependentSmartMap> window;
    unsigned int block = 0;
};

std::vector<unsigned int> Allocate(KX::CIndependentMmf& store, const SurviveJob& job) {
    std::vector<unsigned int> handles(job.blocks + std::size_t{1});
    for (std::size_t block = 0; block < handles.size(); ++block) {
        const std::uint64_t size = block < job.blocks ? job.blockSize : kSmallSize;
        SetPrefix(store, job, block);
        Require(store.MemAlloc(size, handles[block]), fmt::format("no memory for a block of {} bytes", size));
    }
    return handles;
}

Memory SmallBlock(CPieces& pieces, const SurviveJob& job) {
    return pieces.Of({job.blocks, 0, kSmallSize});
}

void WriteRound(const SurviveJob& job, std::uint64_t round, CPieces& pieces, const CTeller& teller) {
    for (std::uint64_t index = 0; index < job.PieceCount(); ++index) {
        const Piece piece = job.PieceAt(index);
        const std::size_t half = piece.size / 2 - piece.size / 2 % sizeof(std::uint64_t);
        unsigned char* const memory = pieces.Of(piece).data();
        Fill({piece.block, piece.offset, half}, round, memory);
        teller.Tell(index);
        Fill({piece.block, piece.offset + half, piece.size - half}, round, memory + half);
    }
}

void RequireSizes(KX::CIndependentMmf& store, const SurviveJob& job, const std::vector<unsigned int>& handles) {
    for (std::size_t block = 0; block < handles.size(); ++block) {
        const std::uint64_t size = block < job.blocks ? job.blockSize : kSmallSize;
        const std::uint64_t found = store.GetSize(handles[block]);
        Require(found == size, fmt::format("block {} has {} bytes instead of {}", block, found, size));
    }
}

// Each byte may be either.
Found Compare(const Piece& piece, const unsigned char* memory, const unsigned char* one, const unsigned char* other) {
    if (std::memcmp(memory, one, piece.size) == 0) return Found::kSettled;
    if (std::memcmp(memory, other, piece.size) == 0) return Found::kSettled;
    for (std::size_t i = 0; i < piece.size; ++i) {
        if (memory[i] == one[i] || memory[i] == other[i]) continue;
        const std::string also = one[i] == other[i] ? "" : fmt::format(" or 0x{:02X}", other[i]);
        throw std::runtime_error(fmt::format("block {}, offset {}: 0x{:02X} instead of 0x{:02X}{}", piece.block,
                                             piece.offset + i, memory[i], one[i], also));
    }
    return Found::kTorn;
}

void ComparePieces(const SurviveJob& job, std::uint64_t begun, CPieces& pieces, const CTeller& teller) {
    const std::uint64_t count = job.PieceCount();
    std::vector<unsigned char> one(kPiece);
    std::vector<unsigned char> other(kPiece);
    for (std::uint64_t index = 0; index < count; ++index) {
        const Piece piece = job.PieceAt(index);
        Fill(piece, (begun + 1 + count - index) / count, one.data());    // how often it was begun, at the most
        Fill(piece, (begun + count - 1 - index) / count, other.data());  // how often it was finished, at the least
        teller.Tell(static_cast<std::uint64_t>(Compare(piece, pieces.Of(piece).data(), one.data(), other.data())));
    }
}

Small CompareSmall(Memory memory) {
    const auto isAll = [memory](unsigned char wanted) {
        return std::ranges::all_of(memory, [wanted](unsigned char byte) { return byte == wanted; });
    };
    Require(isAll(kSmallByte) || isAll(0), "the small block holds neither its content nor zeros");
    return isAll(0) ? Small::kZeros : Small::kKept;
}

}  // namespace

std::uint64_t SurviveJob::PieceCount() const {
    return blocks * ((blockSize - 1) / kPiece + 1);
}

Piece SurviveJob::PieceAt(std::uint64_t index) const {
    const std::uint64_t piecesOfBlock = PieceCount() / blocks;
    const std::uint64_t offset = index % piecesOfBlock * kPiece;
    return {static_cast<unsigned int>(index / piecesOfBlock), offset,
            std::min<std::uint64_t>(kPiece, blockSize - offset)};
}

std::uint64_t SurviveJob::BytesBefore(std::uint64_t index) const {
    const Piece piece = PieceAt(index % PieceCount());
    return (index / PieceCount() * blocks + piece.block) * blockSize + piece.offset;
}

std::uint64_t SurviveJob::PieceToKillAt() const {
    constexpr std::uint64_t kInWindow = kWindow / kPiece;
    const std::uint64_t half = PieceCount() / blocks / 2;
    return blocks / 2 * (PieceCount() / blocks) + half - half % kInWindow + kInWindow / 2;
}

void WriteUntilKilled(const SurviveJob& job, const CTeller& teller) {
    const Store store = MakeStore();
    store->IncrementReferences();  // never let go, which would delete the files
    const std::vector<unsigned int> handles = Allocate(*store, job);
    CPieces pieces(*store, handles);
    std::ranges::fill(SmallBlock(pieces, job), kSmallByte);
    WriteRound(job, 0, pieces, teller);

    SetHeaderPrefix(*store, job);
    RequireOk(store->SaveHeaderFile(), "the header file cannot be saved");
    for (const unsigned int handle : handles) teller.Tell(handle);
    for (std::uint64_t round = 1;; ++round) WriteRound(job, round, pieces, teller);
}

void CompareAndFree(const SurviveJob& job, const Survivors& survivors, const CTeller& teller) {
    const Store store = MakeStore();
    SetHeaderPrefix(*store, job);
    RequireOk(store->LoadHeaderFile(), "the header file cannot be loaded");
    RequireSizes(*store, job, survivors.handles);
    {
        CPieces pieces(*store, survivors.handles);
        ComparePieces(job, survivors.begun, pieces, teller);
        teller.Tell(static_cast<std::uint64_t>(CompareSmall(SmallBlock(pieces, job))));
    }
    for (unsigned int block = 0; block < job.blocks; ++block) {
        unsigned int handle = survivors.handles[block];
        RequireOk(store->MemFree(handle), "a block cannot be freed");
    }
}

}  // namespace KxStore
