// printf for the formats that hosts write most: what it knows it writes as vsnprintf does, to the
// byte, in a fraction of the time.
#ifndef FWBASE_RUNLOG_FAST_PRINTF_H
#define FWBASE_RUNLOG_FAST_PRINTF_H

#include <cstdarg>
#include <cstddef>
#include <optional>

namespace fwbase {

/// Writes the text that vsnprintf would write, without a terminator, and returns its length.
/// Returns nothing for a format that it does not know, or when the text does not fit. Then the
/// content of `text` is undefined, and the caller should call vsnprintf.
///
/// It knows %d %i %u %x %X, also for l, ll and z, %s, %.Ns, %.*s, %p, %f, %.Nf and %%, with a
/// width and the flags "-" and "0". It leaves a number with a point to vsnprintf when the locale
/// has another decimal point or the thread does not round to the nearest.
std::optional<std::size_t> fast_printf(char* text, std::size_t room, const char* format,
                                       std::va_list args);

}  // namespace fwbase

#endif
