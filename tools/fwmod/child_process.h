// Running a program that may crash, hang, exit or close its descriptors at any moment.
#ifndef FWMOD_CHILD_PROCESS_H
#define FWMOD_CHILD_PROCESS_H

#include <chrono>
#include <string>
#include <vector>

namespace fwmod {

struct Ending {
  enum Kind { kExited, kSignalled, kTimedOut };
  Kind kind;
  int number;  ///< the exit status or the signal
};

/// The descriptor by which the child has what its parent shares with it.
constexpr int kSharedDescriptor = 3;

/// Runs this program anew to its end, and not longer than `limit`, with these arguments; behind the
/// first one goes the number for end_with_parent(). The child gets `shared` as kSharedDescriptor,
/// nothing on standard input, and what it writes to standard output goes to standard error. It is
/// the first of a process group of its own.
///
/// When it has ended, all processes that it has started, and those that they have, are killed, and
/// their ends waited for. That is so, too, when this process is ended meanwhile, by whatever
/// signal. Only what runs with rights that this process lacks is left. Throws std::system_error
/// when it cannot be started or watched.
Ending run_self(const std::vector<std::string>& arguments, int shared, std::chrono::seconds limit);

/// In the child: makes it end with the process that started it, which had this process id.
void end_with_parent(int parent);

}  // namespace fwmod

#endif
