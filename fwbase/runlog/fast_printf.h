// printf for the formats that hosts write most: what it knows it writes as vsnprintf does, to the
// byte, in a fraction of the time.
#ifndef FWBASE_RUNLOG_FAST_PRINTF_H
#define FWBASE_RUNLOG_FAST_PRINTF_H

#include <cstdarg>
#include <cstddef>
#include <optional>

namespace fwbase {

/// Writes what vsnprintf would, without a terminator, and gives its length. Nothing where it does
/// not know the format, or the text does not fit: then vsnprintf is to be asked, and `text` is
/// lost.
///
/// It knows %d %i %u %x %X, also for l, ll and z, %s, %.Ns, %.*s, %p, %f, %.Nf and %%, with a
/// width and the flags "-" and "0". A number with a point is left to vsnprintf where the locale has
/// another point, or the thread rounds otherwise than to the nearest.
std::optional<std::size_t> fast_printf(char* text, std::size_t room, const char* format,
                                       std::va_list args);

}  // namespace fwbase

#endif
