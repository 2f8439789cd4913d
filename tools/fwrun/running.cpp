#include "running.h"

#include <fwbase/ifwbase.h>

#include "output.h"
#include "support/text.h"

namespace fwrun {

using tools::described;

namespace {

// The call that failed is the one after those that succeeded. It need not have begun: the engine
// may have no function of its name.
std::string failed_call(const Section& section, std::size_t succeeded) {
  std::string text = "section '" + section.name + "'";
  if (succeeded < section.calls.size()) {
    text += ", call " + std::to_string(succeeded + 1) + ", " + section.calls[succeeded].function;
  }
  return text;
}

bool run_section(const std::string& name, const Loaded& loaded) {
  loaded.watch.begin(name);
  const ec::EC result =
      fwbase::IFWBase::instance()->script()->exec_scommad(name.c_str(), loaded.environment);
  if (ec::succeeded(result)) {
    return true;
  }
  report_failure(failed_call(*loaded.script.section(name), loaded.watch.succeeded()), result,
                 loaded.errors);
  return false;
}

}  // namespace

bool run_sections(const std::vector<std::string>& sections, const Loaded& loaded) {
  for (const std::string& name : sections) {
    if (!run_section(name, loaded)) {
      return false;
    }
  }
  return true;
}

void report_failure(const std::string& what, ec::EC code, ErrorLog& errors) {
  complain(what + ": " + described(code));
  for (const std::string& error : errors.take_errors()) {
    complain("  " + error);
  }
}

}  // namespace fwrun
