// Allocations that fail: the test program's operator new, told which call to refuse.
#ifndef FWBASE_TESTS_HARNESS_FAILING_NEW_H
#define FWBASE_TESTS_HARNESS_FAILING_NEW_H

namespace fwbase::test {

/// While it lives, one allocation of this thread fails. One at a time per thread.
///
///   for (int n = 1;; ++n) {
///     FailingNew memory(n);
///     result = operation();
///     if (!memory.has_failed()) break;   // it allocates less than n times
///     ...
///   }
class FailingNew {
 public:
  enum Form : unsigned int {
    NOTHROW = 1,   // new (std::nothrow): gives null
    THROWING = 2,  // new: throws std::bad_alloc
    ANY = NOTHROW | THROWING
  };

  /// The n-th allocation of that form fails, counted from 1; all others succeed.
  explicit FailingNew(int n, Form form = NOTHROW);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;

  bool has_failed() const;
};

}  // namespace fwbase::test

#endif
