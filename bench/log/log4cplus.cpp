// log4cplus: a file appender that flushes each record, alone or behind an asynchronous appender,
// whose callers block when its queue is full.
#include <log4cplus/asyncappender.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include "bench/log/logger.h"

namespace fwbase::bench {

namespace {

class Log4cplus : public Logger {
 public:
  Log4cplus(Mode mode, const std::string& file) {
    [[maybe_unused]] static const log4cplus::Initializer initializer;
    const std::string details =
        mode == Mode::kWithDetails ? "pid:%i tid:%t %D{%a %b %d %H:%M:%S %Y} " : "";
    log4cplus::SharedAppenderPtr appender(
        new log4cplus::FileAppender(file, std::ios_base::trunc, true));
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>(
        "[%p]: " + details + "this(0xb0000000) %M %F(%L) " BENCH_COMPILED "\r%n >%m%n"));
    if (is_queued(mode)) {
      appender =
          new log4cplus::AsyncAppender(appender, static_cast<unsigned>(queued_records(mode)));
    }
    m_logger.addAppender(appender);
    m_logger.setLogLevel(mode == Mode::kDisabled ? log4cplus::ERROR_LOG_LEVEL
                                                 : log4cplus::WARN_LOG_LEVEL);
  }
  ~Log4cplus() override { Log4cplus::finish(); }
  Log4cplus(const Log4cplus&) = delete;
  Log4cplus& operator=(const Log4cplus&) = delete;

  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      LOG4CPLUS_WARN_FMT(m_logger, BENCH_PRINTF_MESSAGE, number, peer_of(number),
                         milliseconds_of(number));
    }
  }

  // An asynchronous appender that is closed writes what is queued.
  void finish() override {
    m_logger.closeNestedAppenders();
    m_logger.removeAllAppenders();
  }

 private:
  log4cplus::Logger m_logger = log4cplus::Logger::getInstance("bench");
};

const RegisterLogger log4cplus_row("log4cplus", Role::kPeer,
                                   [](Mode mode, const std::string& file) {
                                     return std::make_unique<Log4cplus>(mode, file);
                                   });

}  // namespace

}  // namespace fwbase::bench
