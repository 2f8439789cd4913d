// Loading scripts: time and memory per call in the file, and how they grow.
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <tuple>

#include "bench/load/loader.h"
#include "bench/load/scripts.h"
#include "tests/support/run_program.h"

namespace fwbase::bench {

namespace {

constexpr const char* kMeasureMemory = "--memory-of";  // LOADER FILE: what a child is told

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

// --- Memory: the most that a process of its own has had, less what it had before ---

double most_kibibytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, 6, "VmHWM:") == 0) {
      return std::stod(line.substr(6));
    }
  }
  throw std::runtime_error("no VmHWM in /proc/self/status");
}

int print_memory(const char* name, const char* path) {
  for (const LoaderKind& kind : loader_kinds()) {
    if (kind.name == name) {
      const std::unique_ptr<Loader> loader = kind.make();
      const double before = most_kibibytes();
      loader->load(path);
      std::printf("%.0f\n", (most_kibibytes() - before) * 1024);
      return 0;
    }
  }
  return 1;
}

double bytes_per_call(const LoaderKind& kind, const std::string& path, long calls) {
  const test::ProgramResult child =
      test::run_program({"/proc/self/exe", kMeasureMemory, kind.name, path});
  if (child.status != 0) {
    throw std::runtime_error(kind.name + ": " + child.err);
  }
  return std::stod(child.out) / static_cast<double>(calls);
}

// --- Groups: rows for each loader and each number of calls ---

std::string row_name(const std::string& kind, long calls) {
  return kind + ", " + with_commas(calls) + " calls";
}

using Measure = double (*)(const LoaderKind& kind, const std::string& path, long calls);

Group group_of(const char* title, const char* unit, const char* plot, Measure measure,
               const std::vector<long>& sizes) {
  static Scripts scripts;
  Group group{title, unit, {}, {}, plot};
  for (const long calls : sizes) {
    for (const LoaderKind& kind : loader_kinds()) {
      group.rows.push_back({row_name(kind.name, calls), kind.role,
                            [=] { return measure(kind, scripts.with(calls), calls); },
                            static_cast<double>(calls), kind.name});
    }
  }
  return group;
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
  const std::string ours = row_name("fwbase", hundred_thousand);
  Group time = group_of("load, time", "ns per call", "load", nanoseconds_per_call, sizes);
  Group memory = group_of("load, memory", "bytes per call", "", bytes_per_call, {hundred_thousand});
  time.targets = {{ours, kTheFloor, 1.3}, {row_name("fwbase", 1000000), ours, 1.1}};
  memory.targets = {{ours, kTheFloor, 1.4}};
  return {time, memory};
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], fwbase::bench::kMeasureMemory) == 0) {
    return fwbase::bench::print_memory(argv[2], argv[3]);
  }
  return fwbase::bench::run("load", argc, argv, fwbase::bench::groups);
}
