#include "string/Encoding.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <utility>

#if __has_include(<xlocale.h>)
#include <xlocale.h>  // where BSD-born systems declare newlocale and uselocale
#endif

namespace KX {
namespace {

constexpr locale_t kNoLocale = nullptr;

// The locales loaded so far, by name. Never destroyed: the stores convert paths in their static destructors,
// which may run after those of this file.
struct LocaleCache {
    std::shared_mutex lock;
    std::map<std::string, locale_t> locales;
};

LocaleCache& Cache() {
    static LocaleCache& cache = *new LocaleCache;
    return cache;
}

locale_t LoadLocale(const std::string& name) {
    return ::newlocale(LC_ALL_MASK, name.c_str(), kNoLocale);
}

locale_t FindLocale(const std::string& name) {
    LocaleCache& cache = Cache();
    const std::shared_lock guard(cache.lock);
    const auto found = cache.locales.find(name);
    return found == cache.locales.end() ? kNoLocale : found->second;
}

// The kept locale of that name, loaded at its first use; null for a name that the C library does not know,
// which is asked for again at each call because it may become known.
locale_t KeptLocale(const std::string& name) {
    if (const locale_t found = FindLocale(name)) return found;

    const locale_t loaded = LoadLocale(name);
    if (loaded == kNoLocale) return kNoLocale;

    LocaleCache& cache = Cache();
    const std::unique_lock guard(cache.lock);
    const auto [entry, isNew] = cache.locales.emplace(name, loaded);
    if (!isNew) ::freelocale(loaded);  // another thread was faster
    return entry->second;
}

// Runs the calling thread under the named locale for one scope; under the locale in force if the name is unknown.
class CLocaleScope {
public:
    explicit CLocaleScope(const std::string& name)
        : environment(name.empty() ? LoadLocale(name) : kNoLocale),
          previous(Use(name.empty() ? environment : KeptLocale(name))) {}

    ~CLocaleScope() {
        if (previous != kNoLocale) ::uselocale(previous);
        if (environment != kNoLocale) ::freelocale(environment);
    }

    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    static locale_t Use(locale_t locale) { return locale == kNoLocale ? kNoLocale : ::uselocale(locale); }

    locale_t environment;  // loaded for this scope alone, as the environment may differ at the next
    locale_t previous;     // what to go back to, null where nothing was switched
};

}  // namespace

std::string ConvertToString(std::wstring text, const std::string& localeName) {
    std::string narrow(text.size() * 4 + 4, '\0');
    const CLocaleScope scope(localeName);
    // The result is not looked at: the buffer was zeroed, so what stands before its first NUL is what was
    // converted, and on a character that cannot be converted that is the text before it.
    (void)std::wcstombs(narrow.data(), text.c_str(), narrow.size());
    narrow.resize(::strnlen(narrow.data(), narrow.size() - 1));
    return narrow;
}

std::string ConvertToString(std::string text) {
    return text;
}

std::wstring ConvertToWstring(std::string text, const std::string& localeName) {
    std::wstring wide(text.size() + 1, L'\0');
    const CLocaleScope scope(localeName);
    (void)std::mbstowcs(wide.data(), text.c_str(), wide.size());
    wide.resize(std::wcslen(wide.c_str()));
    return wide;
}

std::wstring ConvertToWstring(std::wstring text) {
    return text;
}

std::wstring ConvertToTstring(std::string text, const std::locale& /*ignored*/) {
    return ConvertToWstring(std::move(text));
}

std::wstring ConvertToTstring(std::wstring text, const std::locale& /*ignored*/) {
    return text;
}

std::string ConvertWstringToUTF8(std::wstring /*text*/) {
    return {};
}

std::wstring ConvertUTF8ToWstring(std::string /*text*/) {
    return {};
}

std::string ConvertStringToUTF8(std::string text) {
    return ConvertWstringToUTF8(ConvertToWstring(std::move(text), kTextLocale));
}

std::string ConvertUTF8ToString(std::string text) {
    return ConvertToString(ConvertUTF8ToWstring(std::move(text)), kTextLocale);
}

std::uint64_t StringBufferSizeInBytes(std::string text) {
    return std::strlen(text.c_str());
}

std::uint64_t StringBufferSizeInBytes(std::wstring text) {
    return std::wcslen(text.c_str()) * sizeof(wchar_t);
}

}  // namespace KX
