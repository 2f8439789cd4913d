// Ctrl-C while following.
#ifndef FWLOG_INTERRUPTION_H
#define FWLOG_INTERRUPTION_H

#include <csignal>

namespace fwlog {

inline volatile std::sig_atomic_t interruption_came = 0;

/// True after Ctrl-C.
inline bool was_interrupted() { return interruption_came != 0; }

}  // namespace fwlog

#endif
