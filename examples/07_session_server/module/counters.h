// The counters that scripts count in, and that a clean stop saves in the script file.
#ifndef SESSION_SERVER_COUNTERS_H
#define SESSION_SERVER_COUNTERS_H

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include <fwbase/ec.h>

namespace session_server {

/// Counts on behalf of all threads at once.
///
/// The values live here, not in the script engine: get_value() followed by set_value() is two
/// steps, and two threads that count at the same moment would both read the old value, so that one
/// of them counts for nothing. The engine's global variables are where a counter begins and where
/// store() puts it.
///
/// As text, of type "string": an int variable has 32 bits, which the bytes of a busy day exceed.
class Counters {
 public:
  /// Adds to a counter. A new one begins at the value of the global variable of that name.
  void add(const char* name, std::uint64_t by);

  /// Writes each counter into the global variable of its name. The first failure ends it.
  ec::EC store();

 private:
  static std::uint64_t initial(const char* name);

  std::mutex m_mutex;
  std::map<std::string, std::uint64_t, std::less<>> m_values;
};

}  // namespace session_server

#endif
