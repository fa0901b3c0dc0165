#pragma once

#include <cstdio>

#include "io/Progress.h"
#include "io/Result.h"

namespace KX {

class CBaseStream;
enum class SkipType : unsigned int;
enum class DataSection : unsigned int;

// Whole files as streams, and the opening of one. Any thread may call, with a stream of its own.

// fopen. Stores the file, which the caller closes, or null where it cannot be opened, and returns 0 either way.
// kResultInvalidArgument: an argument is null. kResultOutOfMemory. The file is null after both.
Result FileOpen(std::FILE** file, const wchar_t* path, const wchar_t* mode);

// Loads the stream from the file, and tells it the file's time where it came to a Load.
//
// Both functions leave the stream bound to a buffer that is gone, and to the progress: bind it to another buffer before
// it is used again, except through them.
//
// kResultInvalidArgument  the path is null
// kResultFileQueryFailed  the path is empty
// kResultOpenFailed       the file cannot be opened
// kResultFail             the file is too short to be a stream
// kResultOutOfMemory
//
// or what Load returned. The stream is as it was where none of it was loaded.
Result LoadFileStream(CBaseStream& stream, const wchar_t* path, SkipType skip, DataSection section,
                      CProgress* progress);

// Saves the stream as the file, in place of the one that is there.
//
// kResultInvalidArgument  the path is null
// kResultOpenFailed       the file cannot be made
// kResultIoFailed         Save succeeded, but the last bytes did not reach the file
// kResultOutOfMemory
//
// or what Save returned. After kResultNoSpace the file is deleted, after other failures what was written of it stays.
Result SaveFileStream(CBaseStream& stream, const wchar_t* path, DataSection section, CProgress* progress);

}  // namespace KX
