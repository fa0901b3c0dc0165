#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "stream/Base.h"
#include "system/File.h"

namespace KX {

// The list of the objects that a save writes, for those who look for a fault: a text file of a fixed name. Where it
// cannot be opened, nothing is written and nothing is reported.
//
// What an earlier save has left is written over in place, and its rest cut off at the end: pages that the system has at
// hand cost a fifth of fresh ones.
class CObjectListLog {
public:
    CObjectListLog() = default;
    ~CObjectListLog();

    CObjectListLog(const CObjectListLog&) = delete;
    CObjectListLog& operator=(const CObjectListLog&) = delete;

    // Starts the file over.
    void Begin();
    // Goes on at the end of the file, and with what Begin has opened.
    void Append();

    bool IsOpen() const { return file != nullptr; }

    // The next object, counted from 0 since Begin. May throw std::bad_alloc, for a name that has to be converted.
    void AddObject(const CBase& object, unsigned int size);
    void AddVersionSize(unsigned int size);
    // The next object, counted from 0 since Append.
    void AddWrittenSize(unsigned long size);

private:
    // Lines are gathered to pieces of this size: a line per object must cost next to nothing beside its save.
    static constexpr std::size_t kPiece = 0x10000;

    // Counts in decimal: half of what a line took was to write its number.
    class CCounter {
    public:
        void Increment();
        static constexpr std::array<char, 20> Zeros() {
            std::array<char, 20> zeros{};
            for (char& digit : zeros) digit = '0';
            return zeros;
        }
        std::string_view Text() const { return {digits.data() + first, digits.size() - first}; }

    private:
        std::array<char, 20> digits = Zeros();
        std::size_t first = digits.size() - 1;
    };

    void Open(int flags);
    void Put(std::string_view text) {
        if (text.size() > kPiece - filled) return PutInPieces(text);
        std::memcpy(piece->data() + filled, text.data(), text.size());
        filled += text.size();
    }
    void PutInPieces(std::string_view text);
    void PutCount();
    void PutNumber(unsigned long number);
    void PutText(const std::wstring& text);
    void Flush();

    CFile file;
    std::unique_ptr<std::array<char, kPiece>> piece;
    std::size_t filled = 0;
    CCounter counter;
    bool isWholeFile = false;  // begun here, so that what follows the last line is of an earlier save
};

}  // namespace KX
