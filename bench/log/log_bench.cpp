// The run log and other loggers: records that are off, written directly, and queued.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <tuple>

#include "bench/log/logger.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::bench {

namespace {

struct Work {
  Mode mode;
  int threads;
  int records;  // of all threads; fewer than lead to a rotation at 10 MiB
};

// A logger with a directory of its own for its file.
class Session {
 public:
  Session(const LoggerKind& kind, Mode mode)
      : m_name(kind.name),
        m_file(m_directory.path("bench.log")),
        m_logger(kind.make(mode, m_file)) {}

  Logger* operator->() const { return m_logger.get(); }

  // No figure counts of a logger that loses records or writes shorter ones.
  void check(int records) const {
    const auto bytes = static_cast<double>(std::filesystem::file_size(m_file));
    const double each = bytes / records;
    if (each < 200 || each > 290) {
      throw std::runtime_error(m_name + " wrote records of " + std::to_string(each) + " bytes");
    }
  }

 private:
  std::string m_name;
  test::TempDir m_directory;
  std::string m_file;
  std::unique_ptr<Logger> m_logger;
};

double sustained(const LoggerKind& kind, const Work& work) {
  const Session session(kind, work.mode);
  const int each = work.records / work.threads;
  const bool alone = work.threads == 1 && !is_queued(work.mode);
  const auto measure = alone ? own_nanoseconds_each : nanoseconds_each;
  const double spent = measure(each * work.threads, [&] {
    on_threads(work.threads, [&](int thread) { session->log(thread * each, each); });
    session->finish();
  });
  if (work.mode != Mode::kDisabled) {
    session.check(each * work.threads);
  }
  return spent;
}

// Only the calls are measured, and the writer is idle when they come.
double at_low_rate(const LoggerKind& kind, int records) {
  const Session session(kind, Mode::kQueued);
  double spent = 0;
  for (int number = 0; number < records; ++number) {
    std::this_thread::sleep_for(std::chrono::microseconds(100));
    spent += nanoseconds_each(records, [&] { session->log(number, 1); });
  }
  session->finish();
  session.check(records);
  return spent;
}

struct Bursts {
  Mode mode;
  int count;
  bool slowest;  // of a hundred calls: the 99th percentile instead of the mean
};

// Only the calls are measured, of so many records at once; the writer is idle when they come.
double in_a_burst(const LoggerKind& kind, const Bursts& bursts) {
  constexpr int kBurst = 200;
  const Session session(kind, bursts.mode);
  std::vector<double> calls;
  for (int burst = 0; burst < bursts.count; ++burst) {
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    for (int i = 0; i < kBurst; ++i) {
      calls.push_back(nanoseconds_each(1, [&] { session->log(burst * kBurst + i, 1); }));
    }
  }
  session->finish();
  session.check(kBurst * bursts.count);
  if (!bursts.slowest) {
    return std::accumulate(calls.begin(), calls.end(), 0.0) / static_cast<double>(calls.size());
  }
  const auto at = calls.begin() + static_cast<std::ptrdiff_t>(calls.size() * 99 / 100);
  std::nth_element(calls.begin(), at, calls.end());
  return *at;
}

bool has_mode(const LoggerKind& kind, Mode mode) {
  const test::TempDir directory;
  return kind.make(mode, directory.path("bench.log")) != nullptr;
}

Group group_of(const std::string& title, Mode mode, std::vector<Target> targets,
               const std::function<double(const LoggerKind&)>& measure) {
  Group group{title, "ns per record", {}, std::move(targets)};
  for (const LoggerKind& kind : logger_kinds()) {
    if (has_mode(kind, mode)) {
      group.rows.push_back({kind.name, kind.role, [=] { return measure(kind); }});
    }
  }
  return group;
}

Group sustained_group(const std::string& title, const Work& work, std::vector<Target> targets) {
  return group_of(title, work.mode, std::move(targets),
                  [=](const LoggerKind& kind) { return sustained(kind, work); });
}

// The same records with a journal and without one.
Group journal_group(const std::string& title, int threads, int records) {
  Group group{title, "ns per record", {}, {}};
  for (const LoggerKind& kind : logger_kinds()) {
    if (kind.role == Role::kOurs) {
      const std::string name = kind.name + ", with a journal";
      group.rows.push_back({kind.name, kind.role, [=] {
                              return sustained(kind, {Mode::kQueued, threads, records});
                            }});
      group.rows.push_back({name, kind.role, [=] {
                              return sustained(kind, {Mode::kJournal, threads, records});
                            }});
      group.targets.push_back({name, kind.name, 1.2});
    }
  }
  return group;
}

Group burst_group(const std::string& title, const Bursts& bursts, std::vector<Target> targets) {
  return group_of(title, bursts.mode, std::move(targets),
                  [=](const LoggerKind& kind) { return in_a_burst(kind, bursts); });
}

std::vector<Target> host(const std::string& against, double limit) {
  return {{kHostRecords, against, limit}};
}

std::vector<Group> groups(const Options& options) {
  std::sort(logger_kinds().begin(), logger_kinds().end(),
            [](const LoggerKind& a, const LoggerKind& b) {
              return std::tie(a.role, a.name) < std::tie(b.role, b.name);
            });
  const int records = static_cast<int>(options.operations(20000));
  const int rare_records = static_cast<int>(options.operations(2000));
  const int bursts = static_cast<int>(options.operations(50));
  const int calls = static_cast<int>(options.operations(50000000));
  const std::vector<Target> direct = {{kHostRecords, kTheFloor, 1.2},
                                      {kHostRecords, "spdlog", 0.95},
                                      {kFormattedRecords, "spdlog", 1.1}};
  return {
      sustained_group("disabled level", {Mode::kDisabled, 1, calls}, host("", 1)),
      sustained_group("direct, 1 thread", {Mode::kDirect, 1, records}, direct),
      sustained_group("direct, 4 threads", {Mode::kDirect, 4, records}, host("spdlog", 0.9)),
      sustained_group("direct with time, pid, tid", {Mode::kWithDetails, 1, records},
                      host("spdlog", 0.8)),
      sustained_group("queued, 1 producer", {Mode::kQueued, 1, records}, host(kFastestPeer, 0.85)),
      sustained_group("queued, 4 producers", {Mode::kQueued, 4, records}, host(kFastestPeer, 0.45)),
      group_of("queued, a record every 100 us, time in the call", Mode::kQueued,
               host("spdlog", 0.2),
               [=](const LoggerKind& kind) { return at_low_rate(kind, rare_records); }),
      journal_group("queued with a journal, 1 producer", 1, records),
      journal_group("queued with a journal, 4 producers", 4, records),
      burst_group("burst of 200 records, queue of 16 KiB, time in the call",
                  {Mode::kQueued, bursts, false}, {}),
      burst_group("burst of 200 records, queue of 1 MiB, time in the call",
                  {Mode::kLargeQueue, bursts, false}, host(kFastestPeer, 0.8)),
      burst_group("burst of 200 records, queue of 1 MiB, 99th percentile of the time in the call",
                  {Mode::kLargeQueue, bursts, true}, host(kFastestPeer, 0.8)),
  };
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  return fwbase::bench::run("log", argc, argv, fwbase::bench::groups);
}
