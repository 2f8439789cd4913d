// A session server: starts the library, loads a module and a script, serves, and stops cleanly.
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <fwbase/fwbase.h>
#include <fwbase/log_options.h>
#include <fwbase/module.h>

#include "command_line.h"
#include "console.h"
#include "server.h"

namespace {

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::IRunLog;
using session_server::Server;

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

constexpr const char* kUsage = R"(usage: session_server --script FILE --module FILE [OPTION...]

Serves sessions on the loopback interface until SIGTERM or SIGINT. SIGHUP replaces the script by
what its file says then; a faulty file changes nothing, and the log says what is wrong with it.

  --script FILE        what to do for a session; counters are saved in this file at the end
  --module FILE        the module library that has the functions of the script
  --log FILE           the run log (session_server.log)
  --journal            keep the queue of the log in a file beside it, FILE.journal, so that no
                       record is lost when the server is killed
  --log-lines          log a record for each line and each session that ends, too
  --port N             0, as when not given: a port that the system chooses
  --threads N          threads that run scripts (as many as processors)
  --max-sessions N     more clients wait until a session ends (2000, or as many as the limit of
                       descriptors allows)
  --idle-seconds N     how long a client may send no line (300)
  --stall-seconds N    how long a client may leave its replies untaken (30)
  --help               this text
)";

struct Options {
  std::string script;
  std::string module;
  std::string log = "session_server.log";
  bool journal = false;
  bool log_lines = false;
  bool help = false;
  int max_sessions = 0;  ///< 0: not given
  Server::Settings server;
};

std::string parse(int argc, char** argv, Options& options) {
  const auto processors = static_cast<int>(std::thread::hardware_concurrency());
  options.server.threads = processors > 0 ? processors : 2;
  session_server::CommandLine line;
  line.text("--script", options.script);
  line.text("--module", options.module);
  line.text("--log", options.log);
  line.flag("--journal", options.journal);
  line.flag("--log-lines", options.log_lines);
  line.flag("--help", options.help);
  line.number("--port", options.server.port, 0, 65535);
  line.number("--threads", options.server.threads, 1, 256);
  line.number("--max-sessions", options.max_sessions, 1, 1000000);
  line.number("--idle-seconds", options.server.idle_seconds, 1, 86400);
  line.number("--stall-seconds", options.server.stall_seconds, 1, 3600);
  std::string problem = line.parse(argc, argv);
  if (!problem.empty() || options.help) {
    return problem;
  }
  if (options.script.empty()) {
    return "option --script is missing";
  }
  return options.module.empty() ? "option --module is missing" : "";
}

void complain(const std::string& message) { session_server::complain("session_server", message); }

int failed(const std::string& what) {
  complain(what);
  return kFailed;
}

int failed(const std::string& what, ec::EC code, const Options& options) {
  return failed(what + ": " + ec::text(code) + "; see the log, " + options.log);
}

/// Blocks the signals for all threads, before a second one starts: the server reads them from a
/// descriptor.
void block_signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  ::sigaddset(&signals, SIGINT);
  ::sigaddset(&signals, SIGHUP);
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  ::signal(SIGPIPE, SIG_IGN);  // in case the reader of standard output is gone
}

/// Each session takes a descriptor. When the limit cannot be raised far enough, the server has
/// fewer sessions, unless the command line sets their number.
std::string raise_descriptor_limit(Options& options) {
  constexpr rlim_t kOthers = Server::kOtherHandles;
  int& sessions = options.server.max_sessions;
  sessions = options.max_sessions != 0 ? options.max_sessions : sessions;
  const rlim_t needed = static_cast<rlim_t>(sessions) + kOthers;
  rlimit limit;
  if (::getrlimit(RLIMIT_NOFILE, &limit) == -1 || limit.rlim_cur >= needed) {
    return "";
  }
  limit.rlim_cur = std::min(needed, limit.rlim_max);
  const rlim_t least = options.max_sessions != 0 ? needed : 1 + kOthers;
  if (limit.rlim_cur < least) {
    return "serving " + std::to_string(least - kOthers) + " at a time takes " +
           std::to_string(least) + " descriptors, but the limit (ulimit -Hn) is " +
           std::to_string(limit.rlim_max);
  }
  if (::setrlimit(RLIMIT_NOFILE, &limit) == -1) {
    return std::string("cannot raise the limit of descriptors: ") + std::strerror(errno);
  }
  if (limit.rlim_cur < needed) {
    sessions = static_cast<int>(limit.rlim_cur - kOthers);
    FWBASE_LOG_AT(nullptr, WARN, "%d sessions at a time: the limit of descriptors is %llu",
                  sessions, static_cast<unsigned long long>(limit.rlim_max));
  }
  return "";
}

IMM::IBase* create_session_pool() { return new session_server::SessionPool; }

/// Opens the log, for records of trouble and, if wanted, of each line. The log's writer thread
/// writes them, so that no session waits for the disk.
bool open_log(const Options& options) {
  IRunLog* const log = IFWBase::instance()->runlog();
  fwbase::LogOptions settings;
  settings.journal = options.journal;
  if (ec::failed(fwbase::log_options(settings)) || ec::failed(log->file(options.log.c_str()))) {
    return false;
  }
  log->info(IRunLog::INFO_TIME | IRunLog::INFO_PID);
  log->asynch(true);
  log->type(IRunLog::WARN | IRunLog::ERROR | IRunLog::ALERT |
            (options.log_lines ? unsigned{IRunLog::DUMP} : 0u));
  return true;
}

int save_counters(const Options& options) {
  fwbase::IScript* const script = IFWBase::instance()->script();
  ec::EC result = script->exec_scommad("stop", nullptr);
  if (ec::succeeded(result)) {
    result = script->save_script();
  }
  return ec::succeeded(result) ? 0 : failed("cannot save the counters", result, options);
}

int serve(const Options& options, IMM::IFactory& sessions) {
  Server server(options.server, sessions, options.script);
  const std::string problem = server.start();
  if (!problem.empty()) {
    return failed(problem);
  }
  std::printf("listening on 127.0.0.1:%d\n", static_cast<int>(server.port()));
  std::fflush(stdout);
  const bool served = server.run();
  const int status = save_counters(options);
  return served ? status : failed("cannot go on serving; see the log, " + options.log);
}

/// The library is in service. Loads what the options name, serves, and saves the counters.
int run(Options& options) {
  IFWBase* const facade = IFWBase::instance();
  if (!open_log(options)) {
    return failed("cannot open the log " + options.log + ": " + std::strerror(errno));
  }
  const std::string limit = raise_descriptor_limit(options);
  if (!limit.empty()) {
    return failed(limit);
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
    if (module != nullptr) {  // its init() failed: the manager does not know it
      module->release();
    }
    return failed("cannot load the module " + options.module, result, options);
  }
  // After the module: loading checks the script against the registered functions.
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
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const std::string problem = parse(argc, argv, options);
  if (!problem.empty()) {
    complain(problem + "; --help lists the options");
    return kBadUsage;
  }
  if (options.help) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  block_signals();
  IFWBase* const facade = IFWBase::instance();
  const ec::EC result = facade->init();
  const int status = ec::succeeded(result)
                         ? run(options)
                         : failed(std::string("cannot start: ") + ec::text(result));
  facade->release();
  return status;
}
