#include "Progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

namespace KxStore {
namespace {

constexpr std::chrono::milliseconds kRedrawTime{100};
constexpr unsigned int kAroundBar = 10;  // brackets, percent, and a last column left free so that no line wraps

unsigned int BarWidth() {
    winsize window{};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0;
    const unsigned int width = isKnown ? window.ws_col : 80;
    return width > kAroundBar ? width - kAroundBar : 0;
}

}  // namespace

std::string VisibleText(std::string_view text) {
    std::string visible;
    unsigned char previous = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        // The second half of the control characters stands alone in older encodings, and behind 0xC2 in UTF-8.
        const bool isHigh = byte >= 0x80 && byte < 0xA0 && (previous < 0x80 || previous == 0xC2);
        if (byte < 0x20 || byte == 0x7F || isHigh) {
            visible += fmt::format("\\x{:02X}", byte);
        } else {
            visible.append(character == '\\' ? 2 : 1, character);
        }
        previous = byte;
    }
    return visible;
}

CProgress::CProgress() : isTerminal(::isatty(STDERR_FILENO) == 1) {}

void CProgress::Advance(std::uint64_t bytes) {
    done += bytes;
    if (isTerminal) {
        Draw();
    } else {
        PrintTenth();
    }
}

void CProgress::Message(std::string_view text) {
    Erase();
    std::fputs(("kxstore: " + VisibleText(text) + '\n').c_str(), stderr);
}

void CProgress::Erase() {
    if (isDrawn) std::fputs("\r\x1B[K", stderr);
    isDrawn = false;
}

void CProgress::Draw() {
    const auto now = std::chrono::steady_clock::now();
    if (now - lastDrawn < kRedrawTime) return;
    lastDrawn = now;
    isDrawn = true;

    const unsigned int width = BarWidth();
    const unsigned int filled = width * Percent() / 100;
    std::fputs(fmt::format("\r[{:#<{}}{:.<{}}] {:3} %\x1B[K", "", filled, "", width - filled, Percent()).c_str(),
               stderr);
}

void CProgress::PrintTenth() {
    const unsigned int tenth = Percent() / 10;
    if (tenth == lastTenth) return;
    lastTenth = tenth;
    Message(fmt::format("{} % done", tenth * 10));
}

// Of work that there is: Advance comes first.
unsigned int CProgress::Percent() const {
    return static_cast<unsigned int>(100 * static_cast<double>(done) / static_cast<double>(total));
}

}  // namespace KxStore
