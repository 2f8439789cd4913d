// The process that tries a library. It plays the host, and may crash, hang or end at any moment.
#ifndef FWMOD_INSPECTION_H
#define FWMOD_INSPECTION_H

#include "options.h"

namespace fwmod {

/// The name by which this program, with the same arguments, is that process.
constexpr char kInspection[] = "fwmod: inspection";

/// Tries the library and leaves the findings in the shared report. An exception that nothing
/// catches is a finding.
[[noreturn]] void run_inspection(const Options& options) noexcept;

}  // namespace fwmod

#endif
