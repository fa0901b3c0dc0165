#include "stream/ObjectListLog.h"

#include <charconv>

#include "io/FileStream.h"
#include "string/Encoding.h"

namespace KX {

namespace {

// On systems with other separators this is a plain name in the current folder.
constexpr const wchar_t* kPath = L"C:\\KXLog\\StreamSave_ObjectList.txt";
// Lines are gathered to pieces of this size: a line per object must cost next to nothing beside its save.
constexpr std::size_t kPiece = 0x10000;

}  // namespace

CObjectListLog::CObjectListLog(Mode mode) {
    std::FILE* opened = nullptr;
    (void)FileOpen(&opened, kPath, mode == Mode::Begin ? L"w" : L"a");
    file.reset(opened);
}

CObjectListLog::~CObjectListLog() {
    Flush();
}

void CObjectListLog::AddObject(std::size_t index, const CBase& object, unsigned int size) {
    if (!IsOpen()) return;

    const CRtti* const rtti = object.GetRtti();
    pending += '[';
    AppendNumber(index);
    pending += "] Rtti:";
    pending += rtti == nullptr ? "" : rtti->ClassName();
    pending += " Name:";
    AppendText(object.GetName());
    pending += " Size:";
    AppendNumber(size);
    EndLine();
}

void CObjectListLog::AddVersionSize(unsigned int size) {
    if (!IsOpen()) return;

    pending += "Version Size : ";
    AppendNumber(size);
    EndLine();
}

void CObjectListLog::AddWrittenSize(std::size_t index, unsigned long size) {
    if (!IsOpen()) return;

    pending += '[';
    AppendNumber(index);
    pending += "] Size : ";
    AppendNumber(size);
    EndLine();
}

// Plain characters are the same in every locale, and need no conversion.
void CObjectListLog::AppendText(const std::wstring& text) {
    const std::size_t before = pending.size();
    for (const wchar_t character : text) {
        if (character <= 0 || character >= 0x80) {
            pending.resize(before);
            pending += ConvertToString(text, kTextLocale);
            return;
        }
        pending += static_cast<char>(character);
    }
}

void CObjectListLog::AppendNumber(unsigned long number) {
    char digits[20];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    pending.append(digits, end);
}

void CObjectListLog::EndLine() {
    pending += '\n';
    if (pending.size() >= kPiece) Flush();
}

void CObjectListLog::Flush() {
    if (IsOpen()) (void)std::fwrite(pending.data(), 1, pending.size(), file.get());
    pending.clear();
}

}  // namespace KX
