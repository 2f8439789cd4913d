// Allocations that fail: of all threads, of the program and of every library that it uses.
#ifndef FWBASE_TESTS_FAULTS_FAILING_ALLOCATIONS_H
#define FWBASE_TESTS_FAULTS_FAILING_ALLOCATIONS_H

// The sanitizers bring a malloc of their own, which cannot be replaced: under them operator new
// alone fails and is counted, in both of its forms. Everywhere else operator new gets its memory
// from malloc, so that one place sees all.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define FWBASE_FAULTS_REPLACE_MALLOC 0
#else
#define FWBASE_FAULTS_REPLACE_MALLOC 1
#endif

#include <initializer_list>

namespace fwbase::faults {

enum class Failing {
  kOne,     ///< the n-th allocation fails, later ones succeed
  kAllFrom  ///< the n-th fails and so do all that follow
};

/// While it lives, allocations fail. One at a time.
class FailingAllocations {
 public:
  /// n   the first one to fail, counted from 1 over all threads; 0: none fails
  FailingAllocations(int n, Failing failing);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;

  /// Whether an allocation has failed.
  static bool injected();
};

/// Prints the call stack of the allocation that was refused last, if any.
void print_refused();

/// Prints the call stack of the caller.
void print_stack();

/// The blocks in use, of all threads, and their bytes.
long live_allocations();
long live_bytes();

/// Remembers allocations with their call stacks, as long as the blocks are in use and it lives.
class RecordedAllocations {
 public:
  RecordedAllocations();
  ~RecordedAllocations();
  RecordedAllocations(const RecordedAllocations&) = delete;
  RecordedAllocations& operator=(const RecordedAllocations&) = delete;

  /// Later allocations are not remembered.
  void stop();

  /// Prints the call stacks of those that are still in use, but for those that pass through a
  /// function whose name contains one of the texts. Gives the number of those printed.
  int print_live(std::initializer_list<const char*> functions) const;
};

}  // namespace fwbase::faults

#endif
