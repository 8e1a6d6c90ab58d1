#pragma once

// Names for clang's thread-safety attributes; empty for other compilers. A violation is an error in the clang build.

#if defined(__clang__)
#define CVT_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define CVT_THREAD_ATTRIBUTE(x)
#endif

#define CVT_CAPABILITY(name) CVT_THREAD_ATTRIBUTE(capability(name))
#define CVT_SCOPED_CAPABILITY CVT_THREAD_ATTRIBUTE(scoped_lockable)
#define CVT_GUARDED_BY(mutex) CVT_THREAD_ATTRIBUTE(guarded_by(mutex))
#define CVT_REQUIRES(...) CVT_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define CVT_EXCLUDES(...) CVT_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define CVT_ACQUIRE(...) CVT_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define CVT_RELEASE(...) CVT_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define CVT_TRY_ACQUIRE(...) CVT_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define CVT_NO_THREAD_SAFETY_ANALYSIS CVT_THREAD_ATTRIBUTE(no_thread_safety_analysis)
