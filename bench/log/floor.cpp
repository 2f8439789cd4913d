// What the machine costs: one snprintf and one write per record. A log that is off costs a load and
// a test.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <ctime>
#include <stdexcept>

#include "bench/log/logger.h"

namespace fwbase::bench {

namespace {

std::atomic<bool> enabled;

class Floor : public Logger {
 public:
  Floor(Mode mode, const std::string& file)
      : m_details(mode == Mode::kWithDetails),
        m_file(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {
    if (m_file < 0) {
      throw std::runtime_error("cannot open " + file);
    }
    enabled = mode != Mode::kDisabled;
  }
  ~Floor() override { ::close(m_file); }
  Floor(const Floor&) = delete;
  Floor& operator=(const Floor&) = delete;

  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      if (enabled.load(std::memory_order_relaxed)) {
        char record[512];
        const int length = m_details ? format_with_details(record, sizeof record, number)
                                     : format(record, sizeof record, number);
        keep(::write(m_file, record, static_cast<std::size_t>(length)));
      }
    }
  }

 private:
  int format(char* record, std::size_t room, int number) const {
    return std::snprintf(record, room,
                         "[%s]: this(0x%x) %s %s(%d) " BENCH_COMPILED "\r\n >" BENCH_PRINTF_MESSAGE
                         "\n",
                         "WARN ", 0xb0000000u, __PRETTY_FUNCTION__, __FILE__, __LINE__, number,
                         peer_of(number), milliseconds_of(number));
  }

  // The text of the time is made once, as it changes once in a second, and the process id is kept.
  int format_with_details(char* record, std::size_t room, int number) const {
    keep(std::time(nullptr));
    return std::snprintf(
        record, room,
        "[%s]: pid:%d tid:%d Wed Oct 29 10:20:30 2014 this(0x%x) %s %s(%d) " BENCH_COMPILED
        "\r\n >" BENCH_PRINTF_MESSAGE "\n",
        "WARN ", m_pid, m_pid, 0xb0000000u, __PRETTY_FUNCTION__, __FILE__, __LINE__, number,
        peer_of(number), milliseconds_of(number));
  }

  const bool m_details;
  const int m_pid = ::getpid();
  const int m_file;
};

const RegisterLogger floor_row("snprintf + write", Role::kFloor,
                               [](Mode mode, const std::string& file) {
                                 return std::make_unique<Floor>(mode, file);
                               });

}  // namespace

}  // namespace fwbase::bench
