// A session server: starts the library, loads a module and a script, serves, and stops cleanly.
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <fwbase/fwbase.h>

#include "command_line.h"
#include "server.h"

namespace {

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::IRunLog;
using session_server::Server;

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

constexpr const char* kUsage = R"(usage: session_server --script FILE --module FILE [OPTION...]

Serves sessions on the loopback interface until SIGTERM or SIGINT.

  --script FILE        what to do for a session; counters are saved in this file at the end
  --module FILE        the module library that has the functions of the script
  --log FILE           the run log (session_server.log)
  --log-lines          log a record for each line and each session that ends, too
  --port N             0, as when not given: a port that the system chooses
  --threads N          threads that run scripts (as many as processors)
  --max-sessions N     more clients wait until a session ends (2000)
  --stall-seconds N    how long a client may leave its replies untaken (30)
  --help               this text
)";

struct Options {
  std::string script;
  std::string module;
  std::string log = "session_server.log";
  bool log_lines = false;
  bool help = false;
  Server::Settings server;
};

std::string parse(int argc, char** argv, Options& options) {
  const auto processors = static_cast<int>(std::thread::hardware_concurrency());
  options.server.threads = processors > 0 ? processors : 2;
  session_server::CommandLine line;
  line.text("--script", options.script);
  line.text("--module", options.module);
  line.text("--log", options.log);
  line.flag("--log-lines", options.log_lines);
  line.flag("--help", options.help);
  line.number("--port", options.server.port, 0, 65535);
  line.number("--threads", options.server.threads, 1, 256);
  line.number("--max-sessions", options.server.max_sessions, 1, 1000000);
  line.number("--stall-seconds", options.server.stall_seconds, 1, 3600);
  const std::string problem = line.parse(argc, argv);
  if (!problem.empty() || options.help) {
    return problem;
  }
  if (options.script.empty()) {
    return "option --script is missing";
  }
  return options.module.empty() ? "option --module is missing" : "";
}

int failed(const std::string& what) {
  std::fprintf(stderr, "session_server: %s\n", what.c_str());
  return kFailed;
}

int failed(const std::string& what, ec::EC code, const Options& options) {
  return failed(what + ": " + ec::text(code) + "; see the log, " + options.log);
}

/// For all threads, before there is a second one: the server reads them from a descriptor.
void block_signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  ::sigaddset(&signals, SIGINT);
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  ::signal(SIGPIPE, SIG_IGN);  // for whoever reads standard output
}

/// Each session takes a descriptor.
std::string raise_descriptor_limit(const Options& options) {
  const rlim_t needed = static_cast<rlim_t>(options.server.max_sessions) + 64;
  rlimit limit;
  if (::getrlimit(RLIMIT_NOFILE, &limit) == -1 || limit.rlim_cur >= needed) {
    return "";
  }
  if (limit.rlim_max < needed) {
    return "--max-sessions " + std::to_string(options.server.max_sessions) +
           " is more than the limit of " + std::to_string(limit.rlim_max) + " descriptors allows";
  }
  limit.rlim_cur = needed;
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0
             ? ""
             : std::string("cannot raise the limit of descriptors: ") + std::strerror(errno);
}

IMM::IBase* create_session_pool() { return new session_server::SessionPool; }

/// Opens the log, for records of trouble and, if wanted, of each line; a thread of its own writes
/// them, so that no session waits for the disk.
bool open_log(const Options& options) {
  IRunLog* const log = IFWBase::instance()->runlog();
  if (ec::failed(log->file(options.log.c_str()))) {
    return false;
  }
  log->info(IRunLog::INFO_TIME | IRunLog::INFO_PID);
  log->asynch(true);
  log->type(IRunLog::WARN | IRunLog::ERROR | IRunLog::ALERT |
            (options.log_lines ? unsigned{IRunLog::DUMP} : 0u));
  return true;
}

int serve(const Options& options, IMM::IFactory& sessions) {
  Server server(options.server, sessions);
  const std::string problem = server.start();
  if (!problem.empty()) {
    return failed(problem);
  }
  std::printf("listening on 127.0.0.1:%d\n", static_cast<int>(server.port()));
  std::fflush(stdout);
  server.run();
  return 0;
}

/// The library is in service. Loads what the options name, serves, and saves the counters.
int run(const Options& options) {
  IFWBase* const facade = IFWBase::instance();
  if (!open_log(options)) {
    return failed("cannot open the log " + options.log + ": " + std::strerror(errno));
  }
  for (const std::string& file : {options.module, options.script}) {
    if (::access(file.c_str(), R_OK) == -1) {
      return failed("cannot read " + file + ": " + std::strerror(errno));
    }
  }
  IMM::IBase* module = nullptr;
  ec::EC result =
      facade->mm()->create_module(module, options.module.c_str(), "create_module", nullptr);
  if (ec::failed(result)) {
    return failed("cannot load the module " + options.module, result, options);
  }
  // Behind the module: the script is checked against the functions that there are.
  result = facade->script()->load_script(options.script.c_str());
  if (ec::failed(result)) {
    return failed("cannot load the script " + options.script, result, options);
  }
  IMM::IBase* pool = nullptr;
  result = facade->mm()->create_module(pool, &create_session_pool, nullptr);
  if (ec::failed(result)) {
    return failed("cannot make the sessions' factory", result, options);
  }
  const int status = serve(options, static_cast<IMM::IFactory&>(*pool));
  facade->mm()->destroy_module(pool);
  if (status != 0) {
    return status;
  }
  result = facade->script()->exec_scommad("stop", nullptr);
  if (ec::succeeded(result)) {
    result = facade->script()->save_script();
  }
  return ec::succeeded(result) ? 0 : failed("cannot save the counters", result, options);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const std::string problem = parse(argc, argv, options);
  if (!problem.empty()) {
    std::fprintf(stderr, "session_server: %s; --help lists the options\n", problem.c_str());
    return kBadUsage;
  }
  if (options.help) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  block_signals();
  const std::string limit = raise_descriptor_limit(options);
  if (!limit.empty()) {
    return failed(limit);
  }
  IFWBase* const facade = IFWBase::instance();
  const ec::EC result = facade->init();
  const int status = ec::succeeded(result)
                         ? run(options)
                         : failed(std::string("cannot start: ") + ec::text(result));
  // The script engine first: its functions are in the module that release() unloads.
  if (facade->script() != nullptr) {
    facade->script()->release();
  }
  facade->release();
  return status;
}
