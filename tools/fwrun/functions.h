// --functions: the functions of the modules.
#ifndef FWRUN_FUNCTIONS_H
#define FWRUN_FUNCTIONS_H

#include <string>

namespace fwrun {

/// A line for each registered function, sorted by name: its parameters, with their defaults, and
/// its description.
std::string functions_text();

}  // namespace fwrun

#endif
