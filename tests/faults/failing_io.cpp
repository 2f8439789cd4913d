#include "tests/faults/failing_io.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <set>

namespace {

enum class Call { kOther, kWriting };

std::string watched;  // files whose names begin so; changed while nothing is watched
std::atomic<bool> watching{false};
std::atomic<int> until_failure{0};
fwbase::faults::IoFault fault{};
std::atomic<bool> later_calls_fail{false};
std::atomic<int> writes_failed{0};
std::atomic<const char*> failed_function{nullptr};  // the first one

std::mutex guard;
std::set<std::string> failed_functions;  // of the whole process

template <typename Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

#define REAL(function) real<decltype(::function)>(#function)

bool is_watched(const char* path) {
  return watching && std::strncmp(path, watched.c_str(), watched.size()) == 0;
}

// By name: descriptors that were open before count as well.
bool is_watched(int descriptor) {
  if (!watching) {
    return false;
  }
  char link[64];
  char path[4096];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  const ssize_t size = REAL(readlink)(link, path, sizeof path - 1);
  path[size > 0 ? size : 0] = '\0';
  return is_watched(path);
}

// Whether this call is to fail, with errno; a write with an errno of 0 is to write less.
bool fails(const char* function, Call call) {
  const bool counts = fault.error != 0 || call == Call::kWriting;
  int error = -1;
  if (later_calls_fail && (call == Call::kWriting || fault.all_later)) {
    error = fault.later_error;
  } else if (counts && until_failure > 0 && --until_failure == 0) {
    error = fault.error;
    later_calls_fail = fault.later_error != 0;
    failed_function = function;
  }
  if (error < 0) {
    return false;
  }
  {
    const std::lock_guard<std::mutex> lock(guard);
    failed_functions.insert(function);
  }
  writes_failed += call == Call::kWriting && error != 0 && error != EINTR ? 1 : 0;
  errno = error;
  return true;
}

}  // namespace

namespace fwbase::faults {

FailingIo::FailingIo(const std::string& directory, int n, const IoFault& what) {
  watched = directory;
  fault = what;
  failed_function = nullptr;
  later_calls_fail = false;
  writes_failed = 0;
  until_failure = n;
  watching = true;
}

FailingIo::~FailingIo() { watching = false; }

int FailingIo::failed_writes() { return writes_failed; }

bool FailingIo::interrupted() { return injected() && fault.error == EINTR; }

bool FailingIo::has_failed(const char* function) {
  const std::lock_guard<std::mutex> lock(guard);
  return failed_functions.count(function) > 0;
}

bool FailingIo::injected() { return failed_function != nullptr; }

const char* FailingIo::function() { return injected() ? failed_function.load() : ""; }

}  // namespace fwbase::faults

extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return is_watched(path) && fails("open", Call::kOther) ? -1 : REAL(open)(path, flags, mode);
}

int openat(int directory, const char* path, int flags, ...) {
  std::va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return is_watched(directory) && fails("openat", Call::kOther)
             ? -1
             : REAL(openat)(directory, path, flags, mode);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
  if (is_watched(descriptor) && fails("write", Call::kWriting)) {
    if (errno != 0) {
      return -1;
    }
    size = (size + 1) / 2;
  }
  return REAL(write)(descriptor, bytes, size);
}

ssize_t writev(int descriptor, const iovec* parts, int count) {
  return is_watched(descriptor) && fails("writev", Call::kWriting)
             ? -1
             : REAL(writev)(descriptor, parts, count);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
  return is_watched(descriptor) && fails("pwrite", Call::kWriting)
             ? -1
             : REAL(pwrite)(descriptor, bytes, size, offset);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
  return is_watched(descriptor) && fails("read", Call::kOther)
             ? -1
             : REAL(read)(descriptor, bytes, size);
}

// The descriptor is gone even when closing fails.
int close(int descriptor) {
  const bool watched_file = is_watched(descriptor);
  const int result = REAL(close)(descriptor);
  return watched_file && fails("close", Call::kOther) ? -1 : result;
}

int fsync(int descriptor) {
  return is_watched(descriptor) && fails("fsync", Call::kOther) ? -1 : REAL(fsync)(descriptor);
}

int fdatasync(int descriptor) {
  return is_watched(descriptor) && fails("fdatasync", Call::kOther) ? -1
                                                                    : REAL(fdatasync)(descriptor);
}

int rename(const char* from, const char* to) {
  return is_watched(from) && fails("rename", Call::kOther) ? -1 : REAL(rename)(from, to);
}

int renameat2(int from_directory, const char* from, int to_directory, const char* to,
              unsigned int flags) noexcept {
  return is_watched(from) && fails("renameat2", Call::kOther)
             ? -1
             : REAL(renameat2)(from_directory, from, to_directory, to, flags);
}

int unlink(const char* path) {
  return is_watched(path) && fails("unlink", Call::kOther) ? -1 : REAL(unlink)(path);
}

int unlinkat(int directory, const char* path, int flags) {
  return is_watched(directory) && fails("unlinkat", Call::kOther)
             ? -1
             : REAL(unlinkat)(directory, path, flags);
}

int access(const char* path, int mode) {
  return is_watched(path) && fails("access", Call::kOther) ? -1 : REAL(access)(path, mode);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept {
  return is_watched(descriptor) && fails("lseek", Call::kOther)
             ? -1
             : REAL(lseek)(descriptor, offset, whence);
}

int ftruncate(int descriptor, off_t size) noexcept {
  return is_watched(descriptor) && fails("ftruncate", Call::kOther)
             ? -1
             : REAL(ftruncate)(descriptor, size);
}

int fstat(int descriptor, struct stat* status) noexcept {
  using Fstat = int(int, struct stat*);
  return is_watched(descriptor) && fails("fstat", Call::kOther)
             ? -1
             : real<Fstat>("fstat")(descriptor, status);
}

int stat(const char* path, struct stat* status) noexcept {
  using Stat = int(const char*, struct stat*);
  return is_watched(path) && fails("stat", Call::kOther) ? -1 : real<Stat>("stat")(path, status);
}

int lstat(const char* path, struct stat* status) noexcept {
  using Lstat = int(const char*, struct stat*);
  return is_watched(path) && fails("lstat", Call::kOther) ? -1 : real<Lstat>("lstat")(path, status);
}

int statfs(const char* path, struct statfs* status) noexcept {
  using Statfs = int(const char*, struct statfs*);
  return is_watched(path) && fails("statfs", Call::kOther) ? -1
                                                           : real<Statfs>("statfs")(path, status);
}

ssize_t readlink(const char* path, char* target, size_t size) noexcept {
  return is_watched(path) && fails("readlink", Call::kOther) ? -1
                                                             : REAL(readlink)(path, target, size);
}

int flock(int descriptor, int operation) noexcept {
  return is_watched(descriptor) && fails("flock", Call::kOther)
             ? -1
             : REAL(flock)(descriptor, operation);
}

DIR* opendir(const char* path) {
  return is_watched(path) && fails("opendir", Call::kOther) ? nullptr : REAL(opendir)(path);
}

dirent* readdir(DIR* listing) {
  return is_watched(::dirfd(listing)) && fails("readdir", Call::kOther) ? nullptr
                                                                        : REAL(readdir)(listing);
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept {
  return is_watched(descriptor) && fails("fchown", Call::kOther)
             ? -1
             : REAL(fchown)(descriptor, owner, group);
}

int fchmod(int descriptor, mode_t mode) noexcept {
  return is_watched(descriptor) && fails("fchmod", Call::kOther) ? -1
                                                                 : REAL(fchmod)(descriptor, mode);
}

}  // extern "C"
