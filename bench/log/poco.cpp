// Poco: its file channel, which flushes each record, behind a formatter. Its asynchronous channel
// drops records when its queue is full, or does not bound it: it keeps another promise and is left
// out.
#include <Poco/AutoPtr.h>
#include <Poco/FileChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>

#include "bench/log/logger.h"

namespace fwbase::bench {

namespace {

class PocoLogger : public Logger {
 public:
  PocoLogger(Mode mode, const std::string& file) {
    Poco::AutoPtr<Poco::FileChannel> channel(new Poco::FileChannel(file));
    channel->setProperty("flush", "true");
    Poco::AutoPtr<Poco::PatternFormatter> formatter(new Poco::PatternFormatter(pattern(mode)));
    formatter->setProperty("times", "local");
    Poco::AutoPtr<Poco::FormattingChannel> formatting(
        new Poco::FormattingChannel(formatter, channel));
    m_logger = &Poco::Logger::create(
        "bench", formatting,
        mode == Mode::kDisabled ? Poco::Message::PRIO_ERROR : Poco::Message::PRIO_WARNING);
  }
  ~PocoLogger() override { Poco::Logger::destroy("bench"); }
  PocoLogger(const PocoLogger&) = delete;
  PocoLogger& operator=(const PocoLogger&) = delete;

  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      keep(number);  // else the level, a plain int, is tested once for all
      poco_warning_f3(*m_logger, std::string(BENCH_PRINTF_MESSAGE), number,
                      std::string(peer_of(number)), milliseconds_of(number));
    }
  }

 private:
  // A message of this library knows its file and line, but not its function.
  static std::string pattern(Mode mode) {
    const char* const details =
        mode == Mode::kWithDetails ? "pid:%P tid:%I %w %b %e %H:%M:%S %Y " : "";
    return std::string("[%p]: ") + details + "this(0xb0000000) " + __PRETTY_FUNCTION__ +
           " %U(%u) " BENCH_COMPILED "\r\n >%t";
  }

  Poco::Logger* m_logger;
};

const RegisterLogger poco_row("Poco", Role::kPeer,
                              [](Mode mode, const std::string& file) -> std::unique_ptr<Logger> {
                                return !is_queued(mode) ? std::make_unique<PocoLogger>(mode, file)
                                                        : nullptr;
                              });

}  // namespace

}  // namespace fwbase::bench
