// Puts the findings about the file, the report, and the end of the process into words.
#include "check.h"

#include <string.h>
#include <sys/wait.h>

#include <chrono>
#include <string>
#include <vector>

#include "child_process.h"
#include "command_line/command.h"
#include "command_line/text.h"
#include "elf_file.h"
#include "inspection.h"
#include "loading.h"

namespace fwmod {

namespace {

// "SIGSEGV (Segmentation fault)"
std::string signal_text(int number) {
  const char* const name = sigabbrev_np(number);
  const char* const meaning = sigdescr_np(number);
  return name == nullptr || meaning == nullptr ? "signal " + std::to_string(number)
                                               : std::string("SIG") + name + " (" + meaning + ")";
}

// Empty for a sound library.
std::string fault_of(const Report& report, const Ending& ending, const Options& options) {
  const std::vector<std::string> told = report.fault.get();
  if (!told.empty()) {
    return told.front();
  }
  const std::string place = fwmod::place(report, options.module.function);
  if (ending.timed_out) {
    return "hangs " + place + ": killed after " + std::to_string(options.timeout) + " s";
  }
  if (WIFSIGNALED(ending.status)) {
    return "crashes " + place + ": " + signal_text(WTERMSIG(ending.status));
  }
  if (report.step != Step::kDone) {
    return "ends the process " + place + ": exit status " +
           std::to_string(WEXITSTATUS(ending.status));
  }
  return "";
}

std::string soundness(const Report& report, const Options& options) {
  if (!options.exercise) {
    return "ok: it loads with all symbols bound, exports " + options.module.function +
           "(), and unloads";
  }
  return std::string("ok: ") + (report.product != nullptr ? "factory" : "module") +
         " created, initialised and released; nothing left behind";
}

// Names and texts come from files and libraries. None of them may act on a terminal.
std::string line(const std::string& text) { return tools::escaped(text) + "\n"; }

template <typename Texts>
std::string lines_of(const Texts& texts, const std::string& prefix) {
  const std::vector<std::string> all = texts.get();
  std::string lines;
  for (const std::string& text : all) {
    lines += line("  " + prefix + text);
  }
  if (texts.count() > all.size()) {
    lines += line("  " + prefix + "and " + std::to_string(texts.count() - all.size()) + " more");
  }
  return lines;
}

Status tell(const std::string& name, const Report& report, const Ending& ending,
            const Options& options) {
  const std::string logged = lines_of(report.logged, "logged: ");
  const std::string fault = fault_of(report, ending, options);
  if (!fault.empty()) {
    return write_out(line(name + ": " + fault) + logged, kFaulty);
  }
  const std::string left = lines_of(report.left, "");
  if (!left.empty()) {
    return write_out(line(name + ": sound, but leaves behind:") + left + logged, kLeavesThings);
  }
  return write_out(line(name + ": " + soundness(report, options)) + logged, kSound);
}

}  // namespace

Status check(const Options& options, char** argv) {
  const std::vector<std::string> files = library_files(options.module.path);
  const bool is_one_file = files.front().find('/') != std::string::npos;
  const std::string name = is_one_file ? files.front() : options.module.path;
  if (is_one_file) {
    const std::string fault = fault_of_file(name);
    if (!fault.empty()) {
      return write_out(line(name + ": " + fault), kFaulty);
    }
  }
  const SharedMemory<Report> report;
  const Ending ending =
      run_self(argv, kInspection, report.descriptor(), std::chrono::seconds(options.timeout));
  if (report->step == Step::kStarting) {
    tools::complain_text(fault_of(*report, ending, options));
    return kNotChecked;
  }
  return tell(name, *report, ending, options);
}

}  // namespace fwmod
