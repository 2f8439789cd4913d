// Makes large allocations of this process fail for real.
#ifndef FWBASE_TESTS_HARNESS_ADDRESS_SPACE_LIMIT_H
#define FWBASE_TESTS_HARNESS_ADDRESS_SPACE_LIMIT_H

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

// Sanitizers map more memory than any limit allows: tests leave the limit out under them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define FWBASE_TEST_CAN_LIMIT_ADDRESS_SPACE 0
#else
#define FWBASE_TEST_CAN_LIMIT_ADDRESS_SPACE 1
#endif

namespace fwbase::test {

/// While it lives, the process can map `more` bytes beyond what it has mapped, roughly.
class AddressSpaceLimit {
 public:
  explicit AddressSpaceLimit(rlim_t more) {
    getrlimit(RLIMIT_AS, &m_before);
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit limited = m_before;
    limited.rlim_cur = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + more;
    if (pages == 0 || setrlimit(RLIMIT_AS, &limited) != 0) {
      throw std::runtime_error("no limit set");
    }
  }
  ~AddressSpaceLimit() { setrlimit(RLIMIT_AS, &m_before); }
  AddressSpaceLimit(const AddressSpaceLimit&) = delete;
  AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;

 private:
  rlimit m_before{};
};

}  // namespace fwbase::test

#endif
