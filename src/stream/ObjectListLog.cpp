#include "stream/ObjectListLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <new>

#include "string/Encoding.h"

namespace KX {

namespace {

// On systems with other separators this is a plain name in the current folder.
constexpr const char* kPath = "C:\\KXLog\\StreamSave_ObjectList.txt";

}  // namespace

CObjectListLog::~CObjectListLog() {
    if (!IsOpen()) return;

    Flush();
    if (!isWholeFile || std::fflush(file.get()) != 0) return;
    const off_t end = ::ftello(file.get());
    if (end >= 0) (void)!::ftruncate(::fileno(file.get()), end);  // where it fails, an old rest is left to be read
}

void CObjectListLog::Begin() {
    filled = 0;
    counter = {};
    Open(O_WRONLY | O_CREAT);
    isWholeFile = IsOpen();
}

void CObjectListLog::Append() {
    counter = {};
    if (!IsOpen()) Open(O_WRONLY | O_CREAT | O_APPEND);
}

// The name can be foreseen: a link in its place would have another file overwritten, and a pipe would be waited for.
void CObjectListLog::Open(int flags) {
    constexpr mode_t kMode = 0666;  // as fopen has it
    file.reset();
    const int descriptor = ::open(kPath, flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kMode);
    struct stat status {};
    const bool isRegular = descriptor != -1 && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    if (isRegular) file.reset(::fdopen(descriptor, (flags & O_APPEND) != 0 ? "a" : "w"));
    if (file == nullptr && descriptor != -1) ::close(descriptor);
    if (piece == nullptr) piece.reset(new (std::nothrow) std::array<char, kPiece>);
    if (piece == nullptr) file.reset();
}

void CObjectListLog::AddObject(const CBase& object, unsigned int size) {
    if (!IsOpen()) return;

    const CRtti* const rtti = object.GetRtti();
    PutCount();
    Put("Rtti:");
    Put(rtti == nullptr ? "" : rtti->ClassName());
    Put(" Name:");
    PutText(object.GetName());
    Put(" Size:");
    PutNumber(size);
    Put("\n");
}

void CObjectListLog::AddVersionSize(unsigned int size) {
    if (!IsOpen()) return;

    Put("Version Size : ");
    PutNumber(size);
    Put("\n");
}

void CObjectListLog::AddWrittenSize(unsigned long size) {
    if (!IsOpen()) return;

    PutCount();
    Put("Size : ");
    PutNumber(size);
    Put("\n");
}

void CObjectListLog::CCounter::Increment() {
    std::size_t place = digits.size() - 1;
    while (place > 0 && digits[place] == '9') digits[place--] = '0';
    ++digits[place];
    first = std::min(first, place);
}

void CObjectListLog::PutInPieces(std::string_view text) {
    while (text.size() > kPiece - filled) {
        const std::size_t room = kPiece - filled;
        std::memcpy(piece->data() + filled, text.data(), room);
        filled = kPiece;
        text.remove_prefix(room);
        Flush();
    }
    Put(text);
}

void CObjectListLog::PutCount() {
    Put("[");
    Put(counter.Text());
    Put("] ");
    counter.Increment();
}

void CObjectListLog::PutNumber(unsigned long number) {
    constexpr std::size_t kLongest = 20;
    if (kPiece - filled < kLongest) Flush();
    char* const start = piece->data() + filled;
    filled += static_cast<std::size_t>(std::to_chars(start, start + kLongest, number).ptr - start);
}

// Plain characters are the same in every locale, and need no conversion.
void CObjectListLog::PutText(const std::wstring& text) {
    if (kPiece - filled < text.size()) Flush();
    char* to = piece->data() + filled;
    for (const wchar_t character : text) {
        const bool isPlain = character > 0 && character < 0x80;
        if (!isPlain || to == piece->data() + kPiece) return Put(ConvertToString(text, kTextLocale));
        *to++ = static_cast<char>(character);
    }
    filled += text.size();
}

void CObjectListLog::Flush() {
    (void)std::fwrite(piece->data(), 1, filled, file.get());
    filled = 0;
}

}  // namespace KX
