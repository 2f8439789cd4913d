// Starts the library as a host does: scripts are compared with the functions that the engine has.
#include "run.h"

#include <algorithm>

#include <fwbase/check.h>

#include "command_line/error_log.h"
#include "command_line/standard_input.h"
#include "functions.h"
#include "modules/modules.h"
#include "printing.h"
#include "report.h"

namespace fwcheck {

namespace {

// Functions of catalogues come first, so that those of modules replace them.
bool register_functions(const Options& options, StandIns& stand_ins) {
  for (const std::string& file : options.catalogues) {
    if (!stand_ins.add(file)) {
      return false;
    }
  }
  std::vector<tools::ModuleArgument> modules = options.modules;
  if (options.catalogues.empty()) {
    modules.insert(modules.begin(), tools::kGeneralFunctions);
  }
  tools::ErrorLog errors;
  return tools::create_modules(modules, errors);
}

std::string printed(Print form) {
  const std::string catalogue = fwbase::catalogue();
  switch (form) {
    case Print::kTemplate:
      return template_text(tools::functions_of(catalogue));
    case Print::kSchema:
      return schema_text(tools::functions_of(catalogue));
    case Print::kMarkdown:
      return markdown_text(tools::functions_of(catalogue));
    case Print::kCatalogue:
    case Print::kNothing:
      break;
  }
  return catalogue;
}

std::vector<fwbase::Finding> findings_of(const std::string& script, const Options& options) {
  fwbase::CheckOptions given;
  given.any_function = options.any_function;
  given.environment = options.environment;
  std::vector<fwbase::Finding> findings =
      script == "-" ? fwbase::check_script(tools::StandardInput().path().c_str(), given)
                    : fwbase::check_script(script.c_str(), given);
  std::erase_if(findings, [&](const fwbase::Finding& finding) {
    return !finding.error &&
           std::count(options.ignored.begin(), options.ignored.end(), finding.rule) != 0;
  });
  return findings;
}

Status check(const Options& options) {
  Report report(options.format);
  for (const std::string& script : options.scripts) {
    report.add(script, findings_of(script, options));
  }
  if (!report.write()) {
    return kNothing;
  }
  return report.errors() != 0 || (options.strict && report.warnings() != 0) ? kFindings : kClean;
}

}  // namespace

Status run(const Options& options) {
  const bool is_started = tools::start_library();
  StandIns stand_ins;
  const tools::Library library;  // ends before the functions, which the engine uses until then
  if (!is_started || !register_functions(options, stand_ins)) {
    return kNothing;
  }
  if (options.print != Print::kNothing) {
    return write_out(printed(options.print)) ? kClean : kNothing;
  }
  return check(options);
}

}  // namespace fwcheck
