// Opens the library as the module manager does, and puts the loader's errors into words that help.
#include "loading.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "command_line/text.h"
#include "elf_file.h"
#include "modules/module_path.h"

namespace fwmod {

namespace {

constexpr char kUndefined[] = "undefined symbol: ";
constexpr char kNotThere[] = ": cannot open shared object file: No such file or directory";

std::string before(const std::string& text, const std::string& part) {
  return text.substr(0, text.find(part));
}

std::string undefined_symbol(const std::string& text, const std::string& file) {
  const std::size_t at = text.find(kUndefined) + std::strlen(kUndefined);
  const std::string symbol = before(text.substr(at), ",");
  const std::string readable = demangled(symbol.c_str());
  const std::string needed_by = before(text, ": ");
  return "undefined symbol " + readable + (readable == symbol ? "" : " (" + symbol + ")") +
         (needed_by == file ? "" : ", which " + needed_by + " needs");
}

// The loader itself throws nothing; the library's static constructors may.
void* open_file(const std::string& file, Findings& findings) {
  const ManagerLock lock;  // the module manager opens libraries under its lock
  try {
    return dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL);
  } catch (...) {
    findings.exception();
  }
}

std::string path_of(void* handle) {
  link_map* map = nullptr;
  return dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : "";
}

// Exported functions that may be the one that is wanted.
std::string similar_functions(const std::string& path, const std::string& wanted) {
  constexpr std::size_t kMost = 5;
  std::vector<std::string> similar;
  for (const std::string& name : exported_functions(path)) {
    const std::string function = demangled(name.c_str());
    if (function == wanted + "()") {
      return "; it exports " + function + " as a C++ function: declare it extern \"C\"";
    }
    if (function == name && strcasestr(name.c_str(), "create") != nullptr &&
        similar.size() < kMost) {
      similar.push_back(name);
    }
  }
  return similar.empty() ? "" : "; it exports " + tools::joined(similar);
}

void require_creation_function(const Library& library, Findings& findings) {
  const std::string& function = findings.function();
  const void* const found = dlsym(library.handle, function.c_str());
  if (found == nullptr) {
    findings.fault("no creation function " + function + "()" +
                   similar_functions(path_of(library.handle), function));
  }
  if (library.segments.contain_data(found)) {
    findings.fault(function + " is a variable, not a creation function");
  }
}

}  // namespace

LibrarySegments LibrarySegments::loaded(const LibrarySegments& before) {
  LibrarySegments all;
  const auto add = [](dl_phdr_info* library, std::size_t, void* data) {
    for (const ElfW(Phdr) & segment : std::span(library->dlpi_phdr, library->dlpi_phnum)) {
      const std::uintptr_t begin = library->dlpi_addr + segment.p_vaddr;
      if (segment.p_type == PT_LOAD) {
        static_cast<LibrarySegments*>(data)->m_segments.push_back(
            {begin, begin + segment.p_memsz, (segment.p_flags & PF_X) != 0});
      }
    }
    return 0;
  };
  dl_iterate_phdr(add, &all);
  std::erase_if(all.m_segments, [&](const Segment& segment) {
    return before.contain(reinterpret_cast<const void*>(segment.begin));
  });
  return all;
}

const LibrarySegments::Segment* LibrarySegments::find(const void* address) const {
  const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(address);
  const auto found =
      std::find_if(m_segments.begin(), m_segments.end(),
                   [&](const Segment& segment) { return segment.begin <= at && at < segment.end; });
  return found != m_segments.end() ? &*found : nullptr;
}

bool LibrarySegments::contain_data(const void* address) const {
  const Segment* const segment = find(address);
  return segment != nullptr && !segment->is_code;
}

const void* vtable_of(const void* object) {
  const void* vtable = nullptr;
  const iovec to = {&vtable, sizeof vtable};
  const iovec from = {const_cast<void*>(object), sizeof vtable};
  const ssize_t read = process_vm_readv(getpid(), &to, 1, &from, 1, 0);
  return read == static_cast<ssize_t>(sizeof vtable) ? vtable : nullptr;
}

// Tries the same names as the module manager, in the same order.
std::vector<std::string> library_files(const std::string& path) {
  const std::string found = tools::module_path(path);
  const std::size_t name = found.rfind('/') + 1;  // 0 without a directory
  std::vector<std::string> files = {found};
  if (found.find('.', name) == found.npos) {
    files = {found.substr(0, name) + "lib" + found.substr(name) + ".so", found + ".so", found};
  }
  if (name == 0) {
    return files;
  }
  std::erase_if(files, [](const std::string& file) { return access(file.c_str(), F_OK) != 0; });
  return {files.empty() ? found : files.front()};
}

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
  return "cannot be loaded: " + (text.starts_with(prefix) ? text.substr(prefix.size()) : text);
}

Library open_library(const std::string& path, Findings& findings) {
  findings.step(Step::kLoading);
  const LibrarySegments loaded_before = LibrarySegments::loaded();
  std::string fault;
  for (const std::string& file : library_files(path)) {
    if (void* const handle = open_file(file, findings)) {
      Library library = {handle, file, LibrarySegments::loaded(loaded_before)};
      require_creation_function(library, findings);
      return library;
    }
    const char* const error = dlerror();
    const std::string text = error != nullptr ? error : "";
    // A file with another mistake says more than one that is not there.
    if (fault.empty() || text != file + kNotThere) {
      fault = loader_fault(text, file);
    }
  }
  findings.fault(fault);
}

}  // namespace fwmod
