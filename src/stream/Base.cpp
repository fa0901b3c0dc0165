#include "stream/Base.h"

namespace KX {

namespace {

// The count of an object that is to be deleted: far from 0, so that a pointer to it that comes and goes while it is
// being destroyed does not have it deleted again.
constexpr std::uint32_t kDoomed = 0x80000000U;

// What waits to be deleted in this thread while some object is being destroyed.
thread_local CBase* doomed = nullptr;
thread_local bool isDeleting = false;

}  // namespace

std::map<long long, const CRtti*>& CRtti::GetVersionMap() {
    static std::map<long long, const CRtti*> registry;
    return registry;
}

const CRtti* CRtti::GetVersionMapIDtoRtti(long long id) {
    const auto& registry = GetVersionMap();
    const auto found = registry.find(id);
    return found == registry.end() ? nullptr : found->second;
}

std::map<std::string, CBase::CreateFunction>& CBase::GetFactory() {
    static std::map<std::string, CreateFunction> factory;
    return factory;
}

CBase::CreateFunction CBase::GetFactoryFunction(const std::string& name) {
    const auto& factory = GetFactory();
    const auto found = factory.find(name);
    return found == factory.end() ? nullptr : found->second;
}

void CBase::IncrementReferences() {
    ++references;
}

void CBase::DecrementReferences() {
    if (references == 0) return;  // was never held
    if (--references == 0) DeleteWithoutRecursion();
}

void CBase::DeleteWithoutRecursion() {
    references = kDoomed;
    nextToDelete = doomed;
    doomed = this;
    if (isDeleting) return;  // whoever began it deletes this one too

    isDeleting = true;
    while (doomed != nullptr) {
        CBase* const next = doomed;
        doomed = next->nextToDelete;
        delete next;
    }
    isDeleting = false;
}

}  // namespace KX
