// Marks what the shared library exports, and the results that a caller must check.
#ifndef FWBASE_EXPORT_H
#define FWBASE_EXPORT_H

/// Exported from libfwbase.so; a module library exports its creation function with it.
#define FWBASE_API __attribute__((visibility("default")))

/// A result that must not be ignored: the compiler warns, in C++17 and later.
#if __cplusplus >= 201703L
#define FWBASE_NODISCARD [[nodiscard]]
#else
#define FWBASE_NODISCARD
#endif

/// The same for the operations of the interfaces, in hosts that define FWBASE_STRICT_RESULTS before
/// they include a header of the library. Other hosts get no new warnings. GCC ignores [[nodiscard]]
/// on virtual calls; the attribute that GCC does heed there also warns of a result that is cast to
/// void.
#if !defined FWBASE_STRICT_RESULTS
#define FWBASE_RESULT
#elif defined __clang__
#define FWBASE_RESULT FWBASE_NODISCARD
#else
#define FWBASE_RESULT __attribute__((warn_unused_result))
#endif

#endif
