// A process that has as many files open as it may.
#ifndef FWBASE_TESTS_HARNESS_NO_DESCRIPTORS_H
#define FWBASE_TESTS_HARNESS_NO_DESCRIPTORS_H

#include <sys/resource.h>

// The undefined-behaviour sanitizer, which comes with that of addresses, opens a pipe to see
// whether an object may be read.
#ifdef __SANITIZE_ADDRESS__
#define FWBASE_TEST_CAN_TAKE_ALL_DESCRIPTORS 0
#else
#define FWBASE_TEST_CAN_TAKE_ALL_DESCRIPTORS 1
#endif

namespace fwbase::test {

/// While it lives, this process gets no new descriptor; those that are open can be used.
class NoDescriptors {
 public:
  NoDescriptors() {
    ::getrlimit(RLIMIT_NOFILE, &m_limit);
    const rlimit limit = {0, m_limit.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_limit); }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit m_limit;
};

}  // namespace fwbase::test

#endif
