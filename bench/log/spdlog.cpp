// spdlog: its basic file sink, flushed at every record.
#include <spdlog/async.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>

#include "bench/log/logger.h"

namespace fwbase::bench {

namespace {

class Spdlog : public Logger {
 public:
  Spdlog(Mode mode, const std::string& file) {
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(file, true);
    if (is_queued(mode)) {
      m_writer = std::make_shared<spdlog::details::thread_pool>(queued_records(mode), 1);
      m_logger = std::make_shared<spdlog::async_logger>("bench", sink, m_writer,
                                                        spdlog::async_overflow_policy::block);
    } else {
      m_logger = std::make_shared<spdlog::logger>("bench", sink);
    }
    const std::string details = mode == Mode::kWithDetails ? "pid:%P tid:%t %c " : "";
    m_logger->set_pattern("[%l]: " + details +
                          "this(0xb0000000) %! %g(%#) " BENCH_COMPILED "\r%n >%v");
    m_logger->flush_on(spdlog::level::trace);
    m_logger->set_level(mode == Mode::kDisabled ? spdlog::level::err : spdlog::level::warn);
  }

  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      m_logger->log(spdlog::source_loc{__FILE__, __LINE__, __PRETTY_FUNCTION__},
                    spdlog::level::warn, BENCH_BRACES_MESSAGE, number, peer_of(number),
                    milliseconds_of(number));
    }
  }

  // The thread writes what is queued before it ends.
  void finish() override { m_writer.reset(); }

 private:
  std::shared_ptr<spdlog::details::thread_pool> m_writer;
  std::shared_ptr<spdlog::logger> m_logger;
};

const RegisterLogger spdlog_row("spdlog", Role::kPeer, [](Mode mode, const std::string& file) {
  return std::make_unique<Spdlog>(mode, file);
});

}  // namespace

}  // namespace fwbase::bench
