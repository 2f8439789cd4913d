// What a process has beside memory: threads, open descriptors, child processes.
#ifndef FWMOD_PROCESS_STATE_H
#define FWMOD_PROCESS_STATE_H

#include <map>
#include <string>
#include <vector>

namespace fwmod {

/// The names of running threads, by number.
std::map<int, std::string> running_threads();

/// What open descriptors refer to, by number.
std::map<int, std::string> open_descriptors();

/// True when a child process has not been waited for.
bool has_child_process();

/// The numbers of all children of a process, including those that wait to be reaped.
std::vector<int> children_of(int process);

/// The names of processes that this one started and that lost their parent, such as daemons: the
/// parent of this process has adopted them. Gives those that are about to end a second.
std::vector<std::string> running_orphans();

/// Waits until all threads but the `known` ones have ended or are blocked, so that their work is
/// done for now. Waits a second at most.
void wait_for_quiet_threads(const std::map<int, std::string>& known);

}  // namespace fwmod

#endif
