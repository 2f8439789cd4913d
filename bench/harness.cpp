#include "bench/harness.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <barrier>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <thread>

namespace fwbase::bench {

namespace {

struct Figures {
  double median;
  double least;
  double most;
};

struct Result {
  const Row* row;
  Figures figures;
};

struct Verdict {
  const Target* target;
  std::string against;  // with the name of the peer that was the fastest
  double value;         // what is compared with the limit
  bool met;
};

Figures figures_of(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  const double median =
      values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
  return {median, values.front(), values.back()};
}

std::vector<Result> measure(const Group& group, int repetitions) {
  std::vector<std::vector<double>> values(group.rows.size());
  for (const Row& row : group.rows) {
    row.measure();  // fills caches; not counted
  }
  for (int repetition = 0; repetition < repetitions; ++repetition) {
    for (std::size_t i = 0; i < group.rows.size(); ++i) {
      values[i].push_back(group.rows[i].measure());
    }
  }
  std::vector<Result> results;
  for (std::size_t i = 0; i < group.rows.size(); ++i) {
    results.push_back({&group.rows[i], figures_of(values[i])});
  }
  return results;
}

// Of those of the same size.
const Result* fastest(const std::vector<Result>& results, Role role, double size) {
  const Result* found = nullptr;
  for (const Result& result : results) {
    if (result.row->role == role && result.row->size == size &&
        (found == nullptr || result.figures.median < found->figures.median)) {
      found = &result;
    }
  }
  return found;
}

const Result* named(const std::vector<Result>& results, const std::string& name) {
  const auto found = std::find_if(results.begin(), results.end(),
                                  [&](const Result& result) { return result.row->name == name; });
  return found != results.end() ? &*found : nullptr;
}

const Result* compared_with(const std::vector<Result>& results, const std::string& against,
                            double size) {
  if (against == kFastestPeer) {
    return fastest(results, Role::kPeer, size);
  }
  return against == kTheFloor ? fastest(results, Role::kFloor, size) : named(results, against);
}

// Nothing is said about targets whose peers are not there.
std::vector<Verdict> judge(const Group& group, const std::vector<Result>& results) {
  std::vector<Verdict> verdicts;
  for (const Target& target : group.targets) {
    const Result* const row = named(results, target.row);
    if (row == nullptr) {
      continue;
    }
    if (target.against.empty()) {
      const double value = row->figures.median;
      verdicts.push_back({&target, "", value, value <= target.limit});
    } else if (const Result* const other = compared_with(results, target.against, row->row->size)) {
      const double ratio = row->figures.median / other->figures.median;
      verdicts.push_back({&target, other->row->name, ratio, ratio <= target.limit});
    }
  }
  return verdicts;
}

// --- The table ---

const char* mark(Role role) {
  switch (role) {
    case Role::kOurs:
      return "*";
    case Role::kFloor:
      return "floor";
    case Role::kPeer:
      return "peer";
    case Role::kOther:
      return "other";
  }
  return "";
}

std::string decimal(double value) {
  char text[64];
  const int digits = value < 10 ? 2 : value < 1000 ? 1 : 0;
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

std::string ratio_text(const std::vector<Result>& results, const Result& result, Role role) {
  char text[64] = "-";
  if (const Result* const other = fastest(results, role, result.row->size)) {
    std::snprintf(text, sizeof text, "%.2f", result.figures.median / other->figures.median);
  }
  return text;
}

void print_table(const Group& group, const std::vector<Result>& results) {
  std::printf("\n%s [%s]\n", group.title.c_str(), group.unit.c_str());
  std::printf("  %-48s %-5s %10s %10s %10s %8s %8s\n", "", "", "median", "min", "max", "/floor",
              "/peer");
  for (const Result& result : results) {
    const Figures& figures = result.figures;
    std::printf("  %-48s %-5s %10s %10s %10s %8s %8s\n", result.row->name.c_str(),
                mark(result.row->role), decimal(figures.median).c_str(),
                decimal(figures.least).c_str(), decimal(figures.most).c_str(),
                ratio_text(results, result, Role::kFloor).c_str(),
                ratio_text(results, result, Role::kPeer).c_str());
  }
}

void print_verdicts(const Group& group, const std::vector<Verdict>& verdicts) {
  for (const Verdict& verdict : verdicts) {
    const char* const met = verdict.met ? "met" : "MISSED";
    const char* const row = verdict.target->row.c_str();
    if (verdict.against.empty()) {
      std::printf("  target %s: %s: %s %s, at most %s\n", met, row, decimal(verdict.value).c_str(),
                  group.unit.c_str(), decimal(verdict.target->limit).c_str());
    } else {
      std::printf("  target %s: %s: %.2f x %s, at most %.2f x\n", met, row, verdict.value,
                  verdict.against.c_str(), verdict.target->limit);
    }
  }
}

// --- The same for programs ---

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    result.append(c == '"' ? 2 : 1, c);
  }
  return result + '"';
}

void append_csv(std::ostream& csv, const std::string& topic, const Group& group,
                const std::vector<Result>& results, const std::vector<Verdict>& verdicts) {
  const std::string head = quoted(topic) + ',' + quoted(group.title) + ',' + quoted(group.unit);
  csv.precision(12);
  for (const auto& [row, figures] : results) {
    csv << "row," << head << ',' << quoted(row->name) << ',' << mark(row->role) << ','
        << figures.median << ',' << figures.least << ',' << figures.most << ','
        << quoted(group.plot) << ',' << quoted(row->series.empty() ? row->name : row->series) << ','
        << row->size << '\n';
  }
  for (const Verdict& verdict : verdicts) {
    csv << "target," << head << ',' << quoted(verdict.target->row) << ',' << quoted(verdict.against)
        << ',' << verdict.value << ',' << verdict.target->limit << ','
        << (verdict.met ? "met" : "missed") << '\n';
  }
}

void report(const std::string& topic, const Group& group, const Options& options) {
  const std::vector<Result> results = measure(group, options.repetitions);
  const std::vector<Verdict> verdicts = judge(group, results);
  print_table(group, results);
  if (!options.quick) {
    print_verdicts(group, verdicts);
  }
  std::fflush(stdout);
  if (!options.csv.empty()) {
    std::ofstream csv(options.csv, std::ios::app);
    append_csv(csv, topic, group, results, verdicts);
    if (!csv.flush()) {
      throw std::runtime_error("cannot write " + options.csv);
    }
  }
}

void add_options(CLI::App& app, Options& options) {
  app.add_option("--repetitions", options.repetitions, "Repetitions of every row")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_flag("--quick", options.quick, "Only see that everything runs");
  app.add_flag("--large", options.large, "Sizes that take minutes as well");
  app.add_option("--filter", options.filter, "Only groups whose title contains this");
  app.add_option("--csv", options.csv, "Append the figures to this file");
}

// What the calling thread has computed so far.
double own_nanoseconds() {
  timespec spent;
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
  return static_cast<double>(spent.tv_sec) * 1e9 + static_cast<double>(spent.tv_nsec);
}

}  // namespace

