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

// The folder of a path, without a separator at its end. A last component without a dot is taken for a folder's
// name, and the path comes back as it is: "a/b/c.txt" and "a/b/" give "a/b", and so does "a/b". Without any
// separator: "".
std::string GetPathDirectory(std::string path);
std::wstring GetPathDirectory(std::wstring path);

// GetPathDirectory(path) + "/" + name.
std::string GetFullPath(std::string path, std::string name);
std::wstring GetFullPath(std::wstring path, std::wstring name);

// The path without its last component: "/a/b/c" and "/a/b/c/" give "/a/b", "a/" gives "". Wide only.
std::wstring RemoveLastPathDirectory(std::wstring path);

// The text behind the last dot, be it in the name of a folder; "" without a dot.
std::string GetSubName(std::string path);
std::wstring GetSubName(std::wstring path);

// The file name without its last dot and what follows.
std::string GetMainName(std::string path);
std::wstring GetMainName(std::wstring path);

// The path with everything from the last occurrence of the old text on replaced by the new one: ".txt" to ".doc"
// makes "x.doc" of "x.txt.bak". The path as it is if the old text does not occur; an empty one occurs at the end.
std::string ChangeSubName(std::string path, std::string oldText, std::string newText);
std::wstring ChangeSubName(std::wstring path, std::wstring oldText, std::wstring newText);

// The path with another main name in front of its extension; as it is if its last component has no extension.
std::string ChangeMainName(std::string path, std::string newMain);
std::wstring ChangeMainName(std::wstring path, std::wstring newMain);

// Whether two paths are the same but for the kind of their separators and the case of their letters: of
// narrow paths the ASCII ones alone.
bool IsPathTheSame(const std::string& a, const std::string& b);
bool IsPathTheSame(const std::wstring& a, const std::wstring& b);

// The path with slashes in place of backslashes. Both names do the same.
std::string ConvertToPlatformSlashFolderPath(std::string path);
std::wstring ConvertToPlatformSlashFolderPath(std::wstring path);
std::string ConvertToCanonicalSlashFolderPath(std::string path);
std::wstring ConvertToCanonicalSlashFolderPath(std::wstring path);

// The path with its last component replaced, a backslash behind it. Only backslashes separate here; a path without
// one, or with none but the one at its end, gives "". Wide only.
std::wstring GetReplacedPath(std::wstring path, std::wstring replacement);

// The text with "_" in place of each of \ " / : * ? < > | which some systems do not allow in a folder's name.
std::string RemoveFolderInvalidCharacter(std::string text);
std::wstring RemoveFolderInvalidCharacter(std::wstring text);

}  // namespace KX
