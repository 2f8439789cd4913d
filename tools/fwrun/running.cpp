#include "running.h"

#include <fwbase/ifwbase.h>

#include "output.h"
#include "support/modules.h"

namespace fwrun {

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
  const auto place = [&] {
    return failed_call(*loaded.script.sections.find(name), loaded.watch.succeeded());
  };
  try {
    const ec::EC result =
        fwbase::IFWBase::instance()->script()->exec_scommad(name.c_str(), loaded.environment);
    if (ec::failed(result)) {
      report_failure(place(), result, loaded.errors);
    }
    return ec::succeeded(result);
  } catch (...) {
    report_exception(place(), loaded.errors);
    return false;
  }
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

void report_failure(const std::string& what, ec::EC code, tools::ErrorLog& errors) {
  tools::report_failure(what, code, errors, complain);
}

void report_exception(const std::string& what, tools::ErrorLog& errors) {
  tools::report_exception(what, errors, complain);
}

}  // namespace fwrun
