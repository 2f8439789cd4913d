// The process that tries a library: it plays the host, and may crash, hang or end at any moment.
#ifndef FWMOD_INSPECTION_H
#define FWMOD_INSPECTION_H

#include <optional>
#include <string>
#include <vector>

namespace fwmod {

struct Request {
  std::vector<std::string> files;  ///< to be tried in this order
  std::string function;
  std::optional<std::string> argument;
  bool exercise = false;
};

/// The arguments that make this program such a process, as run_self() takes them.
std::vector<std::string> inspection_arguments(const Request& request);

/// Whether these are such arguments.
bool is_inspection(int argc, char** argv);

/// Tries the library and leaves the findings in the shared report. Never returns.
[[noreturn]] void run_inspection(int argc, char** argv);

}  // namespace fwmod

#endif
