// To be preloaded into a program: its I/O calls on files and sockets are interrupted, refused for
// the moment, or do half of what they are asked for, at random. Nothing of it is an error that a
// program may give up at. Pipes are left alone: the reactor sends its own notifications through
// one. At the end it says on standard error how often a call has failed.
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <random>

namespace {

constexpr unsigned kCallsPerFault = 20;

template <typename Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

#define REAL(function) real<decltype(::function)>(#function)

class Faults {
 public:
  ~Faults() { std::fprintf(stderr, "random_faults: %u\n", m_count.load()); }

  /// Fails with one of two errors, each as often as the call is cut, or does neither.
  bool fail_or_cut(size_t& size, int error, int other_error) {
    thread_local std::minstd_rand random(++m_threads);
    const unsigned chance = random() % (3 * kCallsPerFault);
    if (chance > 2) {
      return false;
    }
    ++m_count;
    if (chance == 2) {
      size = (size + 1) / 2;
      return false;
    }
    errno = chance == 0 ? error : other_error;
    return true;
  }

 private:
  std::atomic<unsigned> m_threads{0};
  std::atomic<unsigned> m_count{0};
};

Faults faults;

bool is_file(int descriptor) {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t size) {
  const bool failed = is_file(descriptor) && faults.fail_or_cut(size, EINTR, EINTR);
  return failed ? -1 : REAL(write)(descriptor, bytes, size);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
  const bool failed = is_file(descriptor) && faults.fail_or_cut(size, EINTR, EINTR);
  return failed ? -1 : REAL(read)(descriptor, bytes, size);
}

ssize_t send(int socket, const void* bytes, size_t size, int flags) {
  return faults.fail_or_cut(size, EINTR, EAGAIN) ? -1 : REAL(send)(socket, bytes, size, flags);
}

ssize_t recv(int socket, void* bytes, size_t size, int flags) {
  return faults.fail_or_cut(size, EINTR, EAGAIN) ? -1 : REAL(recv)(socket, bytes, size, flags);
}

int accept(int socket, sockaddr* address, socklen_t* length) {
  size_t nothing_to_cut = 0;
  return faults.fail_or_cut(nothing_to_cut, EINTR, ECONNABORTED)
             ? -1
             : REAL(accept)(socket, address, length);
}

}  // extern "C"
