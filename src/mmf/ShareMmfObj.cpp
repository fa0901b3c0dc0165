#include "mmf/ShareMmfObj.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <iterator>
#include <span>
#include <utility>

#include "io/ResultOf.h"
#include "mmf/FileMapping.h"
#include "mmf/Window.h"
#include "stream/StreamText.h"

namespace {

// Slots that a request takes: its size divided by the slot size, rounded up; 1 for an empty one.
constexpr unsigned long SlotsFor(unsigned long size) {
    if (size <= CShareMmfObj::kSlotSize) return 1;
    return (size - 1) / CShareMmfObj::kSlotSize + 1;
}

}  // namespace

CShareMmfObj::CShareMmfObj() : CMmfObj(true) {}

CShareMmfObj::~CShareMmfObj() {
    const CKXCriticalSectionSmartLock guard(lock);
    for (auto& [slot, mapping] : mappings) UnmapWhole(mapping);
}

bool CShareMmfObj::CreateShareMemMapFile(const wchar_t* prefix, const wchar_t* directory) {
    {
        const CKXCriticalSectionSmartLock guard(lock);
        bInMemory = true;
    }
    const bool isMade = CreateMemMapFile(prefix, directory, kStoreSize);
    const CKXCriticalSectionSmartLock guard(lock);
    hasHeapViews = bInMemory;
    return isMade;
}

bool CShareMmfObj::MemAlloc(unsigned long size, unsigned int& block) {
    const CKXCriticalSectionSmartLock guard(lock);
    const unsigned long wanted = SlotsFor(size);
    if (wanted > freeRunBound) return false;

    const FreeRun run = FindFirstRun(wanted);
    if (run.length < wanted) {
        freeRunBound = run.length;
        return false;
    }
    try {
        mappingAt[run.start] = &mappings.emplace(run.start, MakeMapping(run.start, wanted)).first->second;
    } catch (const std::exception&) {  // no memory for the record
        return false;
    }
    std::fill_n(slotUsed.begin() + static_cast<std::ptrdiff_t>(run.start), wanted, 1);
    block = static_cast<unsigned int>(run.start);
    return true;
}

KX::Result CShareMmfObj::MemFree(int block, bool& bEmpty) {
    const CKXCriticalSectionSmartLock guard(lock);
    const auto found = mappings.find(static_cast<unsigned int>(block));
    if (found == mappings.end()) return KX::kResultInvalidArgument;

    CMapping& mapping = found->second;
    UnmapWhole(mapping);
    std::fill_n(slotUsed.begin() + static_cast<std::ptrdiff_t>(mapping.firstSlot), mapping.slotCount, 0);
    freeRunBound = std::max(freeRunBound, FreeRunAround(found));
    mappingAt[mapping.firstSlot] = nullptr;
    mappings.erase(found);
    bEmpty = mappings.empty();
    return KX::kResultOk;
}

unsigned char* CShareMmfObj::Map(int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMapping* const mapping = Find(static_cast<unsigned int>(block));
    if (mapping == nullptr) return nullptr;

    if (mapping->refCount == 0) MapWhole(*mapping);
    ++mapping->refCount;
    return mapping->refCount == 0 ? nullptr : mapping->mappedAddress;
}

unsigned char* CShareMmfObj::MapWindow(int block, unsigned long offset, unsigned long length) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMapping* const mapping = Find(static_cast<unsigned int>(block));
    if (mapping == nullptr || !IsWindowInside(mapping->slotCount * kSlotSize, offset, length)) return nullptr;

    mapping->mappedLength = length;
    const unsigned long start = mapping->firstSlot * kSlotSize + offset;
    return bInMemory ? heapBuffer + start : MapBackingFile(kStoreSize, length, start);
}

void CShareMmfObj::UnMapWindow(void* address, unsigned long length) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (!hasHeapViews) UnmapFile(address, length);
}

void CShareMmfObj::UnMap(int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMapping* const mapping = Find(static_cast<unsigned int>(block));
    if (mapping == nullptr) return;

    if (mapping->refCount == 1) UnmapWhole(*mapping);
    --mapping->refCount;
}

unsigned long CShareMmfObj::GetSize(unsigned int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    const CMapping* const mapping = Find(block);
    return mapping == nullptr ? 0 : mapping->slotCount * kSlotSize;
}

unsigned long CShareMmfObj::GetRefCount(unsigned int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    const CMapping* const mapping = Find(block);
    return mapping == nullptr ? 0 : mapping->refCount;
}

KX::Result CShareMmfObj::SaveHeader(KX::CIoStream& stream, const wchar_t* directory) {
    const KX::Result result = CMmfObj::SaveHeader(stream, directory);
    if (KX::Failed(result)) return result;
    const CKXCriticalSectionSmartLock guard(lock);
    return WriteBlocks(stream);
}

KX::Result CShareMmfObj::LoadHeader(KX::CIoStream& stream, const wchar_t* directory) {
    KX::Result result = CMmfObj::LoadHeader(stream, directory);
    if (KX::Failed(result)) return result;
    result = KX::ResultOf([&] { return ReadBlocks(stream); });
    if (!KX::Failed(result)) return MappingFile();
    ForgetFile();
    return result;
}

unsigned int CShareMmfObj::FreeRunBound() {
    const CKXCriticalSectionSmartLock guard(lock);
    return static_cast<unsigned int>(freeRunBound);
}

std::uint64_t CShareMmfObj::GetSerial(unsigned int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    const CMapping* const mapping = Find(block);
    return mapping == nullptr ? 0 : mapping->serial;
}

