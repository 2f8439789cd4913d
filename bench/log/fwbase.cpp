// The run log, by the macro of the library's own code and by that of its hosts.
#include <fwbase/log_options.h>
#include <fwbase/module.h>

#include "bench/facade.h"
#include "bench/log/logger.h"
#include "fwbase/runlog/runlog.h"

namespace fwbase::bench {

namespace {

class RunLog : public Logger {
 public:
  RunLog(Mode mode, const std::string& file) {
    IRunLog* const log = m_facade->runlog();
    LogOptions options;
    options.queue_bytes = mode == Mode::kLargeQueue ? 1 << 20 : options.queue_bytes;
    options.journal = mode == Mode::kJournal;
    require(log_options(options));
    require(log->file(file.c_str()));
    log->info(mode == Mode::kWithDetails
                  ? IRunLog::INFO_TIME | IRunLog::INFO_PID | IRunLog::INFO_TID
                  : 0);
    log->asynch(is_queued(mode));
    log->type(mode == Mode::kDisabled ? IRunLog::ERROR : IRunLog::WARN);
  }

  void finish() override { m_facade->runlog()->release(); }

 private:
  Facade m_facade;
};

class OwnRecords : public RunLog {
 public:
  using RunLog::RunLog;
  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      RUN_LOG(WARN, BENCH_PRINTF_MESSAGE, number);
    }
  }
};

class HostRecords : public RunLog {
 public:
  using RunLog::RunLog;
  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      FWBASE_LOG(WARN, BENCH_PRINTF_MESSAGE, number);
    }
  }
};

template <typename Records>
std::unique_ptr<Logger> make(Mode mode, const std::string& file) {
  return std::make_unique<Records>(mode, file);
}

const RegisterLogger own("fwbase", Role::kOurs, make<OwnRecords>);
const RegisterLogger host("fwbase, FWBASE_LOG", Role::kOurs, make<HostRecords>);

}  // namespace

}  // namespace fwbase::bench