int run(const std::string& topic, int argc, char** argv,
        const std::function<std::vector<Group>(const Options&)>& groups) {
  Options options;
  CLI::App app("Benchmarks: " + topic);
  add_options(app, options);
  CLI11_PARSE(app, argc, argv);
  if (options.quick) {
    options.repetitions = 1;
  }
  try {
    for (const Group& group : groups(options)) {
      if (group.title.find(options.filter) != std::string::npos) {
        report(topic, group, options);
      }
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}

double nanoseconds_each(long operations, const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
  return spent.count() / static_cast<double>(operations);
}

double own_nanoseconds_each(long operations, const std::function<void()>& work) {
  const double start = own_nanoseconds();
  work();
  return (own_nanoseconds() - start) / static_cast<double>(operations);
}

void on_threads(int threads, const std::function<void(int)>& work) {
  if (threads == 1) {
    work(0);
    return;
  }
  std::barrier<> start(threads);
  const auto run_one = [&](int thread) {
    start.arrive_and_wait();
    work(thread);
  };
  std::vector<std::jthread> others;
  for (int thread = 1; thread < threads; ++thread) {
    others.emplace_back(run_one, thread);
  }
  run_one(0);
}

std::string with_commas(long number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) {
    text.insert(at - 3, ",");
  }
  return text;
}

}  // namespace fwbase::bench
