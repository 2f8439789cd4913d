// What a process has besides memory: threads, open descriptors, child processes.
#ifndef FWMOD_PROCESS_STATE_H
#define FWMOD_PROCESS_STATE_H

#include <map>
#include <string>
#include <vector>

namespace fwmod {

/// Threads by number, with their names; those that have ended and wait to be gone are not in it.
std::map<int, std::string> running_threads();

/// Open descriptors with what they refer to.
std::map<int, std::string> open_descriptors();

/// True when a child process has not been waited for.
bool has_child_process();

/// The numbers of all children of a process, of those too that have ended and wait to be reaped.
std::vector<int> children_of(int process);

/// The names of processes that were started in this one and have no parent any more, such as
/// daemons: they are children of the process that watches this one, its parent. Those that are
/// about to end are given a second.
std::vector<std::string> running_orphans();

/// Waits until all threads but `known` ones are gone or blocked, so that they have done for now
/// what they were started for. Threads that stay busy are waited for a second.
void wait_for_quiet_threads(const std::map<int, std::string>& known);

}  // namespace fwmod

#endif
