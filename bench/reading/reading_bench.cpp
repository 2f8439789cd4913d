// What reading a log with fwlog costs, beside the commands that do less.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/command.h"
#include "bench/harness.h"
#include "tests/harness/log_capture.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::bench {

namespace {

constexpr std::size_t kMebibyte = 1024 * 1024;

// The peak, in MiB. That of wait4() is the benchmark's own, which the command begins as a copy of.
double memory_until_end(pid_t child) {
  const std::string path = "/proc/" + std::to_string(child) + "/status";
  double peak = 0;
  while (true) {
    const std::string status = test::read_file(path);
    const std::size_t at = status.find("VmHWM:");
    if (at == status.npos) {
      break;  // it has ended
    }
    peak = std::strtod(status.c_str() + at + 6, nullptr) / 1024;
  }
  seconds_until_end(child);
  return peak;
}

std::string record(const std::string& message) {
  return "[WARN ]: pid:4711 tid:4711 Wed Oct 29 10:20:30 2014 this(0x1f) virtual ec::EC "
         "fwbase::CScript::exec_scommad(const char*, void*) fwbase/script/script_exec.cpp(123) "
         "CT:Oct 29 2014 10:20:30\r\n >" +
         message + "\n";
}

// Warnings of this size together, Chinese and English ones in turns.
void write_log(const std::string& path, std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) {
    const std::string number = std::to_string(bytes.size());
    bytes += record(test::gbk("没有对应的变量,name[session" + number + "]"));
    bytes += record("function stands for a call, number " + number + " of them");
    bytes += record(test::gbk("名为:(") + number + test::gbk(")的字符串不存在") + "\r\n");
  }
  test::write_file(path, bytes);
}

void write_long_records(const std::string& path, std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) {
    bytes += record(std::string(kMebibyte, 'x') + "\n[ERROR] no tag");
  }
  test::write_file(path, bytes);
}

Row row(const std::string& name, Role role, const std::string& command) {
  return {name, role, [=] { return 1000 * seconds_until_end(start(command)); }};
}

Row memory_row(const std::string& name, const std::string& command) {
  return {name, Role::kOurs, [=] { return memory_until_end(start(command)); }};
}

// The part of a core that following takes, in percent, while records come at this rate.
double following(int rate, int milliseconds) {
  const test::TempDir directory;
  const std::string log = directory.path("host.log");
  test::write_file(log, "");
  const pid_t child =
      start(std::string(FWLOG_PROGRAM) + " --follow " + log + " >" + directory.path("out"));
  std::ofstream out(log, std::ios::binary | std::ios::app);
  const std::string text = record("record of a host that has much to say");
  const auto begin = std::chrono::steady_clock::now();
  for (int passed = 0; passed < milliseconds; ++passed) {
    for (int i = 0; i < rate / 1000; ++i) {
      out << text << std::flush;
    }
    std::this_thread::sleep_until(begin + std::chrono::milliseconds(passed + 1));
  }
  const auto written = static_cast<long>(rate / 1000) * milliseconds;
  long lines = 0;
  while (lines < written) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::string printed = test::read_file(directory.path("out"));
    lines = std::count(printed.begin(), printed.end(), '\n');
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  kill(child, SIGINT);
  const double percent = 100 * seconds_until_end(child) / seconds;
  const std::string printed = test::read_file(directory.path("out"));
  if (std::count(printed.begin(), printed.end(), '\n') != written) {
    throw std::runtime_error("records were doubled");
  }
  return percent;
}

std::vector<Group> groups(const Options& options) {
  static const test::TempDir directory;
  const std::string log = directory.path("host.log");
  const std::string long_log = directory.path("long.log");
  const std::size_t size = options.quick ? kMebibyte : 50 * kMebibyte;
  write_log(log, size);
  write_long_records(long_log, size / 10);  // memory does not depend on how many there are
  const std::string fwlog = FWLOG_PROGRAM;
  const std::string nowhere = " >/dev/null";
  return {
      {"errors of 50 MiB without any",
       "ms",
       {row("fwlog", Role::kOurs, fwlog + " --level error " + log + nowhere),
        row("grep -c", Role::kFloor, "env LC_ALL=C grep -c '^\\[ERROR\\]:' " + log + nowhere)},
       {{"fwlog", kTheFloor, 2}}},
      {"50 MiB as UTF-8",
       "ms",
       {row("fwlog, JSON", Role::kOurs, fwlog + " --output json " + log + nowhere),
        row("fwlog, text", Role::kOurs, fwlog + " " + log + nowhere),
        row("iconv -c", Role::kFloor, "iconv -c -f GBK -t UTF-8 " + log + nowhere)},
       {{"fwlog, JSON", kTheFloor, 3}}},
      {"memory",
       "MiB",
       {memory_row("JSON", fwlog + " --output json " + log + nowhere),
        memory_row("JSON, records of 1 MiB", fwlog + " --output json " + long_log + nowhere),
        memory_row("--grep, records of 1 MiB", fwlog + " --grep 'x.$' " + long_log + nowhere)},
       {{"JSON", "", 16},
        {"JSON, records of 1 MiB", "", 16},
        {"--grep, records of 1 MiB", "", 16}}},
      {"following 100,000 records a second",
       "% of a core",
       {{"fwlog", Role::kOurs, [=] { return following(100'000, options.quick ? 20 : 3000); }}},
       {{"fwlog", "", 20}}},
  };
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  return fwbase::bench::run("reading", argc, argv, fwbase::bench::groups);
}
