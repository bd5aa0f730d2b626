// Clang's thread-safety annotations under short names; other compilers see nothing.
#pragma once

#if defined(__clang__)
#define LIBCONFIG_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define LIBCONFIG_THREAD_ATTRIBUTE(x)
#endif

#define LIBCONFIG_CAPABILITY(x) LIBCONFIG_THREAD_ATTRIBUTE(capability(x))
#define LIBCONFIG_SCOPED_CAPABILITY LIBCONFIG_THREAD_ATTRIBUTE(scoped_lockable)
#define LIBCONFIG_GUARDED_BY(x) LIBCONFIG_THREAD_ATTRIBUTE(guarded_by(x))
#define LIBCONFIG_REQUIRES(...) LIBCONFIG_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define LIBCONFIG_ACQUIRE(...) LIBCONFIG_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define LIBCONFIG_TRY_ACQUIRE(...) LIBCONFIG_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define LIBCONFIG_RELEASE(...) LIBCONFIG_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define LIBCONFIG_EXCLUDES(...) LIBCONFIG_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define LIBCONFIG_RETURN_CAPABILITY(x) LIBCONFIG_THREAD_ATTRIBUTE(lock_returned(x))
#define LIBCONFIG_NO_THREAD_SAFETY_ANALYSIS LIBCONFIG_THREAD_ATTRIBUTE(no_thread_safety_analysis)
