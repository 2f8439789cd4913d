// Running the sections of a loaded script.
#ifndef FWRUN_SECTIONS_H
#define FWRUN_SECTIONS_H

#include <string>
#include <vector>

#include "call_watch.h"
#include "command_line/error_log.h"
#include "script_file.h"

namespace fwrun {

/// What the sections run with.
struct Loaded {
  std::string script_name;  ///< as given
  const ScriptFile& script;
  CallWatch& watch;
  tools::ErrorLog& errors;
  void* environment;
};

/// Runs the sections one after the other. Stops at the first call that fails, and at Ctrl-C:
/// complains about it, with the call, and returns false.
bool run_sections(const std::vector<std::string>& sections, const Loaded& loaded);

}  // namespace fwrun

#endif
