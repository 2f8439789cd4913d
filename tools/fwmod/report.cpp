// Each finding goes at once to memory that survives the process.
#include "report.h"

#include <cxxabi.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <memory>
#include <typeinfo>

#include "command_line/text.h"
#include "command_line/utf8.h"

namespace fwmod {

std::size_t fitting(std::string_view text, std::size_t room) {
  std::size_t length = std::min(text.size(), room);
  while (length < text.size() && length > 0 && tools::is_utf8_continuation(text[length])) {
    --length;
  }
  return length;
}

std::string place(const Report& report, const std::string& function) {
  switch (report.step) {
    case Step::kStarting:
      return "before it is loaded";
    case Step::kLoading:
      return "while loading";
    case Step::kCreating:
      return report.module == nullptr ? "in " + function + "()" : "in init()";
    case Step::kRunning:
      return "after init()";
    case Step::kProductCreating:
      return report.product == nullptr ? "in the factory's create()"
                                       : "in init() of the factory's module";
    case Step::kProductReleasing:
      return "in release() of the factory's module, or in the factory's destroy()";
    case Step::kReleasing:
      return "in release()";
    case Step::kUnloading:
      return "while unloading";
    case Step::kReleased:
    case Step::kDone:
      return "after release()";
  }
  return "at an unknown place";  // the library has written there
}

void Findings::step(Step step) {
  if (!is_copy()) {
    m_report.step = step;
  }
}

void Findings::fault(const std::string& text) {
  if (!is_copy() && !m_report.fault.add(text)) {
    while (true) {
      pause();  // the other thread ends the process
    }
  }
  _exit(0);
}

void Findings::exception() {
  try {
    throw;  // cppcheck-suppress rethrowNoCurrentException  ; the caller has one
  } catch (const abi::__forced_unwind&) {
    fault("ends the host's thread " + place());
  } catch (...) {
    fault("throws " + current_exception_text() + " " + place());
  }
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
