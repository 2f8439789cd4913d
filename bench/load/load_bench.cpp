// Loading scripts: time and memory per call in the file, and how they grow. Saving and checking
// them.
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <tuple>

#include "bench/load/check.h"
#include "bench/load/loader.h"
#include "bench/load/save.h"
#include "bench/load/scripts.h"
#include "tests/harness/run_program.h"

namespace fwbase::bench {

namespace {

// What a child is told: LOADER FILE
constexpr const char* kMeasurePeak = "--peak-of";
constexpr const char* kMeasureKept = "--kept-of";

// Each row loads into memory that is new to the process, as a host does that starts: it must not
// find the pages that the row before has left. Nor must it be the one for which a virtual machine
// gets its memory: so the first load is not measured.
double nanoseconds_per_call(const LoaderKind& kind, const std::string& path, long calls) {
  double spent = 0;
  for (int loads = 0; loads < 2; ++loads) {
    ::malloc_trim(0);
    const std::unique_ptr<Loader> loader = kind.make();
    spent = own_nanoseconds_each(calls, [&] { loader->load(path.c_str()); });
  }
  return spent;
}

// --- Memory, in a process of its own ---

// The most that the process has had so far.
double most_bytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, 6, "VmHWM:") == 0) {
      return std::stod(line.substr(6)) * 1024;
    }
  }
  throw std::runtime_error("no VmHWM in /proc/self/status");
}

// What is allocated at present.
double allocated_bytes() {
  const struct mallinfo2 info = ::mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

int print_memory(double (*bytes)(), const char* name, const char* path) {
  std::vector<LoaderKind> kinds = loader_kinds();
  for (const LoaderKind& kind : checking_kinds()) {
    kinds.push_back(kind);
  }
  for (const LoaderKind& kind : kinds) {
    if (kind.name == name) {
      const std::unique_ptr<Loader> loader = kind.make();
      const double before = bytes();
      loader->load(path);
      std::printf("%.0f\n", bytes() - before);
      return 0;
    }
  }
  return 1;
}

double bytes_per_call(const char* measure, const LoaderKind& kind, const std::string& path,
                      long calls) {
  const test::ProgramResult child = test::run_program({"/proc/self/exe", measure, kind.name, path});
  if (child.status != 0) {
    throw std::runtime_error(kind.name + ": " + child.err);
  }
  return std::stod(child.out) / static_cast<double>(calls);
}

double peak_bytes_per_call(const LoaderKind& kind, const std::string& path, long calls) {
  return bytes_per_call(kMeasurePeak, kind, path, calls);
}

double kept_bytes_per_call(const LoaderKind& kind, const std::string& path, long calls) {
  return bytes_per_call(kMeasureKept, kind, path, calls);
}

// --- Groups: rows for each loader and each number of calls ---

std::string row_name(const std::string& kind, long calls) {
  return kind + ", " + with_commas(calls) + " calls";
}

using Measure = double (*)(const LoaderKind& kind, const std::string& path, long calls);

Group group_of(const char* title, const char* unit, const char* plot, Measure measure,
               const std::vector<long>& sizes,
               const std::vector<LoaderKind>& kinds = loader_kinds()) {
  static Scripts scripts;
  Group group{title, unit, {}, {}, plot};
  for (const long calls : sizes) {
    for (const LoaderKind& kind : kinds) {
      group.rows.push_back({row_name(kind.name, calls), kind.role,
                            [=] { return measure(kind, scripts.with(calls), calls); },
                            static_cast<double>(calls), kind.name});
    }
  }
  return group;
}

// A file of 1 MB, and with large sizes one of 100 MB.
void add_check_groups(const Options& options, std::vector<Group>& all) {
  const long megabyte = options.quick ? 100 : 15'000;
  const long most = 100 * megabyte;
  std::vector<long> sizes{megabyte};
  if (options.large && !options.quick) {
    sizes.push_back(most);
  }
  const std::vector<LoaderKind> kinds = checking_kinds();
  const std::string& ours = kinds.front().name;
  constexpr double kSecond = 1e9;
  Group time = group_of("check, time", "ns per call", "", nanoseconds_per_call, sizes, kinds);
  Group peak = group_of("check, memory at its peak", "bytes per call", "", peak_bytes_per_call,
                        sizes, kinds);
  time.targets = {{row_name(ours, megabyte), "", kSecond / static_cast<double>(megabyte)},
                  {row_name(ours, most), row_name(ours, megabyte), 1.3}};
  peak.targets = {{row_name(ours, sizes.back()), kTheFloor, 1.1}};
  all.push_back(time);
  all.push_back(peak);
}

std::vector<Group> groups(const Options& options) {
  std::sort(loader_kinds().begin(), loader_kinds().end(),
            [](const LoaderKind& a, const LoaderKind& b) {
              return std::tie(a.role, a.name) < std::tie(b.role, b.name);
            });
  const long hundred_thousand = options.quick ? 100 : 100000;
  std::vector<long> sizes{1000, 10000, hundred_thousand};
  if (options.quick) {
    sizes = {hundred_thousand};
  } else if (options.large) {
    sizes.push_back(1000000);
  }
  std::vector<long> memory_sizes{hundred_thousand};
  if (options.large && !options.quick) {
    memory_sizes.push_back(1000000);
  }
  const std::string ours = row_name("fwbase", hundred_thousand);
  Group time = group_of("load, time", "ns per call", "load", nanoseconds_per_call, sizes);
  Group peak =
      group_of("load, memory at its peak", "bytes per call", "", peak_bytes_per_call, memory_sizes);
  Group kept =
      group_of("load, memory kept", "bytes per call", "", kept_bytes_per_call, memory_sizes);
  time.targets = {{ours, kTheFloor, 0.4}, {row_name("fwbase", 1000000), ours, 1.1}};
  peak.targets = {{ours, kTheFloor, 0.45}};
  kept.targets = {{ours, kTheFloor, 0.2}};
  std::vector<Group> all{time, peak, kept, save_group(hundred_thousand)};
  add_check_groups(options, all);
  return all;
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  using namespace fwbase::bench;
  if (argc == 4 && std::strcmp(argv[1], kMeasurePeak) == 0) {
    return print_memory(most_bytes, argv[2], argv[3]);
  }
  if (argc == 4 && std::strcmp(argv[1], kMeasureKept) == 0) {
    return print_memory(allocated_bytes, argv[2], argv[3]);
  }
  return run("load", argc, argv, groups);
}
