// glog, set to flush each record. It has no queue. Records that are off are those of VLOG, its
// switch for them.
#include <glog/logging.h>
#include <unistd.h>

#include "bench/log/logger.h"

// What follows the stream of any of glog's macros.
#define BENCH_GLOG_RECORD(number)                                                           \
  "[WARN ]: this(0xb0000000) " << __PRETTY_FUNCTION__ << ' ' << __FILE__ << '(' << __LINE__ \
                               << ") " BENCH_COMPILED "\r\n >" << BENCH_STREAMED(number)

namespace fwbase::bench {

namespace {

class Glog : public Logger {
 public:
  Glog(Mode mode, const std::string& file) : m_mode(mode) {
    [[maybe_unused]] static const bool initialised = initialise();
    FLAGS_log_prefix = mode == Mode::kWithDetails;  // brings the time and the thread
    google::SetLogDestination(google::INFO, file.c_str());
  }

  void log(int first, int count) override {
    for (int number = first; number < first + count; ++number) {
      if (m_mode == Mode::kDisabled) {
        VLOG(1) << BENCH_GLOG_RECORD(number);
      } else if (m_mode == Mode::kWithDetails) {
        LOG(INFO) << "pid:" << ::getpid() << ' ' << BENCH_GLOG_RECORD(number);
      } else {
        LOG(INFO) << BENCH_GLOG_RECORD(number);
      }
    }
  }

 private:
  static bool initialise() {
    google::InitGoogleLogging("bench");
    google::SetLogSymlink(google::INFO, "");
    FLAGS_timestamp_in_logfile_name = false;
    FLAGS_logbuflevel = -1;
    FLAGS_v = 0;
    return true;
  }

  const Mode m_mode;
};

const RegisterLogger glog_row("glog", Role::kPeer,
                              [](Mode mode, const std::string& file) -> std::unique_ptr<Logger> {
                                return !is_queued(mode) ? std::make_unique<Glog>(mode, file)
                                                        : nullptr;
                              });

}  // namespace

}  // namespace fwbase::bench
