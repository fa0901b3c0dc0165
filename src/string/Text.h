#pragma once

#include <locale>
#include <string>

namespace KX {

// Clean-up of text. Each function exists for narrow and for wide text with the same behaviour unless it says
// otherwise, takes no lock, and throws nothing but std::bad_alloc. Any thread.

// The text in upper or lower case, character by character by the C library's rules for the locale; cut at its first
// NUL. A locale without a name leaves it to the locale in force. Wide letters of all scripts have a case, also where
// the locale is the classic one; of narrow text under that locale only the ASCII letters have.
std::string MakeStringUpper(std::string text, const std::locale& locale);
std::wstring MakeStringUpper(std::wstring text, const std::locale& locale);
std::string MakeStringLower(std::string text, const std::locale& locale);
std::wstring MakeStringLower(std::wstring text, const std::locale& locale);

// Every run of blanks reduced to one. Only the space character is a blank.
std::string CondenseWhiteSpace(std::string text);
std::wstring CondenseWhiteSpace(std::wstring text);

// The text without any occurrence of the character.
std::string RemoveSpecificChar(std::string text, char character);
std::wstring RemoveSpecificChar(std::wstring text, wchar_t character);

// The text with `to` in place of the first occurrence of `from`, or of all from left to right; what was put in is
// not searched again. An empty `from` is found at the start, if the first alone is wanted; else nothing changes.
std::string ReplaceString(const std::string& text, const std::string& from, const std::string& to, bool firstOnly);
std::wstring ReplaceString(const std::wstring& text, const std::wstring& from, const std::wstring& to, bool firstOnly);

// The text without the blanks, tabs, line feeds and carriage returns at its ends. Wide only.
std::wstring Trim(const std::wstring& text);

// The empty text starts and ends every text.
bool StringStartsWith(const std::string& text, const std::string& prefix);
bool StringStartsWith(const std::wstring& text, const std::wstring& prefix);
bool StringEndsWith(const std::string& text, const std::string& suffix);
bool StringEndsWith(const std::wstring& text, const std::wstring& suffix);

// The text between two double quotes; nothing in it is escaped.
std::string GetQuoteString(const std::string& text);
std::wstring GetQuoteString(const std::wstring& text);

// The text with "_" in place of every character that is no letter, digit or "_". Letters of all scripts count,
// whatever the locale in force. Despite the name nothing is removed. Wide only.
std::wstring RemoveNonAlphanumericCharacter(const std::wstring& text);

}  // namespace KX
