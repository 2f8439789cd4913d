// Opening the library, with the reasons why that fails, and where it lies then.
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

/// The segments of libraries.
class LibrarySegments {
 public:
  /// Those of all libraries that are loaded, but for the ones that were loaded before: what is left
  /// goes together when the library that brought the others is unloaded.
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

/// The table of virtual functions of an object, read without trusting the pointer; null when there
/// is nothing to read.
const void* vtable_of(const void* object);

/// An open library.
struct Library {
  void* handle;
  std::string path;  ///< as it was opened
  LibrarySegments segments;
};

/// The files that may be meant by a path, in the order in which to try them: the one that there is,
/// or all that the loader's search path may have, without a directory.
std::vector<std::string> library_files(const std::string& path);

/// Opens the first of the files that a path may mean, with all symbols bound at once, as a host
/// does. A library that cannot be opened, or is without the creation function, is a fault.
Library open_library(const std::string& path, Findings& findings);

/// The fault that a text of the system's loader tells of. `file` is what was to be opened.
std::string loader_fault(const std::string& text, const std::string& file);

}  // namespace fwmod

#endif
