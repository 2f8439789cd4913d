// A fresh directory for one test, and whole files as strings.
#ifndef FWBASE_TESTS_HARNESS_TEMP_DIR_H
#define FWBASE_TESTS_HARNESS_TEMP_DIR_H

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <stdlib.h>

namespace fwbase::test {

/// Made on construction; removed with all that is in it.
class TempDir {
 public:
  TempDir() {
    std::string name = (std::filesystem::temp_directory_path() / "fwbase_XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("mkdtemp failed: " + name);
    }
    m_path = name;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  /// The path of the directory, or of a file in it.
  const std::string& path() const { return m_path; }
  std::string path(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

/// The bytes of a file; empty when there is none.
inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

inline void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace fwbase::test

#endif
