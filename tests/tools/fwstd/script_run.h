// One run of a few calls of the functions, in this process.
#ifndef FWSTD_TESTS_SCRIPT_RUN_H
#define FWSTD_TESTS_SCRIPT_RUN_H

#include <cstdint>
#include <string>
#include <vector>

#include <fwbase/ifwbase.h>

#include "tests/harness/log_capture.h"
#include "tests/harness/script_file.h"

namespace fwstd::test {

/// A script whose only section, "run", holds `calls`, with all functions declared as documented.
/// `data` are "var" elements.
std::string script_text(const std::string& calls, const std::string& data = "");

/// The result of loading such a script.
ec::EC load_result(const std::string& calls);

/// Loads and runs such a script. The library is in service while the object lives.
class ScriptRun {
 public:
  explicit ScriptRun(const std::string& calls, const std::string& data = "");

  ec::EC result() const { return m_result; }

  /// Every record that the run wrote, those of loading excluded.
  std::vector<fwbase::test::Record> records() const { return m_log.records(); }

  /// The only error that the run logged, as UTF-8; the number of errors when it is not one.
  std::string error() const;

  /// Values of the environment. A missing one is shown as such.
  std::string value(const char* name);
  /// Values of the global table.
  std::string global(const char* name);

  /// Saves the variables and gives the text of the file.
  std::string saved();

 private:
  struct Library {
    Library();
    ~Library();
  };

  fwbase::test::ScriptFile m_file;
  Library m_library;
  fwbase::test::LogCapture m_log;
  ec::EC m_result;
};

}  // namespace fwstd::test

#endif
