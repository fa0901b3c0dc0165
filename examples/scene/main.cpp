// Saves a scene of 100,000 objects as a container, loads it back and compares every field, or lists what stands before
// the objects without loading them. Without arguments: all of it in a temporary folder.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "LzmaCompressor.h"
#include "SceneObjects.h"
#include "io/FileStream.h"
#include "stream/Stream.h"
#include "string/Encoding.h"

namespace {

using KX::DataSection;

constexpr std::uint64_t kGroups = 1000;
constexpr std::uint64_t kObjects = 100'000;
constexpr const wchar_t* kLicence = L"CC BY 4.0";
constexpr const wchar_t* kAuthor = L"Zo\u00EB \u738B";
constexpr DataSection kPreviews = DataSection::Thumbnail | DataSection::Drm | DataSection::ExtendInfo;

void Demand(bool isTrue, const std::string& what) {
    if (!isTrue) throw std::runtime_error(what);
}

void Check(KX::Result result, const std::string& what) {
    if (!KX::Failed(result)) return;
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned int>(result));
    throw std::runtime_error(what + ": " + code + " (see io/Result.h)");
}

// ---- The scene: groups within groups, and the shapes shared out among them ----

KX::CPointer<CNode> MakeNode(std::uint64_t number) {
    if (number < kGroups) return new CGroup;
    auto* const shape = new CShape;
    const auto i = static_cast<std::int32_t>(number);
    shape->box = {i % 1000 - 500, i / 1000, 10 + static_cast<unsigned>(i) % 97, 10 + static_cast<unsigned>(i) % 89};
    shape->colour = static_cast<std::uint32_t>(number * 2654435761U >> 8);
    return shape;
}

KX::CPointer<CNode> MakeScene() {
    std::vector<KX::CPointer<CNode>> nodes;
    for (std::uint64_t i = 0; i < kObjects; ++i) {
        const KX::CPointer<CNode>& node = nodes.emplace_back(MakeNode(i));
        node->SetID(KX::COrcaID(i + 1));  // 0 would name no object
        node->SetName((i < kGroups ? L"Gruppe \u5716\u5C64 " : L"\u00C9toile \u661F ") + std::to_wstring(i));
        node->opacity = static_cast<std::uint8_t>(i % 256);
        if (i == 0) continue;
        auto& group = dynamic_cast<CGroup&>(*nodes[i < kGroups ? (i - 1) / 4 : i % kGroups]);
        Check(group.Add(node.Get()), "cannot build the scene");
    }
    return nodes.front();
}

KX::CPointer<CThumbnail> MakeThumbnail() {
    KX::CPointer<CThumbnail> thumbnail = new CThumbnail;
    thumbnail->width = thumbnail->height = 128;
    for (int i = 0; i < 4 * 128 * 128; ++i) thumbnail->pixels.push_back(static_cast<std::uint8_t>(i / 512));
    return thumbnail;
}

bool IsSame(const CNode& a, const CNode& b) {
    const auto parentOf = [](const CNode& node) {
        return node.GetParent() ? node.GetParent()->GetID() : KX::COrcaID();
    };
    if (parentOf(a) != parentOf(b)) return false;
    if (a.GetRtti() != b.GetRtti() || a.GetID() != b.GetID() || a.GetName() != b.GetName()) return false;
    if (a.opacity != b.opacity || a.GetChildren().size() != b.GetChildren().size()) return false;
    const auto* const shape = dynamic_cast<const CShape*>(&a);
    const auto* const other = dynamic_cast<const CShape*>(&b);
    return shape == nullptr || (shape->box == other->box && shape->colour == other->colour);
}

// ---- Files ----

// A text that the locale cannot express is cut where it cannot, and would name some other file.
std::wstring WidePath(const std::string& file) {
    std::wstring path = KX::ConvertToWstring(file);
    Demand(KX::ConvertToString(path) == file, "the locale cannot express " + file);
    return path;
}

// An empty file of a new name in the folder of another one.
std::string MakeFileBeside(const std::string& file) {
    std::string name = file + ".XXXXXX";
    const int descriptor = ::mkstemp(name.data());
    Demand(descriptor != -1, "cannot make a file beside " + file);
    ::close(descriptor);
    return name;
}

// Into a new file, which then takes the place of an older one: when saving fails, that one stays.
void SaveFile(CNode& top, const std::string& file, bool isCompressed) {
    // Nor does it take the place of a folder or a device.
    Demand(!std::filesystem::exists(file) || std::filesystem::is_regular_file(file), file + " is no ordinary file");
    const KX::CPointer<KX::CLzmaCompressor> compressor = new KX::CLzmaCompressor;
    const KX::CPointer<CThumbnail> thumbnail = MakeThumbnail();
    KX::CStream stream;
    Check(stream.SetLzmaInterface(compressor.Get()), "cannot set the compressor");
    stream.SetCompress(isCompressed);
    Check(stream.Insert(&top), "cannot add the scene");
    Check(stream.SetThumbnail(thumbnail.Get()), "cannot add the thumbnail");
    Check(stream.AddDrm(new CNote(L"Licence", kLicence)), "cannot add the licence");
    Check(stream.AddExtendInfo(new CNote(L"Author", kAuthor)), "cannot add the author");

    const std::string newFile = MakeFileBeside(file);
    KX::Result result = KX::SaveFileStream(stream, WidePath(newFile).c_str(), kPreviews | DataSection::Data, nullptr);
    if (!KX::Failed(result)) result = compressor->GetCompressResult();  // of which the stream does not tell
    if (std::filesystem::exists(file)) {
        std::filesystem::permissions(newFile, std::filesystem::status(file).permissions());
    }
    std::error_code notReplaced;
    if (!KX::Failed(result)) std::filesystem::rename(newFile, file, notReplaced);
    if (KX::Failed(result) || notReplaced) std::filesystem::remove(newFile);
    Check(result, "cannot save " + file);
    Demand(!notReplaced, "cannot replace " + file);
}

