#include "counters.h"

#include <charconv>
#include <string_view>

#include <fwbase/module.h>

namespace session_server {

using fwbase::IFWBase;
using fwbase::IScript;

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
  if (ec::failed(IFWBase::instance()->script()->get_value(name, IScript::VT_STRING, &text))) {
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
    const std::string text = std::to_string(value);
    result = IFWBase::instance()->script()->set_value(name.c_str(), IScript::VT_STRING, &text);
    if (ec::failed(result)) {
      return result;
    }
  }
  return result;
}

}  // namespace session_server
