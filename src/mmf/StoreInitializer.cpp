#include "mmf/StoreInitializer.h"

#include <sys/types.h>
#include <unistd.h>

#include <memory>
#include <new>

#include "mmf/MmfManager.h"

namespace {

struct Stores {
    CMmfManager managers[4];
};

// Room that neither construction nor destruction touches on its own.
union Room {
    constexpr Room() : unused(0) {}
    ~Room() {}  // NOLINT(modernize-use-equals-default): the default one is deleted

    char unused;
    Stores stores;
};

constinit Room room;
constinit int initializers = 0;  // static objects are built and destroyed by one thread at a time
constinit pid_t owner = 0;

// In ELF ahead of all static objects of the program, also of those in files that know nothing of the stores, with which
// the static library shares its order of initialisation. In Mach-O a priority orders the objects of its own file alone,
// and there the files that include the header do what they can.
#if __has_cpp_attribute(gnu::init_priority)
[[gnu::init_priority(101)]] const KX::CStoreInitializer first;
#endif

}  // namespace

constinit CMmfManager (&g_aFixMmfManager)[4] = room.stores.managers;

namespace KX {

CStoreInitializer::CStoreInitializer() {
    if (initializers++ != 0) return;
    new (&room.stores) Stores;
    owner = ::getpid();
}

CStoreInitializer::~CStoreInitializer() {
    // A forked child leaves the stores alone: their files are its parent's, and their locks may be held by threads
    // that it does not have.
    if (--initializers == 0 && owner == ::getpid()) std::destroy_at(&room.stores);
}

}  // namespace KX
