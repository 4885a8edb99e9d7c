// Names for Clang's thread-safety analysis, which checks at compile time that data guarded by a mutex is
// accessed only while the mutex is held. With other compilers they are empty. The native builds with Clang
// fail on a violation.
//
// Portable.
#pragma once

#ifdef __clang__
#define ZQ_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define ZQ_THREAD_SAFETY(attribute)
#endif

#define ZQ_CAPABILITY(name) ZQ_THREAD_SAFETY(capability(name))
#define ZQ_SCOPED_CAPABILITY ZQ_THREAD_SAFETY(scoped_lockable)
#define ZQ_GUARDED_BY(mutex) ZQ_THREAD_SAFETY(guarded_by(mutex))
#define ZQ_ACQUIRE(...) ZQ_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define ZQ_RELEASE(...) ZQ_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define ZQ_REQUIRES(...) ZQ_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define ZQ_EXCLUDES(...) ZQ_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
#define ZQ_UNCHECKED_LOCKS ZQ_THREAD_SAFETY(no_thread_safety_analysis)
