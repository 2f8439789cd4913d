// --list: the content of a script, and how names, values and calls are shown. Names are quoted
// where needed, and all texts are escaped.
#ifndef FWRUN_LISTING_H
#define FWRUN_LISTING_H

#include <string>
#include <vector>

#include "script_file.h"

namespace fwrun {

/// Sections with their calls, functions with their parameters, variables; a line for each.
std::string listing(const ScriptFile& script);

/// A value of that type: 5 or "text".
std::string literal(const std::string& type, const std::string& value);

/// A call on one line: name(a=1, b="text") -> result. `result` may be empty.
std::string call_text(const std::string& function, const std::vector<std::string>& arguments,
                      const std::string& result);

/// A function's line: "  name(a: int, b: string = "text")".
std::string function_line(const Function& function);

/// A variable's line: "  name: int = 5" or "  name: string = "text"".
std::string variable_line(const std::string& name, const std::string& type,
                          const std::string& value);

}  // namespace fwrun

#endif
