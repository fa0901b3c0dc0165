#pragma once

#include <string>

namespace KX {

// Paths as pure text: nothing here asks the file system. Backslash and slash both separate; a separator that
// is added is a slash. Each function exists for narrow and for wide text with the same behaviour.

// The text behind the last separator; the whole path if there is none.
std::string GetPathFilename(std::string path);
std::wstring GetPathFilename(std::wstring path);

// The path with a separator at its end: a slash is added where none stands. An empty path stays empty.
std::string GetPlatformSlashFolderPath(std::string path);
std::wstring GetPlatformSlashFolderPath(std::wstring path);

// The path without the separator at its end; of several only the last one goes.
std::string GetNoPlatformSlashFolderPath(std::string path);
std::wstring GetNoPlatformSlashFolderPath(std::wstring path);

}  // namespace KX
