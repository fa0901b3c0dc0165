#pragma once

#include <clocale>
#include <string>

#if __has_include(<xlocale.h>)
#include <xlocale.h>  // where BSD-born systems declare newlocale and uselocale
#endif

namespace KX {

// Runs the calling thread under a named locale for one scope, and under the locale in force if the C library does
// not know the name. The process's own locale is not touched. Loaded locales are kept by name for the life of the
// process; a name that leaves its choice to the environment ("") is loaded each time. std::bad_alloc may leave the
// constructor.
class CLocaleScope {
public:
    explicit CLocaleScope(const std::string& name);
    ~CLocaleScope();

    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    locale_t environment;  // loaded for this scope alone, as the environment may differ at the next
    locale_t previous;     // what to go back to, null where nothing was switched
};

}  // namespace KX
