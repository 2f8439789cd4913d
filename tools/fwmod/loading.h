// Opening the library, with the reasons why that fails.
#ifndef FWMOD_LOADING_H
#define FWMOD_LOADING_H

#include <string>
#include <vector>

#include "findings.h"
#include "library_segments.h"

namespace fwmod {

/// An open library.
struct Library {
  void* handle;
  std::string path;  ///< as it was opened
  LibrarySegments segments;
};

/// Opens the first of these files that can be opened, with all symbols bound at once, as a host
/// does. A library that cannot be opened is a fault.
Library open_library(const std::vector<std::string>& files, Findings& findings);

/// A library without the creation function is a fault.
void require_creation_function(const Library& library, Findings& findings);

/// The fault that a text of the system's loader tells of. `file` is what was to be opened.
std::string loader_fault(const std::string& text, const std::string& file);

}  // namespace fwmod

#endif
