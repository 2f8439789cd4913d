// How the process that tries a library says what it finds.
#ifndef FWMOD_FINDINGS_H
#define FWMOD_FINDINGS_H

#include <unistd.h>

#include <string>
#include <utility>

#include "report.h"

namespace fwmod {

/// Writes into the report. Any thread may; a copy of the process that the library makes with fork()
/// writes nothing.
class Findings {
 public:
  /// function   the name of the creation function
  Findings(Report& report, std::string function)
      : m_report(report), m_function(std::move(function)), m_process(getpid()) {}

  Report& report() { return m_report; }
  const std::string& function() const { return m_function; }

  void step(Step step);
  /// What runs now, such as "in init()".
  std::string place() const { return fwmod::place(m_report, m_function); }

  /// The library is faulty: ends the process. Of two threads the first has its say.
  [[noreturn]] void fault(const std::string& text);
  void left(const std::string& text);
  /// A message of the run log, in whatever encoding.
  void logged(const std::string& message);

 private:
  bool is_copy() const { return getpid() != m_process; }

  Report& m_report;
  const std::string m_function;
  const pid_t m_process;
};

/// Inside of a catch block: the exception's type and text, such as
/// `std::runtime_error: "no such host"`.
std::string current_exception_text();

/// A C++ name as it is written in sources; other names as they are.
std::string demangled(const char* name);

}  // namespace fwmod

#endif
