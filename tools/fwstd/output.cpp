// Output: standard output and the run log.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include <strings.h>

#include <fwbase/irunlog.h>

#include "fwstd/functions.h"

namespace fwstd {

namespace {

using fwbase::IRunLog;
using fwbase::IScript;

// Written through at once, so that it is this call that fails when the output is gone.
ec::EC print(const Call& call) {
  if (std::printf("%s\n", call.text(0)) < 0 || std::fflush(stdout) != 0) {
    const int error = errno;
    std::clearerr(stdout);
    return call.fail(ec::SCRIPT_BAD_PARAM,
                     std::string("cannot write to standard output: ") + std::strerror(error));
  }
  return ec::SCRIPT_OK;
}

std::optional<IRunLog::Type> level_named(const char* name) {
  static constexpr struct {
    const char* name;
    IRunLog::Type level;
  } kLevels[] = {{"trace", IRunLog::TRACE}, {"debug", IRunLog::DEBUG}, {"warn", IRunLog::WARN},
                 {"error", IRunLog::ERROR}, {"alert", IRunLog::ALERT}, {"dump", IRunLog::DUMP}};
  for (const auto& known : kLevels) {
    if (strcasecmp(known.name, name) == 0) {
      return known.level;
    }
  }
  return {};
}

ec::EC log(const Call& call) {
  const std::optional<IRunLog::Type> level = level_named(call.text(0));
  if (!level) {
    return call.fail(ec::SCRIPT_BAD_PARAM, std::string("'") + call.text(0) +
                                               "' is no level; the levels are trace, debug, "
                                               "warn, error, alert and dump");
  }
  call.log(*level, call.text(1));
  return ec::SCRIPT_OK;
}

}  // namespace

std::span<Function> output_functions() {
  static Function functions[] = {
      {"print", {IScript::VT_STRING}, print},
      {"log", {IScript::VT_STRING, IScript::VT_STRING}, log},
  };
  return functions;
}

}  // namespace fwstd
