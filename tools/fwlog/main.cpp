// fwlog: prints the records of logs.
#include <unistd.h>

#include <csignal>
#include <memory>
#include <optional>

#include "call_tree.h"
#include "command_line/command.h"
#include "delivery.h"
#include "following.h"
#include "interruption.h"
#include "json.h"
#include "last_records.h"
#include "options.h"
#include "output.h"
#include "reading.h"
#include "statistics.h"
#include "text.h"

namespace fwlog {

namespace {

void note_interruption(int) { interruption_came = 1; }

void end_at_interruption(int) { _exit(kInterrupted); }

void handle_interruption(bool follow) {
  struct sigaction action = {};
  action.sa_handler = follow ? note_interruption : end_at_interruption;
  sigaction(SIGINT, &action, nullptr);
}

// When the reader goes away, ends silently, as other commands in a pipe do.
[[noreturn]] void end_with_pipe() {
  std::signal(SIGPIPE, SIG_DFL);
  kill(getpid(), SIGPIPE);
  _exit(128 + SIGPIPE);
}

std::unique_ptr<Sink> printer_of(const Options& options, Output& out) {
  const Style style{options.filter.encoding, tools::wants_colour(STDOUT_FILENO)};
  if (options.form == Form::kJson) {
    return std::make_unique<JsonLines>(style.encoding, out);
  }
  if (options.form == Form::kRaw) {
    return std::make_unique<RawBytes>(out);
  }
  if (options.stats) {
    return std::make_unique<Statistics>(style.encoding, out);
  }
  if (options.filter.calls) {
    return std::make_unique<CallTree>(style, out);
  }
  if (options.full) {
    return std::make_unique<FullText>(style, out);
  }
  return std::make_unique<TextLines>(style, out);
}

int print_logs(const Options& options) {
  Output out;
  const std::unique_ptr<Sink> printer = printer_of(options, out);
  std::optional<LastRecords> last;
  if (options.lines) {
    last.emplace(*options.lines, *printer);
  }
  Delivery delivery(options.filter, last ? static_cast<Sink&>(*last) : *printer);
  if (options.follow) {
    return follow_logs(options, delivery, out) ? kPassed : kFailed;
  }
  const bool all_read = read_logs(options, delivery);
  out.flush();
  return !all_read ? kFailed : delivery.any_passed() ? kPassed : kNonePassed;
}

int run(int argc, char** argv) {
  try {
    Options options;
    if (const std::optional<int> status = parse_options(argc, argv, options)) {
      return *status;
    }
    handle_interruption(options.follow);
    return print_logs(options);
  } catch (const ClosedPipe&) {
    end_with_pipe();
  } catch (const OutputFailed&) {
    return kFailed;
  }
}

}  // namespace

}  // namespace fwlog

int main(int argc, char** argv) {
  return tools::run_command("fwlog", fwlog::kFailed, [=] { return fwlog::run(argc, argv); });
}
