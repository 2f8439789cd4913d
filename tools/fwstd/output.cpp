// Output: standard output and the run log.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include <strings.h>

#include <fwbase/ifwbase.h>

#include "command_line/charset.h"
#include "fwstd/functions.h"

namespace fwstd {

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;

// Flushes at once, so that this call fails when the output is gone.
ec::EC print(const Call& call, const char* text) {
  if (std::printf("%s\n", text) < 0 || std::fflush(stdout) != 0) {
    const int error = errno;
    std::clearerr(stdout);
    return call.fail(ec::SCRIPT_BAD_PARAM, "cannot write to standard output: %s",
                     std::strerror(error));
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

// Writes the whole text, which may be longer than the macros allow.
ec::EC log(const Call& call, const std::string& name, const std::string& text) {
  const std::optional<IRunLog::Type> level = level_named(name.c_str());
  if (!level) {
    return fail(call, ec::SCRIPT_BAD_PARAM,
                "'" + name +
                    "' is no level; the levels are trace, debug, warn, error, alert and "
                    "dump");
  }
  IRunLog* const runlog = IFWBase::instance()->runlog();
  if ((IRunLog::ms_type_sign.load(std::memory_order_relaxed) & *level) != 0 && runlog != nullptr) {
    const std::unique_ptr<char[]> location(IRunLog::FormatStr(
        "this(0x%x) log %s(%d) CT:%s %s", 0U, __FILE__, __LINE__, __DATE__, __TIME__));
    runlog->write(*level, tools::gbk_of(text).c_str(), location.get());
  }
  return ec::SCRIPT_OK;
}

}  // namespace

std::span<Function> output_functions() {
  static Function functions[] = {
      {"print", "Writes a text and an end of line to standard output.", {param("text")}, print},
      {"log",
       "Writes a text to the run log.",
       {param("level", "trace, debug, warn, error, alert or dump"), param("text")},
       log},
  };
  return functions;
}

}  // namespace fwstd
