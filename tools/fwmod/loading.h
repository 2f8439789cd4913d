// Opens the library, says why that fails, and knows where the library lies in memory.
#ifndef FWMOD_LOADING_H
#define FWMOD_LOADING_H

#include <cstdint>
#include <string>
#include <vector>

#include "report.h"

namespace fwmod {

/// Whether this thread is where a host's module manager holds its lock.
inline thread_local bool holds_manager_lock = false;

/// A scope where it does.
class ManagerLock {
 public:
  ManagerLock() { holds_manager_lock = true; }
  ~ManagerLock() { holds_manager_lock = false; }
  ManagerLock(const ManagerLock&) = delete;
  ManagerLock& operator=(const ManagerLock&) = delete;
};

/// The segments of libraries in memory.
class LibrarySegments {
 public:
  /// Those of all loaded libraries but the ones in `before`. They go together, when the library
  /// that loaded the others is unloaded.
  static LibrarySegments loaded(const LibrarySegments& before = {});

  bool contain(const void* address) const { return find(address) != nullptr; }
  bool contain_data(const void* address) const;

 private:
  struct Segment {
    std::uintptr_t begin;
    std::uintptr_t end;
    bool is_code;
  };
  const Segment* find(const void* address) const;

  std::vector<Segment> m_segments;
};

/// The table of virtual functions of an object. The pointer is not trusted: null when it cannot be
/// read.
const void* vtable_of(const void* object);

/// An open library.
struct Library {
  void* handle;
  std::string path;  ///< as it was opened
  LibrarySegments segments;
};

/// The files that a path may mean, in the order in which to try them: one that exists, or for the
/// loader's search path every possible name, without a directory.
std::vector<std::string> library_files(const std::string& path);

/// Opens the first of the files that a path may mean, with all symbols bound at once, as a host
/// does. It is a fault when that fails or the creation function is missing.
Library open_library(const std::string& path, Findings& findings);

/// Puts an error of the system's loader into words. `file` is what it was to open.
std::string loader_fault(const std::string& text, const std::string& file);

}  // namespace fwmod

#endif
