// Marks what the shared library exports, and results that a caller must look at.
#ifndef FWBASE_EXPORT_H
#define FWBASE_EXPORT_H

/// Exported from libfwbase.so; a module library exports its creation function with it.
#define FWBASE_API __attribute__((visibility("default")))

/// A result that must not be dropped: a warning where it is, in C++17 and later.
#if __cplusplus >= 201703L
#define FWBASE_NODISCARD [[nodiscard]]
#else
#define FWBASE_NODISCARD
#endif

/// The same for the operations of the interfaces, for hosts that ask for it: they define
/// FWBASE_STRICT_RESULTS before they include a header of the library. Hosts that do not ask are
/// warned of nothing that they were not warned of before. GCC does not look at [[nodiscard]] where
/// a call is virtual; what it looks at instead warns of a result that is cast to void, too.
#if !defined FWBASE_STRICT_RESULTS
#define FWBASE_RESULT
#elif defined __clang__
#define FWBASE_RESULT FWBASE_NODISCARD
#else
#define FWBASE_RESULT __attribute__((warn_unused_result))
#endif

#endif
