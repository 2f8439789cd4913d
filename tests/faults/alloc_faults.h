// Operations whose allocations fail, one after the other.
#ifndef FWBASE_TESTS_FAULTS_ALLOC_FAULTS_H
#define FWBASE_TESTS_FAULTS_ALLOC_FAULTS_H

#include <fwbase/fwbase.h>

#include <functional>
#include <string>

#include "tests/faults/report.h"

namespace fwbase::faults {

/// How an operation ended, in the words of its contract.
enum class Outcome { kDone, kNoMemory };

using Act = std::function<Outcome()>;
using Check = std::function<void(Outcome)>;

/// Tries an operation with its first, second, ... allocation failing, until it needs no more of
/// them; then again with all allocations from the n-th on failing. Each time
///   - the operation must end as its contract says, and no exception may leave it;
///   - check() looks at the state, which is the old or the new one, and brings the old one back;
///   - another thread must find every lock free;
///   - the operation must succeed at once when memory is back;
///   - no block may be left behind.
void fail_each_allocation(const std::string& operation, const Act& act, const Check& check);

/// The same for an operation that does its work with or without memory: check() finds it done and
/// brings the state before it back.
void fail_in_vain(const std::string& operation, const std::function<void()>& act,
                  const std::function<void()>& check);

/// The outcome that a code stands for: a success, or the one for no memory (or `other`). Any other
/// code is a failure of the test.
Outcome outcome_of(ec::EC code, ec::EC no_memory, ec::EC other = 0);

/// The allocation to fail after the n-th: the next one in the long form of a scenario; the quick
/// one leaves out more and more.
int next_after(int n);

inline IFWBase* facade() { return IFWBase::instance(); }

/// A facade in service while it lives, which logs everything to nowhere: what is logged needs
/// memory, too.
class LoggingFacade {
 public:
  LoggingFacade();
  ~LoggingFacade();
  LoggingFacade(const LoggingFacade&) = delete;
  LoggingFacade& operator=(const LoggingFacade&) = delete;
};

// The scenarios.
void log_direct();
void log_queued();
void log_journal();
void log_rotation();
void log_macros();
void environments();
void keyed_environments();
void components();
void modules();
void data_blocks();
void script_values();
void script_load();
void script_exec();
void script_save();
void xml_document();
void xml_elements();
void strings();
void whole_life();

}  // namespace fwbase::faults

#endif
