// Opening libraries with the names that a path stands for, and the reasons why that fails.
#include "fwbase/module/library.h"

#include <dlfcn.h>

#include <vector>

#include "support/cancellation_block.h"

namespace fwbase {

namespace {

std::vector<std::string> file_names(const std::string& path) {
  const std::size_t file = path.rfind('/') + 1;  // 0 without a directory
  if (path.find('.', file) != std::string::npos) {
    return {path};
  }
  return {path.substr(0, file) + "lib" + path.substr(file) + ".so", path + ".so", path};
}

const char* last_error() {
  const char* const error = dlerror();
  return error != nullptr ? error : "";
}

}  // namespace

// The loader cannot be left halfway, with its locks held.
Library::Library(const std::string& path) {
  const support::CancellationBlock no_cancellation;
  std::string reasons;
  for (const std::string& name : file_names(path)) {
    // An empty name would be the program itself.
    m_handle = name.empty() ? nullptr : dlopen(name.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (m_handle != nullptr) {
      return;
    }
    if (!name.empty()) {
      reasons.append(reasons.empty() ? "" : "; ").append(last_error());
    }
  }
  // A reason may name nothing but another library, which this one needs.
  m_open_error = reasons.find(path) != std::string::npos ? reasons : path + ": " + reasons;
}

Library::~Library() {
  if (m_handle != nullptr) {
    const support::CancellationBlock no_cancellation;
    dlclose(m_handle);
  }
}

IMM::CreateFun Library::function(const char* name, const char*& reason) const {
  if (m_handle == nullptr) {
    reason = m_open_error.c_str();
    return nullptr;
  }
  void* const found = dlsym(m_handle, name);
  reason = found == nullptr ? last_error() : "";
  return reinterpret_cast<IMM::CreateFun>(found);
}

}  // namespace fwbase
