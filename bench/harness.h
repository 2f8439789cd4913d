// Runs the library and its peers on the same work and prints how they compare.
//
// A benchmark program describes groups of rows. The rows of a group do the same work and are
// measured in turns: repetition 1 of every row, then repetition 2 of every row, and so on, so that
// a machine that gets slower or faster meanwhile does so for all of them. Shown are the median,
// minimum and maximum, and the ratio of the medians to the floor and to the fastest peer, where
// rows differ in size to those of the same size.
#ifndef FWBASE_BENCH_HARNESS_H
#define FWBASE_BENCH_HARNESS_H

#include <functional>
#include <string>
#include <vector>

namespace fwbase::bench {

enum class Role {
  kOurs,
  kFloor,  ///< what the machine costs
  kPeer,   ///< keeps the same promises
  kOther   ///< worth a look, but promises less or does other work: not compared
};

struct Row {
  std::string name;
  Role role;
  std::function<double()> measure;  ///< one repetition; gives a figure in the group's unit
  double size = 0;                  ///< of what is worked on; where on the axis of a plot
  std::string series = {};          ///< which line of the plot; empty: the row's name
};

/// What a row's figure must not exceed: `limit` times that of another row, or `limit` itself.
struct Target {
  std::string row;
  std::string against;  ///< a row's name, kFastestPeer, kTheFloor, or empty
  double limit;
};

inline const std::string kFastestPeer = "fastest peer";
inline const std::string kTheFloor = "floor";

struct Group {
  std::string title;
  std::string unit;
  std::vector<Row> rows;
  std::vector<Target> targets;
  std::string plot = {};  ///< the plot that its rows are in, if any
};

struct Options {
  int repetitions = 7;
  bool quick = false;  ///< only to see that everything runs: the figures say nothing
  bool large = false;  ///< sizes that take minutes as well
  std::string filter;  ///< only groups whose title contains this
  std::string csv;     ///< file that the figures are appended to

  /// How often to repeat an operation in one repetition.
  long operations(long count) const { return quick ? count / 1000 + 2 : count; }
};

/// Measures and prints a topic; the result is that of main(), a missed target being no failure.
int run(const std::string& topic, int argc, char** argv,
        const std::function<std::vector<Group>(const Options&)>& groups);

/// Nanoseconds that pass while `work` is done, per operation.
double nanoseconds_each(long operations, const std::function<void()>& work);

/// Nanoseconds that the calling thread computes for `work`, per operation: what passes on a machine
/// with nothing else to do, for work of one thread that waits for nothing.
double own_nanoseconds_each(long operations, const std::function<void()>& work);

/// Calls work(thread) on each of so many threads, which begin together, and waits for all. One
/// thread is the caller.
void on_threads(int threads, const std::function<void(int)>& work);

/// Makes the compiler believe that a value is used.
template <typename Value>
void keep(const Value& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

/// 1000 as "1,000".
std::string with_commas(long number);

}  // namespace fwbase::bench

#endif
