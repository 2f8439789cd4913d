// --list: what a script holds.
#ifndef FWRUN_LISTING_H
#define FWRUN_LISTING_H

#include <string>

#include "script_file.h"

namespace fwrun {

/// Sections with their calls, functions with their parameters, variables; a line for each.
std::string listing(const ScriptFile& script);

/// A variable's line: "  name: int = 5" or "  name: string = "text"".
std::string variable_line(const std::string& name, const std::string& type,
                          const std::string& value);

}  // namespace fwrun

#endif
