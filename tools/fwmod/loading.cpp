#include "loading.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>
#include <strings.h>

#include <cstring>

#include "elf_file.h"
#include "support/text.h"
#include "watch/manager_lock.h"

namespace fwmod {

namespace {

constexpr char kUndefined[] = "undefined symbol: ";
constexpr char kNotThere[] = ": cannot open shared object file: No such file or directory";

std::string before(const std::string& text, const std::string& part) {
  return text.substr(0, text.find(part));
}

std::string symbol_text(const std::string& symbol) {
  const std::string readable = demangled(symbol.c_str());
  return readable == symbol ? symbol : readable + " (" + symbol + ")";
}

std::string undefined_symbol(const std::string& text, const std::string& file) {
  const std::size_t at = text.find(kUndefined);
  const std::string symbol = before(text.substr(at + std::strlen(kUndefined)), ",");
  const std::string needed_by = before(text, ": ");
  return "undefined symbol " + symbol_text(symbol) +
         (needed_by == file ? "" : ", which " + needed_by + " needs");
}

// In C++ only a library's own exceptions get here: the loader itself reports by codes.
void* open_file(const std::string& file, Findings& findings) {
  const ManagerLock lock;  // as in the module manager, which opens libraries under its lock
  try {
    return dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL);
  } catch (const abi::__forced_unwind&) {
    findings.fault("ends the host's thread while loading");
  } catch (...) {
    findings.fault("throws " + current_exception_text() + " while loading");
  }
}

std::string path_of(void* handle) {
  link_map* map = nullptr;
  return dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : "";
}

bool mentions_creation(const std::string& text) {
  return strcasestr(text.c_str(), "create") != nullptr;
}

// What might have been meant, and how it is named.
std::string similar_functions(const std::string& path, const std::string& wanted) {
  constexpr std::size_t kMost = 5;
  std::vector<std::string> similar;
  for (const std::string& name : exported_functions(path)) {
    const std::string function = demangled(name.c_str());
    if (function == wanted + "()") {
      return "; it exports " + function + " as a C++ function: declare it extern \"C\"";
    }
    if (function == name && mentions_creation(name) && similar.size() < kMost) {
      similar.push_back(name);
    }
  }
  return similar.empty() ? "" : "; it exports " + tools::joined(similar);
}

}  // namespace

std::string loader_fault(const std::string& text, const std::string& file) {
  if (text.find(kUndefined) != text.npos) {
    return undefined_symbol(text, file);
  }
  if (text == file + kNotThere) {
    return "no such file beside fwmod, among the installed modules or in the loader's search path; "
           "write ./" +
           file + " for one in the working directory";
  }
  if (text.find(kNotThere) != text.npos) {
    return "needs the library " + before(text, kNotThere) + ", which is not there";
  }
  const std::string prefix = file + ": ";
  return "cannot be loaded: " +
         (text.compare(0, prefix.size(), prefix) == 0 ? text.substr(prefix.size()) : text);
}

Library open_library(const std::vector<std::string>& files, Findings& findings) {
  findings.step(Step::kLoading);
  const LoadedLibraries loaded_before = loaded_libraries();
  std::string fault;
  for (const std::string& file : files) {
    void* const handle = open_file(file, findings);
    if (handle != nullptr) {
      return {handle, file, LibrarySegments(loaded_before)};
    }
    const char* const error = dlerror();
    const std::string text = error != nullptr ? error : "";
    // That a file is not there says less than what is wrong with another one.
    if (fault.empty() || text != file + kNotThere) {
      fault = loader_fault(text, file);
    }
  }
  findings.fault(fault);
}

void require_creation_function(const Library& library, Findings& findings) {
  const std::string& function = findings.function();
  const void* const found = dlsym(library.handle, function.c_str());
  if (found == nullptr) {
    findings.fault("no creation function " + function + "()" +
                   similar_functions(path_of(library.handle), function));
  }
  if (library.segments.contain(found) && !library.segments.contain_code(found)) {
    findings.fault(function + " is a variable, not a creation function");
  }
}

}  // namespace fwmod
