// Running a program that may crash, hang, exit or close its descriptors at any moment.
#ifndef FWMOD_CHILD_PROCESS_H
#define FWMOD_CHILD_PROCESS_H

#include <chrono>

namespace fwmod {

struct Ending {
  bool timed_out;
  int status;  ///< as waitpid() gives it
};

/// The descriptor by which the child has what its parent shares with it.
constexpr int kSharedDescriptor = 3;

/// Runs this program anew to its end, and not longer than `limit`, under the name `name` and with
/// the other arguments of `argv`, which is that of main(). The child gets `shared` as
/// kSharedDescriptor, nothing on standard input, and what it writes to standard output goes to
/// standard error. It is the first of a process group of its own.
///
/// When it has ended, all processes that it has started, and those that they have, are killed, and
/// their ends waited for. That is so, too, when this process is ended meanwhile, by whatever
/// signal. Only what runs with rights that this process lacks is left. Throws std::system_error
/// when it cannot be started or watched.
Ending run_self(char** argv, const char* name, int shared, std::chrono::seconds limit);

}  // namespace fwmod

#endif
