// Where the code and data of a library lie in this process.
#ifndef FWMOD_LIBRARY_SEGMENTS_H
#define FWMOD_LIBRARY_SEGMENTS_H

#include <cstdint>
#include <set>
#include <vector>

namespace fwmod {

/// The libraries that are loaded at a moment, by the addresses that they are loaded at.
typedef std::set<std::uintptr_t> LoadedLibraries;
LoadedLibraries loaded_libraries();

/// The segments of the libraries that were loaded since another moment: they go together when the
/// one that brought the others is unloaded.
class LibrarySegments {
 public:
  explicit LibrarySegments(const LoadedLibraries& loaded_before);

  bool contain(const void* address) const;
  bool contain_code(const void* address) const;

 private:
  struct Segment {
    std::uintptr_t begin;
    std::uintptr_t end;
    bool is_code;
  };
  std::vector<Segment> m_segments;
};

/// The table of virtual functions of an object, read without trusting the pointer; null when there
/// is nothing to read.
const void* vtable_of(const void* object);

}  // namespace fwmod

#endif
