// Clang's -Wthread-safety annotations; nothing for other compilers.
#ifndef SUPPORT_THREAD_SAFETY_H
#define SUPPORT_THREAD_SAFETY_H

#if defined(__clang__)
#define FWBASE_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define FWBASE_THREAD_ANNOTATION(attribute)
#endif

#define FWBASE_CAPABILITY FWBASE_THREAD_ANNOTATION(capability("lock"))
#define FWBASE_SCOPED_CAPABILITY FWBASE_THREAD_ANNOTATION(scoped_lockable)
#define FWBASE_GUARDED_BY(lock) FWBASE_THREAD_ANNOTATION(guarded_by(lock))
#define FWBASE_REQUIRES(lock) FWBASE_THREAD_ANNOTATION(requires_capability(lock))
#define FWBASE_REQUIRES_SHARED(lock) FWBASE_THREAD_ANNOTATION(requires_shared_capability(lock))
#define FWBASE_ACQUIRE(...) FWBASE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define FWBASE_ACQUIRE_SHARED(...) FWBASE_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define FWBASE_RELEASE(...) FWBASE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define FWBASE_RELEASE_SHARED(...) FWBASE_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define FWBASE_RELEASE_GENERIC(...) \
  FWBASE_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
#define FWBASE_NO_THREAD_SAFETY_ANALYSIS FWBASE_THREAD_ANNOTATION(no_thread_safety_analysis)

#endif
