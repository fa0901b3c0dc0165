#pragma once

// Names for clang's thread-safety attributes, checked at compile time with -Wthread-safety; nothing elsewhere.
#if defined(__clang__)
#define KX_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define KX_THREAD_ATTRIBUTE(attribute)
#endif

#define KX_CAPABILITY(name) KX_THREAD_ATTRIBUTE(capability(name))
#define KX_SCOPED_CAPABILITY KX_THREAD_ATTRIBUTE(scoped_lockable)
#define KX_GUARDED_BY(lock) KX_THREAD_ATTRIBUTE(guarded_by(lock))
#define KX_REQUIRES(lock) KX_THREAD_ATTRIBUTE(requires_capability(lock))
#define KX_ACQUIRE(...) KX_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define KX_RELEASE(...) KX_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define KX_EXCLUDES(lock) KX_THREAD_ATTRIBUTE(locks_excluded(lock))
