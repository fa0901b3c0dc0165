#include "string/LocaleScope.h"

#include <cerrno>
#include <map>
#include <mutex>
#include <new>
#include <shared_mutex>

namespace KX {
namespace {

constexpr locale_t kNoLocale = nullptr;

// The locales loaded so far, by name. Never destroyed: the stores convert paths in their static destructors, which
// may run after those of this file.
struct LocaleCache {
    std::shared_mutex lock;
    std::map<std::string, locale_t> locales;
};

LocaleCache& Cache() {
    static LocaleCache& cache = *new LocaleCache;
    return cache;
}

// Whether the name, or what a mixed name says of some category, leaves the choice to the environment, which may
// be another one at the next call.
bool FollowsEnvironment(const std::string& name) {
    return name.empty() || name.ends_with('=') || name.find("=;") != std::string::npos;
}

locale_t LoadLocale(const std::string& name) {
    errno = 0;  // which newlocale leaves as it is where it remembers that it does not know the name
    const locale_t loaded = ::newlocale(LC_ALL_MASK, name.c_str(), kNoLocale);
    if (loaded == kNoLocale && errno == ENOMEM) throw std::bad_alloc();  // else the name would count as unknown
    return loaded;
}

locale_t FindLocale(const std::string& name) {
    LocaleCache& cache = Cache();
    const std::shared_lock guard(cache.lock);
    const auto found = cache.locales.find(name);
    return found == cache.locales.end() ? kNoLocale : found->second;
}

// The kept locale of that name, loaded at its first use; null for a name that the C library does not know, which is
// asked for again at each call because it may become known.
locale_t KeptLocale(const std::string& name) {
    if (const locale_t found = FindLocale(name)) return found;

    LocaleCache& cache = Cache();
    const std::unique_lock guard(cache.lock);
    const auto entry = cache.locales.try_emplace(name, kNoLocale).first;
    if (entry->second == kNoLocale) entry->second = LoadLocale(name);  // else another thread was faster
    const locale_t kept = entry->second;
    if (kept == kNoLocale) cache.locales.erase(entry);
    return kept;
}

locale_t Use(locale_t locale) {
    return locale == kNoLocale ? kNoLocale : ::uselocale(locale);
}

}  // namespace

CLocaleScope::CLocaleScope(const std::string& name)
    : environment(FollowsEnvironment(name) ? LoadLocale(name) : kNoLocale),
      previous(Use(FollowsEnvironment(name) ? environment : KeptLocale(name))) {}

CLocaleScope::~CLocaleScope() {
    if (previous != kNoLocale) ::uselocale(previous);
    if (environment != kNoLocale) ::freelocale(environment);
}

}  // namespace KX
