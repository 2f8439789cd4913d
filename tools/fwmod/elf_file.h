// What the file of a library tells before anything of it runs.
#ifndef FWMOD_ELF_FILE_H
#define FWMOD_ELF_FILE_H

#include <string>
#include <vector>

namespace fwmod {

/// Why the file cannot be a library for this program: there is none, it cannot be read, it is not
/// a shared object, it is for another machine, or its end is missing. Empty when none of these.
std::string fault_of_file(const std::string& path);

/// The names of the functions that a sound file exports, as the linker knows them. None for a file
/// without section headers.
std::vector<std::string> exported_functions(const std::string& path);

}  // namespace fwmod

#endif
