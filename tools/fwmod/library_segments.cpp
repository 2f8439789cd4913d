#include "library_segments.h"

#include <link.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>

namespace fwmod {

namespace {

template <typename Visit>
void visit_loaded(Visit visit) {
  dl_iterate_phdr(
      [](dl_phdr_info* library, std::size_t, void* data) {
        (*static_cast<Visit*>(data))(*library);
        return 0;
      },
      &visit);
}

}  // namespace

LoadedLibraries loaded_libraries() {
  LoadedLibraries loaded;
  visit_loaded([&](const dl_phdr_info& library) { loaded.insert(library.dlpi_addr); });
  return loaded;
}

LibrarySegments::LibrarySegments(const LoadedLibraries& loaded_before) {
  visit_loaded([&](const dl_phdr_info& library) {
    if (loaded_before.contains(library.dlpi_addr)) {
      return;
    }
    for (int i = 0; i < library.dlpi_phnum; ++i) {
      const ElfW(Phdr)& segment = library.dlpi_phdr[i];
      if (segment.p_type == PT_LOAD) {
        const std::uintptr_t begin = library.dlpi_addr + segment.p_vaddr;
        m_segments.push_back({begin, begin + segment.p_memsz, (segment.p_flags & PF_X) != 0});
      }
    }
  });
}

bool LibrarySegments::contain(const void* address) const {
  const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(address);
  return std::any_of(m_segments.begin(), m_segments.end(), [&](const Segment& segment) {
    return segment.begin <= at && at < segment.end;
  });
}

bool LibrarySegments::contain_code(const void* address) const {
  const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(address);
  return std::any_of(m_segments.begin(), m_segments.end(), [&](const Segment& segment) {
    return segment.is_code && segment.begin <= at && at < segment.end;
  });
}

const void* vtable_of(const void* object) {
  const void* vtable = nullptr;
  const iovec to = {&vtable, sizeof vtable};
  const iovec from = {const_cast<void*>(object), sizeof vtable};
  const ssize_t read = process_vm_readv(getpid(), &to, 1, &from, 1, 0);
  return read == static_cast<ssize_t>(sizeof vtable) ? vtable : nullptr;
}

}  // namespace fwmod
