// How many calls have succeeded tells which call failed, and its place in the file.
#include "sections.h"

#include <chrono>
#include <optional>

#include <fwbase/ifwbase.h>

#include "interruption.h"
#include "modules/modules.h"
#include "output.h"
#include "progress.h"

namespace fwrun {

namespace {

using Clock = std::chrono::steady_clock;

// The call that failed or was interrupted is the one after those that succeeded. It may not have
// begun: the engine may have no function of its name.
std::string place_of_call(const Loaded& loaded, const Section& section) {
  const std::size_t succeeded = loaded.watch.succeeded();
  if (succeeded >= section.calls.size()) {
    return tools::in_users_language({"section '{1}'", "节“{1}”"}, {section.name});
  }
  const ScriptCall& call = section.calls[succeeded];
  return loaded.script_name + ":" + std::to_string(call.place.line) + ":" +
         std::to_string(call.place.column) + ": " +
         tools::in_users_language({"section '{1}', call {2}, {3}", "节“{1}”，第 {2} 个调用，{3}"},
                                  {section.name, std::to_string(succeeded + 1), call.function});
}

bool report_interruption(const Loaded& loaded, const Section& section) {
  complain({"{1}: interrupted", "{1}：已中断"}, {place_of_call(loaded, section)});
  return false;
}

// What the engine returns; nothing, after a complaint, when a function throws.
std::optional<ec::EC> result_of(const Section& section, const Loaded& loaded,
                                Clock::time_point begin) {
  std::optional<Progress> progress(std::in_place, section, loaded.watch, begin);
  try {
    return fwbase::IFWBase::instance()->script()->exec_scommad(section.name.c_str(),
                                                               loaded.environment);
  } catch (...) {
    progress.reset();
    tools::report_exception(place_of_call(loaded, section), loaded.errors);
    return {};
  }
}

bool run_section(const Section& section, const Loaded& loaded, Clock::time_point begin) {
  loaded.watch.begin(section, loaded.script.variables);
  const std::optional<ec::EC> result = result_of(section, loaded, begin);
  loaded.watch.end();
  if (was_interrupted()) {
    return report_interruption(loaded, section);
  }
  if (result && ec::failed(*result)) {
    tools::report_failure(place_of_call(loaded, section), *result, loaded.errors);
  }
  return result && ec::succeeded(*result);
}

}  // namespace

bool run_sections(const std::vector<std::string>& sections, const Loaded& loaded) {
  const Clock::time_point begin = Clock::now();
  for (const std::string& name : sections) {
    if (!run_section(*loaded.script.sections.find(name), loaded, begin)) {
      return false;
    }
  }
  return true;
}

}  // namespace fwrun
