// I/O calls that fail: those of the program and of every library that it uses, on the files below
// one directory.
#ifndef FWBASE_TESTS_FAULTS_FAILING_IO_H
#define FWBASE_TESTS_FAULTS_FAILING_IO_H

#include <string>

namespace fwbase::faults {

/// What an I/O call does instead of what it is asked for.
struct IoFault {
  const char* name;
  int error;        ///< it fails with this; 0: it is a write and writes half of what it is given
  int later_error;  ///< later writes fail with this; 0: they succeed
  bool all_later = false;  ///< so do all other later calls
};

/// While it lives, I/O calls fail. One at a time.
class FailingIo {
 public:
  /// n   the call that fails, counted from 1 over all threads; 0: none
  FailingIo(const std::string& directory, int n, const IoFault& fault);
  ~FailingIo();
  FailingIo(const FailingIo&) = delete;
  FailingIo& operator=(const FailingIo&) = delete;

  /// Whether a call has failed, and which; "" for none.
  static bool injected();
  static const char* function();

  /// Whether the failure was one that asks for another try.
  static bool interrupted();

  /// Whether any call of the function has failed in this process so far.
  static bool has_failed(const char* function);

  /// How many writes have failed, for good: those that were interrupted are made again.
  static int failed_writes();
};

}  // namespace fwbase::faults

#endif
