// Examines the file of a library before any of its code runs.
#ifndef FWMOD_ELF_FILE_H
#define FWMOD_ELF_FILE_H

#include <string>
#include <vector>

namespace fwmod {

/// Why the file cannot be a library for this program: it does not exist, cannot be read, is no
/// shared object, is for another machine, or is truncated. Empty for a sound file.
std::string fault_of_file(const std::string& path);

/// The names of the functions that a sound file exports, as the linker knows them. None when the
/// file has no section headers.
std::vector<std::string> exported_functions(const std::string& path);

}  // namespace fwmod

#endif
