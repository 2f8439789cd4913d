// The run log, by the macro of its hosts and by the calls that one without the macro makes.
#include <fwbase/log_options.h>
#include <fwbase/module.h>

#include "bench/facade.h"
#include "bench/log/logger.h"

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

class HostRecords : public RunLog {
 public:
  using RunLog::RunLog;
  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      FWBASE_LOG(WARN, BENCH_PRINTF_MESSAGE, number, peer_of(number), milliseconds_of(number));
    }
  }
};

class FormattedRecords : public RunLog {
 public:
  using RunLog::RunLog;
  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      if ((IRunLog::ms_type_sign.load(std::memory_order_relaxed) & IRunLog::WARN) != 0) {
        const std::unique_ptr<char[]> message(IRunLog::FormatStr(
            BENCH_PRINTF_MESSAGE, number, peer_of(number), milliseconds_of(number)));
        const std::unique_ptr<char[]> location(
            IRunLog::FormatStr("this(0x%x) %s %s(%d) CT:%s %s", 0xb0000000U, __PRETTY_FUNCTION__,
                               __FILE__, __LINE__, __DATE__, __TIME__));
        IFWBase::instance()->runlog()->write(IRunLog::WARN, message.get(), location.get());
      }
    }
  }
};

template <typename Records>
std::unique_ptr<Logger> make(Mode mode, const std::string& file) {
  return std::make_unique<Records>(mode, file);
}

const RegisterLogger host(kHostRecords, Role::kOurs, make<HostRecords>);
const RegisterLogger formatted(kFormattedRecords, Role::kOurs, make<FormattedRecords>);

}  // namespace

}  // namespace fwbase::bench
