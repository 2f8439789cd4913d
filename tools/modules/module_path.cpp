// Looks into directories; opens nothing.
#include "modules/module_path.h"

#include <filesystem>

namespace tools {

namespace {

namespace fs = std::filesystem;

bool is_file(const std::string& path) {
  std::error_code ignored;
  return fs::is_regular_file(path, ignored);
}

}  // namespace

std::string module_path(const std::string& name) { return module_path(name, module_directories()); }

std::string module_path(const std::string& name, const std::vector<std::string>& directories) {
  if (name.empty() || name.find('/') != name.npos) {
    return name;
  }
  for (const std::string& directory : directories) {
    for (const std::string& file : {"lib" + name + ".so", name + ".so", name}) {
      std::string path = directory + "/" + file;
      if (is_file(path)) {
        return path;
      }
    }
  }
  return name;
}

std::vector<std::string> module_directories() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (error) {
    return {};
  }
  const fs::path beside = program.parent_path();
  return {beside.string(), (beside / TOOLS_MODULES_FROM_PROGRAMS).lexically_normal().string()};
}

}  // namespace tools
