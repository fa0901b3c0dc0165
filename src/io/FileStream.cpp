#include "io/FileStream.h"

#include "io/FileIo.h"
#include "io/ResultOf.h"
#include "stream/IoStream.h"
#include "system/NarrowPath.h"
#include "system/System.h"

namespace KX {

namespace {

constexpr unsigned long kMagicSize = 7;  // what every stream starts with

void Bind(CBaseStream& stream, CFileIo& io, CProgress* progress) {
    stream.SetIoBuffer(&io);
    stream.SetProgress(progress);
}

// What was written last may fail on its way out of the C library, as it does where the disk is full.
Result SaveAndFlush(CBaseStream& stream, DataSection section, CFileIo& io) {
    const Result saved = stream.Save(section);
    if (Failed(saved)) return saved;

    const Result flushed = io.Flush();
    return Failed(flushed) ? flushed : saved;
}

}  // namespace

Result FileOpen(std::FILE** file, const wchar_t* path, const wchar_t* mode) {
    if (file == nullptr) return kResultInvalidArgument;

    *file = nullptr;
    if (path == nullptr || mode == nullptr) return kResultInvalidArgument;
    return ResultOf([&] {
        *file = std::fopen(NarrowPath(path).c_str(), NarrowPath(mode).c_str());
        return kResultOk;
    });
}

Result LoadFileStream(CBaseStream& stream, const wchar_t* path, SkipType skip, DataSection section,
                      CProgress* progress) {
    return ResultOf([&] {
        CFileIo io;
        Bind(stream, io, progress);
        const Result opened = io.Open(path);
        if (Failed(opened)) return opened;
        if (io.GetSize() < kMagicSize) return kResultFail;

        const Result loaded = stream.Load(skip, section);
        io.Close();
        stream.SetFileModifyTime(CSystem::GetFileModifiedTime(path));
        return loaded;
    });
}

Result SaveFileStream(CBaseStream& stream, const wchar_t* path, DataSection section, CProgress* progress) {
    return ResultOf([&] {
        CFileIo io;
        Bind(stream, io, progress);
        const Result opened = io.Save(path);
        if (Failed(opened)) return opened;

        const Result saved = SaveAndFlush(stream, section, io);
        io.Close();
        // That it cannot be deleted is the lesser news.
        if (saved == kResultNoSpace) (void)CSystem::DeleteFileByName(path);
        return saved;
    });
}

}  // namespace KX
