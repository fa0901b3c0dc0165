#include "io/MemoryIoBuffer.h"

#include <cstring>
#include <utility>

#include "io/ResultOf.h"

namespace KX {

namespace {

// Subtracts, because a sum of positions may wrap.
bool IsInside(std::uint64_t size, std::uint64_t position, std::uint64_t count) {
    return position <= size && count <= size - position;
}

}  // namespace

Result CMemoryIoBuffer::CreateBuffer(unsigned long newSize) {
    // Zeros from the system take no room before they are written to, however large a size some file claims.
    OwnedMemory block(static_cast<unsigned char*>(std::calloc(newSize == 0 ? 1 : newSize, 1)));
    memory = block.get();
    if (memory == nullptr) return kResultOutOfMemory;
    if (Failed(ownedMemory.Add(std::move(block)))) {
        memory = nullptr;
        return kResultOutOfMemory;
    }
    size = newSize;
    readPosition = 0;
    return kResultOk;
}

Result CMemoryIoBuffer::CreateBuffer(unsigned long newSize, unsigned char* lent) {
    memory = lent;
    size = newSize;
    readPosition = 0;
    return kResultOk;
}

Result CMemoryIoBuffer::GetSearchDirectory(std::wstring& directory) const {
    return ResultOf([&] {
        directory = searchDirectory;
        return kResultOk;
    });
}

Result CMemoryIoBuffer::SetOutputInfo(unsigned long outputSize, unsigned long /*secondSize*/) {
    return CreateBuffer(outputSize);
}

Result CMemoryIoBuffer::CheckTransfer(unsigned long position, unsigned long count) const {
    if (!IsInside(size, position, count)) return kResultOutOfBounds;
    return memory == nullptr && count > 0 ? kResultInvalidArgument : kResultOk;
}

Result CMemoryIoBuffer::ReadIn(void* destination, unsigned long capacity, unsigned long count,
                               CProgress* /*progress*/) {
    if (destination == nullptr || capacity < count) return kResultInvalidArgument;
    if (const Result result = CheckTransfer(readPosition, count); Failed(result)) return result;

    if (count > 0) std::memcpy(destination, memory + readPosition, count);
    readPosition += count;
    return kResultOk;
}

Result CMemoryIoBuffer::WriteOut(const void* source, unsigned long count, CProgress* /*progress*/) {
    if (source == nullptr) return kResultInvalidArgument;
    if (const Result result = CheckTransfer(writePosition, count); Failed(result)) return result;

    if (count > 0) std::memcpy(memory + writePosition, source, count);
    writePosition += count;
    return kResultOk;
}

Result CMemoryIoBuffer::Skip(unsigned long count) {
    if (!IsInside(size, readPosition, count)) return kResultOutOfBounds;

    readPosition += count;
    return kResultOk;
}

}  // namespace KX
