// A disk that is full, as far as this process can see.
#ifndef FWBASE_TESTS_HARNESS_FILE_SIZE_LIMIT_H
#define FWBASE_TESTS_HARNESS_FILE_SIZE_LIMIT_H

#include <signal.h>
#include <sys/resource.h>

namespace fwbase::test {

/// While it lives, files of this process cannot grow beyond a size in bytes: writes fail.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    m_handler = ::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &m_limit);
    const rlimit limit = {bytes, m_limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &m_limit);
    ::signal(SIGXFSZ, m_handler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit m_limit;
  void (*m_handler)(int);
};

}  // namespace fwbase::test

#endif