// The sections that are not asked for are skipped, not read.
void LoadFile(KX::CStream& stream, const std::string& file, DataSection sections) {
    Check(stream.SetLzmaInterface(new KX::CLzmaCompressor), "cannot set the compressor");
    Check(KX::LoadFileStream(stream, WidePath(file).c_str(), KX::SkipType::None, sections, nullptr),
          "cannot load " + file);
}

const CNote& NoteOf(const KX::CBase* object) {
    const auto* const note = dynamic_cast<const CNote*>(object);
    Demand(note != nullptr, "there is no note where one should be");
    return *note;
}

void LoadAndVerify(const std::string& file, CNode& expected) {
    KX::CStream stream;
    LoadFile(stream, file, kPreviews | DataSection::Data);
    for (const auto& [id, referrers] : stream.GetMissingLink()) {
        std::printf("  object %llu is missing, to which %zu refer\n", id.Value(), referrers.size());
    }
    Demand(stream.GetMissingLink().empty(), "links are missing in " + file);
    auto* const loaded = dynamic_cast<CNode*>(stream.GetObjectAt(0));
    Demand(loaded != nullptr && stream.GetObjectCount() == 1, "there is no scene in " + file);

    // Both walks take the children in order, so equal nodes at equal places mean equal links downwards too.
    const auto isSame = [](const CNode* a, const CNode* b) { return IsSame(*a, *b); };
    Demand(std::ranges::equal(AllNodes(*loaded), AllNodes(expected), isSame), "the scene came back changed");
    const auto* const thumbnail = dynamic_cast<CThumbnail*>(stream.GetThumbnail());
    Demand(thumbnail != nullptr && thumbnail->pixels == MakeThumbnail()->pixels, "the thumbnail came back changed");
    Demand(NoteOf(stream.GetDrm(0)).text == kLicence, "the licence came back changed");
    Demand(NoteOf(stream.GetExtendInfo(0)).text == kAuthor, "the author came back changed");
}

void PrintNote(const char* list, const CNote& note) {
    std::printf("  %s: %s: %s\n", list, KX::ConvertToString(note.title, "").c_str(),
                KX::ConvertToString(note.text, "").c_str());
}

void Inspect(const std::string& file) {
    KX::CStream stream;
    LoadFile(stream, file, kPreviews);
    if (const auto* const thumbnail = dynamic_cast<CThumbnail*>(stream.GetThumbnail())) {
        std::printf("  thumbnail: %u x %u\n", thumbnail->width, thumbnail->height);
    }
    for (unsigned long i = 0; i < stream.GetDrmCount(); ++i) PrintNote("drm", NoteOf(stream.GetDrm(i)));
    for (unsigned long i = 0; i < stream.GetExtendInfoCount(); ++i)
        PrintNote("extend info", NoteOf(stream.GetExtendInfo(i)));
}

// ---- The demonstration ----

template <typename Work>
void Timed(const char* what, Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    std::printf("%-22s %7.1f ms\n", what, time.count());
}

void Demonstrate() {
    const KX::CPointer<CNode> scene = MakeScene();
    for (const bool isCompressed : {false, true}) {
        const std::string file = isCompressed ? "compressed.scene" : "plain.scene";
        Timed("save", [&] { SaveFile(*scene, file, isCompressed); });
        std::printf("  %s: %ju bytes\n", file.c_str(), std::filesystem::file_size(file));
        Timed("inspect", [&] { Inspect(file); });
        Timed("load and verify", [&] { LoadAndVerify(file, *scene); });
    }

    // A part of the scene saved alone: the link that leads out of it is missing, and the stream tells.
    SaveFile(*scene->GetChildren()[0], "part.scene", true);
    KX::CStream stream;
    LoadFile(stream, "part.scene", DataSection::Data);
    const KX::CMissingLinkMap& missing = stream.GetMissingLink();
    Demand(missing.size() == 1 && missing.contains(scene->GetID()), "the group above it should be missing");
    std::printf("a part of it: %zu objects, the link to object 1 is missing as expected\n",
                AllNodes(dynamic_cast<CNode&>(*stream.GetObjectAt(0))).size());
}

// The current folder for one scope. Also keeps the list of objects that a save leaves there out of the user's folders.
struct CTemporaryFolder {
    CTemporaryFolder() {
        Demand(::mkdtemp(path.data()) != nullptr, "cannot make a temporary folder");
        std::filesystem::current_path(path);
    }
    ~CTemporaryFolder() {
        std::error_code ignored;  // what cannot be removed is left to the system
        std::filesystem::current_path("/", ignored);
        std::filesystem::remove_all(path, ignored);
    }
    std::string path = (std::filesystem::temp_directory_path() / "scene-XXXXXX").string();
};

void Run(int count, char** arguments) {
    const std::string command = count > 1 ? arguments[1] : "";
    if (count == 1) {
        const CTemporaryFolder folder;
        return Demonstrate();
    }
    if (count == 3 && command == "save") return SaveFile(*MakeScene(), arguments[2], true);
    if (count == 3 && command == "load") return LoadAndVerify(arguments[2], *MakeScene());
    if (count == 3 && command == "inspect") return Inspect(arguments[2]);
    throw std::runtime_error("usage: scene [save FILE | load FILE | inspect FILE]");
}

}  // namespace

int main(int count, char** arguments) {
    std::setlocale(LC_CTYPE, "");  // for paths and output that are not plain ASCII
    try {
        Run(count, arguments);
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "scene: %s\n", failure.what());
        return 1;
    }
}
