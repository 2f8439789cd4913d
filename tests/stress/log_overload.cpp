// More records than a log can write: log_overload <seconds>
//
// Eight threads log as fast as they can into a queue that is written to a slow reader, for so many
// seconds with each of the three policies. Every record that was offered has to be written or
// counted as dropped, and no record of a level that is to be kept may be dropped.
#include <fwbase/fwbase.h>
#include <fwbase/log_options.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "fwbase/runlog/gbk.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/temp_dir.h"

namespace fwbase {

namespace {

constexpr int kThreads = 8;
constexpr int kKeptEach = 10;  // one of so many records is an ERROR

struct Counts {
  long records = 0;
  long errors = 0;
  long dropped = 0;
};

// Reads the log from a FIFO until its end.
Counts read_log(const std::string& fifo) {
  const std::string report = std::string(" >") + GBK("队列已满,丢弃了");
  Counts counts;
  std::ifstream in(fifo, std::ios::binary);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(" >record")) {
      ++counts.records;
    } else if (line.starts_with(" >error")) {
      ++counts.errors;
    } else if (line.starts_with(report)) {
      counts.dropped += std::strtol(line.c_str() + report.size(), nullptr, 10);
    }
  }
  return counts;
}

Counts offer(int seconds) {
  IRunLog* const log = IFWBase::instance()->runlog();
  std::atomic<long> records{0};
  std::atomic<long> errors{0};
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  const std::string padding(100, 'x');
  test::in_threads(kThreads, [&](int) {
    for (int number = 0; std::chrono::steady_clock::now() < end; ++number) {
      const bool is_error = number % kKeptEach == 0;
      log->write(is_error ? IRunLog::ERROR : IRunLog::WARN,
                 ((is_error ? "error " : "record ") + padding).c_str(), "here");
      ++(is_error ? errors : records);
    }
  });
  return {records, errors, 0};
}

bool run(const char* name, LogOptions::WhenFull when_full, int seconds) {
  const test::TempDir directory;
  const std::string fifo = directory.path("run.log");
  LogOptions options;
  options.when_full = when_full;
  options.keep_level = IRunLog::ERROR;
  if (::mkfifo(fifo.c_str(), 0600) != 0) {
    return false;
  }
  Counts written;
  std::thread reader([&] { written = read_log(fifo); });
  const bool started = ec::succeeded(IFWBase::instance()->init()) &&
                       ec::succeeded(log_options(options)) &&
                       ec::succeeded(IFWBase::instance()->runlog()->file(fifo.c_str()));
  Counts offered;
  if (started) {
    IFWBase::instance()->runlog()->asynch(true);
    offered = offer(seconds);
    IFWBase::instance()->release();
  }
  reader.join();
  const long all_offered = offered.records + offered.errors;
  const long all_written = written.records + written.errors;
  const bool drops = when_full != LogOptions::kWait;
  std::printf("%s: %ld offered, %ld written, %ld dropped\n", name, all_offered, all_written,
              written.dropped);
  return started && all_offered == all_written + written.dropped &&
         (written.dropped != 0) == drops &&
         (when_full == LogOptions::kDropNew || written.errors == offered.errors);
}

}  // namespace

}  // namespace fwbase

int main(int argc, char** argv) {
  using fwbase::LogOptions;
  const int seconds = argc == 2 ? std::atoi(argv[1]) : 0;
  if (seconds <= 0) {
    std::fprintf(stderr, "usage: log_overload <seconds>\n");
    return 2;
  }
  const bool waits = fwbase::run("wait", LogOptions::kWait, seconds);
  const bool drops_new = fwbase::run("drop new", LogOptions::kDropNew, seconds);
  const bool drops_below = fwbase::run("drop below", LogOptions::kDropBelow, seconds);
  return waits && drops_new && drops_below ? 0 : 1;
}
