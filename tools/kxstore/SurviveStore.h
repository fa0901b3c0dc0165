#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Child.h"

// What the two processes of survive do with the store. The order of the pieces is that of the blocks and of the offsets
// in them. Round 0 fills all pieces in this order, each further round writes over them, with bytes of its own.
namespace KxStore {

struct Piece {
    unsigned int block;
    std::uint64_t offset;
    std::size_t size;
};

struct SurviveJob {
    std::wstring folder;  // of the store
    unsigned int blocks;
    std::uint64_t blockSize;

    std::uint64_t PieceCount() const;
    Piece PieceAt(std::uint64_t index) const;
    // The bytes of all pieces before that one, which may be one of a later round.
    std::uint64_t BytesBefore(std::uint64_t index) const;
    // In the midst of the blocks, and of a window: mapping the next one takes its time, and is no writing.
    std::uint64_t PieceToKillAt() const;
};

// What the second process needs to know of the first one.
struct Survivors {
    std::vector<unsigned int> handles;  // of the blocks, and of a small one behind them
    std::uint64_t begun = 0;            // the piece told of last, counted on over all rounds from round 1 on
};

// What is told of each piece that was compared.
enum class Found : std::uint64_t { kSettled, kTorn };

// What is told of the small block.
enum class Small : std::uint64_t { kKept, kZeros };

// Fills the blocks, saves the header file, tells the handles, and writes over the blocks for ever. Each piece is told
// in the midst of writing it, so that a kill finds the writer there. Throws std::runtime_error.
void WriteUntilKilled(const SurviveJob& job, const CTeller& teller);

// Loads the header file and tells Found of each piece and Small, then frees the blocks and lets the store go, with the
// header file. Of the piece told of last, and of the next one, each byte may be old or new; all others are the one or
// the other altogether. Throws std::runtime_error, with block and offset where a byte is neither.
void CompareAndFree(const SurviveJob& job, const Survivors& survivors, const CTeller& teller);

}  // namespace KxStore
