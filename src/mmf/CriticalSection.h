#pragma once

#include <pthread.h>

#include "mmf/ThreadAnnotations.h"

// A mutex with default attributes: a thread that takes it twice waits for itself.
class KX_CAPABILITY("mutex") CKXCriticalSection {
public:
    CKXCriticalSection() { ::pthread_mutex_init(&mutex, nullptr); }
    ~CKXCriticalSection() { ::pthread_mutex_destroy(&mutex); }

    CKXCriticalSection(const CKXCriticalSection&) = delete;
    CKXCriticalSection& operator=(const CKXCriticalSection&) = delete;

    // Waits until no other thread holds it.
    void Lock() KX_ACQUIRE() { ::pthread_mutex_lock(&mutex); }
    // By the thread that holds it.
    void Unlock() KX_RELEASE() { ::pthread_mutex_unlock(&mutex); }

private:
    pthread_mutex_t mutex{};
};

// Holds a critical section for the length of a scope. The section must outlive it.
class KX_SCOPED_CAPABILITY CKXCriticalSectionSmartLock {
public:
    // Waits for the section.
    explicit CKXCriticalSectionSmartLock(CKXCriticalSection& entered) KX_ACQUIRE(entered) : section(&entered) {
        entered.Lock();
    }
    virtual ~CKXCriticalSectionSmartLock() KX_RELEASE() { section->Unlock(); }

    CKXCriticalSectionSmartLock(const CKXCriticalSectionSmartLock&) = delete;
    CKXCriticalSectionSmartLock& operator=(const CKXCriticalSectionSmartLock&) = delete;

private:
    CKXCriticalSection* section;
};
