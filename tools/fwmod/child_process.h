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

/// Runs this program anew, with other arguments, to its end, and not longer than `limit`. It gets
/// `shared` as kSharedDescriptor, nothing on standard input, and what it writes to standard output
/// goes to standard error. It is the first of a process group of its own; what is left of that
/// group at the end is killed, and nothing but the child's end is waited for.
/// Throws std::system_error when it cannot be started.
Ending run_self(const std::vector<std::string>& arguments, int shared, std::chrono::seconds limit);

/// In the child: makes it end with its parent, which had this process id.
void end_with_parent(int parent);

}  // namespace fwmod

#endif