CShareMmfObj::CMapping CShareMmfObj::MakeMapping(std::uint64_t firstSlot, std::uint64_t slotCount) {
    CMapping mapping;
    mapping.firstSlot = firstSlot;
    mapping.slotCount = slotCount;
    mapping.serial = NewSerial();
    return mapping;
}

// First fit. Each step jumps from one free run to the next by memchr, which is faster than the flags one by one.
CShareMmfObj::FreeRun CShareMmfObj::FindFirstRun(std::size_t wanted) const {
    const unsigned char* const begin = slotUsed.data();
    const unsigned char* const end = begin + slotUsed.size();
    std::size_t longest = 0;
    for (const unsigned char* from = begin; from != end;) {
        const void* const free = std::memchr(from, 0, static_cast<std::size_t>(end - from));
        if (free == nullptr) break;

        from = static_cast<const unsigned char*>(free);
        const std::size_t inSight = std::min(wanted, static_cast<std::size_t>(end - from));
        const void* const used = std::memchr(from, 1, inSight);
        const unsigned char* const runEnd = used == nullptr ? from + inSight : static_cast<const unsigned char*>(used);
        const auto length = static_cast<std::size_t>(runEnd - from);
        if (length == wanted) return {static_cast<std::size_t>(from - begin), length};

        longest = std::max(longest, length);
        from = runEnd;
    }
    return {0, longest};
}

// The run that frees up with this block: from the end of the block before it to the start of the block behind it.
std::size_t CShareMmfObj::FreeRunAround(Mappings::iterator block) {
    std::size_t start = 0;
    if (block != mappings.begin()) {
        const CMapping& before = std::prev(block)->second;
        start = before.firstSlot + before.slotCount;
    }
    const auto behind = std::next(block);
    return (behind == mappings.end() ? kSlotCount : behind->first) - start;
}

CShareMmfObj::CMapping* CShareMmfObj::Find(unsigned int block) {
    return block < kSlotCount ? mappingAt[block] : nullptr;
}

KX::Result CShareMmfObj::WriteBlocks(KX::CIoStream& stream) const {
    KX::Result result = KX::StreamWrite(stream, static_cast<std::uint32_t>(mappings.size()));
    for (const auto& [slot, mapping] : mappings) {
        if (!KX::Failed(result)) result = KX::StreamWrite(stream, static_cast<std::uint32_t>(mapping.firstSlot));
        if (!KX::Failed(result)) result = KX::StreamWrite(stream, static_cast<std::uint32_t>(mapping.slotCount));
    }
    return KX::Failed(result) ? result : stream.WriteOut(slotUsed.data(), slotUsed.size());
}

KX::Result CShareMmfObj::ReadBlocks(KX::CIoStream& stream) {
    Mappings blocks;
    Slots used{};
    KX::Result result = ReadPlaces(stream, blocks, used);
    if (KX::Failed(result)) return result;
    Slots flags;
    result = stream.ReadIn(flags.data(), flags.size(), flags.size());
    if (KX::Failed(result)) return result;

    const CKXCriticalSectionSmartLock guard(lock);
    // A block's own slots are used whatever the flags say: another block in its place would overwrite it.
    std::ranges::transform(flags, used, slotUsed.begin(),
                           [](unsigned char flag, unsigned char block) { return flag != 0 || block != 0 ? 1 : 0; });
    mappings = std::move(blocks);
    mappingAt.fill(nullptr);
    for (auto& [slot, mapping] : mappings) mappingAt[slot] = &mapping;
    freeRunBound = FindFirstRun(kSlotCount).length;
    return KX::kResultOk;
}

// No two blocks share a slot, so the slots end before a number of blocks that may claim anything.
KX::Result CShareMmfObj::ReadPlaces(KX::CIoStream& stream, Mappings& blocks, Slots& used) {
    std::uint32_t count = 0;
    KX::Result result = KX::StreamRead(stream, count);
    for (; count > 0 && !KX::Failed(result); --count) {
        std::uint32_t first = 0;
        std::uint32_t slots = 0;
        result = KX::StreamRead(stream, first);
        if (!KX::Failed(result)) result = KX::StreamRead(stream, slots);
        if (KX::Failed(result)) return result;

        if (slots == 0 || !IsWindowInside(kSlotCount, first, slots)) return KX::kResultMalformed;
        const auto place = std::span(used).subspan(first, slots);
        if (std::ranges::count(place, 0) != static_cast<std::ptrdiff_t>(slots)) return KX::kResultMalformed;
        std::ranges::fill(place, 1);
        blocks.emplace(first, MakeMapping(first, slots));
    }
    return result;
}

void CShareMmfObj::MapWhole(CMapping& mapping) {
    mapping.mappedLength = mapping.slotCount * kSlotSize;
    const unsigned long start = mapping.firstSlot * kSlotSize;
    if (bInMemory) {
        mapping.mappedAddress = heapBuffer + start;
        return;
    }
    // Each first map opens the file anew; views made through the descriptor before stay valid.
    if (fd != -1) ::close(fd);
    fd = OpenBackingFile(0);
    mapping.mappedAddress = MapBackingFile(kStoreSize, mapping.mappedLength, start);
}

void CShareMmfObj::UnmapWhole(CMapping& mapping) const {
    if (!hasHeapViews) UnmapFile(mapping.mappedAddress, mapping.mappedLength);
    mapping.mappedAddress = nullptr;
}
