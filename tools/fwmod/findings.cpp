#include "findings.h"

#include <cxxabi.h>
#include <cstdlib>
#include <exception>
#include <memory>
#include <typeinfo>

#include "support/text.h"

namespace fwmod {

void Findings::step(Step step) {
  if (!is_copy()) {
    m_report.step = step;
  }
}

void Findings::fault(const std::string& text) {
  if (!is_copy() && !m_report.fault.set(text)) {
    while (true) {
      pause();  // the other thread ends the process
    }
  }
  _exit(0);
}

void Findings::left(const std::string& text) {
  if (!is_copy()) {
    m_report.left.add(text);
  }
}

void Findings::logged(const std::string& message) {
  if (is_copy()) {
    return;
  }
  const std::size_t last = message.find_last_not_of("\r\n");
  m_report.logged.add(tools::quoted(tools::readable(message.substr(0, last + 1))));
}

std::string demangled(const char* name) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> readable(
      abi::__cxa_demangle(name, nullptr, nullptr, &status), std::free);
  return readable != nullptr ? readable.get() : name;
}

std::string current_exception_text() {
  const std::type_info* const type = abi::__cxa_current_exception_type();
  std::string name = type != nullptr ? demangled(type->name()) : "something unknown";
  try {
    throw;  // cppcheck-suppress rethrowNoCurrentException  ; the caller has one
  } catch (const std::exception& exception) {
    return name + ": " + tools::quoted(tools::readable(exception.what()));
  } catch (...) {
    return name;
  }
}

}  // namespace fwmod
