#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace KxStore {

// The text as one line for a terminal: control characters as \xNN and backslashes doubled, so that no file name can
// move the cursor or pass for two lines. Other bytes stay, valid UTF-8 or not.
std::string VisibleText(std::string_view text);

// Tells on standard error how far the work is: by a bar where that is a terminal, else by a line for each tenth.
// Messages go through it so that they do not mix with the bar. There is nowhere to tell that writing fails.
class CProgress {
public:
    CProgress();

    void Start(std::uint64_t totalBytes) { total = totalBytes; }
    void Advance(std::uint64_t bytes);
    // Control characters in the text are made visible.
    void Message(std::string_view text);
    // Takes the bar away until the next Advance.
    void Erase();

private:
    void Draw();
    void PrintTenth();
    unsigned int Percent() const;

    const bool isTerminal;
    bool isDrawn = false;
    std::chrono::steady_clock::time_point lastDrawn;
    unsigned int lastTenth = 0;
    std::uint64_t total = 0;
    std::uint64_t done = 0;
};

}  // namespace KxStore
