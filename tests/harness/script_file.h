// A script in a file of its own, in a fresh directory that goes when the object does.
#ifndef FWBASE_TESTS_HARNESS_SCRIPT_FILE_H
#define FWBASE_TESTS_HARNESS_SCRIPT_FILE_H

#include <filesystem>
#include <string>

#include "tests/harness/temp_dir.h"

namespace fwbase::test {

class ScriptFile {
 public:
  explicit ScriptFile(const std::string& text) : m_path(m_directory.path("script.xml")) {
    write_file(m_path, text);
  }

  const char* path() const { return m_path.c_str(); }
  const std::string& directory() const { return m_directory.path(); }
  std::string text() const { return read_file(m_path); }
  bool exists() const { return std::filesystem::exists(m_path); }
  void remove() const { std::filesystem::remove(m_path); }

 private:
  TempDir m_directory;
  std::string m_path;
};

}  // namespace fwbase::test

#endif
