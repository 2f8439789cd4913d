// The counters of the scripts, which a clean stop saves in the script file.
#ifndef SESSION_SERVER_COUNTERS_H
#define SESSION_SERVER_COUNTERS_H

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include <fwbase/ec.h>

namespace session_server {

/// Counts for all threads at once.
///
/// The values live here, not in the script engine: get_value() followed by set_value() is two
/// steps. Two threads that count at the same moment would both read the old value, and one count
/// would be lost. A counter begins with the engine's global variable, and store() writes it back
/// there.
///
/// The variables are strings: an int variable has 32 bits, which the bytes of a busy day exceed.
class Counters {
 public:
  /// Adds to a counter. A new counter begins at the value of the global variable of that name.
  void add(const char* name, std::uint64_t by);

  /// Writes each counter to the global variable of its name. The first failure ends this.
  ec::EC store();

 private:
  static std::uint64_t initial(const char* name);

  std::mutex m_mutex;
  std::map<std::string, std::uint64_t, std::less<>> m_values;
};

}  // namespace session_server

#endif
