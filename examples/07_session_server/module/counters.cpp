#include "counters.h"

#include <charconv>
#include <string_view>

#include <fwbase/module.h>
#include <fwbase/values.h>

namespace session_server {

// The engine is called with the mutex held. That is safe: the engine calls the functions of this
// module without its own lock, so no thread holds the two in the opposite order.
void Counters::add(const char* name, std::uint64_t by) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  auto found = m_values.find(std::string_view(name));
  if (found == m_values.end()) {
    found = m_values.emplace(name, initial(name)).first;
  }
  found->second += by;
}

std::uint64_t Counters::initial(const char* name) {
  std::string text;
  if (ec::failed(fwbase::get(name, text))) {
    return 0;  // the engine has logged why
  }
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) {
    FWBASE_LOG_AT(nullptr, ERROR, "counter %s is '%s' in the script: it starts at 0", name,
                  text.c_str());
    return 0;
  }
  return value;
}

ec::EC Counters::store() {
  const std::lock_guard<std::mutex> guard(m_mutex);
  ec::EC result = ec::SCRIPT_OK;
  for (const auto& [name, value] : m_values) {
    result = fwbase::set(name.c_str(), std::to_string(value));
    if (ec::failed(result)) {
      return result;
    }
  }
  return result;
}

}  // namespace session_server
