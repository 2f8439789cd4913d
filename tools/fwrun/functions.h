// --functions: what the modules offer.
#ifndef FWRUN_FUNCTIONS_H
#define FWRUN_FUNCTIONS_H

#include <string>

namespace fwrun {

/// A line for each function that is registered now, in the order of the names: its parameters, with
/// the defaults that it tells, and what it does.
std::string functions_text();

}  // namespace fwrun

#endif
