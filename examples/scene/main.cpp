// Saves a scene of 100,000 objects as a container, loads it back and compares every field, or lists what stands before
// the objects without loading them. Without arguments: all of it in a temporary folder.
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "Demo.h"
#include "LzmaCompressor.h"
#include "Scene.h"
#include "io/FileStream.h"
#include "stream/Stream.h"
#include "string/Encoding.h"

namespace {

using KX::DataSection;

constexpr std::uint64_t kObjects = 100'000;

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
    KX::CStream stream;
    Check(stream.SetLzmaInterface(compressor.Get()), "cannot set the compressor");
    stream.SetCompress(isCompressed);
    FillStream(stream, top);

    const std::string newFile = MakeFileBeside(file);
    KX::Result result = KX::SaveFileStream(stream, WidePath(newFile).c_str(), kAllSections, nullptr);
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

void LoadAndVerify(const std::string& file, CNode& expected) {
    KX::CStream stream;
    LoadFile(stream, file, kAllSections);
    VerifyStream(stream, expected, file);
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

void Demonstrate() {
    const KX::CPointer<CNode> scene = MakeScene(kObjects);
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

void Run(int count, char** arguments) {
    const std::string command = count > 1 ? arguments[1] : "";
    if (count == 1) {
        const CTemporaryFolder folder("scene");
        return Demonstrate();
    }
    if (count == 3 && command == "save") return SaveFile(*MakeScene(kObjects), arguments[2], true);
    if (count == 3 && command == "load") return LoadAndVerify(arguments[2], *MakeScene(kObjects));
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
