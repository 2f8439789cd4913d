// A script in a file of its own, in a fresh temporary directory that goes when the object does.
#ifndef FWBASE_TESTS_SUPPORT_SCRIPT_FILE_H
#define FWBASE_TESTS_SUPPORT_SCRIPT_FILE_H

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace fwbase::test {

class ScriptFile {
 public:
  explicit ScriptFile(const std::string& text) {
    std::string name = (std::filesystem::temp_directory_path() / "fwbase_XXXXXX").string();
    m_directory = ::mkdtemp(name.data());
    m_path = m_directory + "/script.xml";
    set_text(text);
  }
  ~ScriptFile() { std::filesystem::remove_all(m_directory); }
  ScriptFile(const ScriptFile&) = delete;
  ScriptFile& operator=(const ScriptFile&) = delete;

  const char* path() const { return m_path.c_str(); }
  const std::string& directory() const { return m_directory; }

  void set_text(const std::string& text) {
    std::ofstream(m_path, std::ios::binary | std::ios::trunc) << text;
  }

  std::string text() const {
    std::ostringstream text;
    text << std::ifstream(m_path, std::ios::binary).rdbuf();
    return text.str();
  }

 private:
  std::string m_directory;
  std::string m_path;
};

}  // namespace fwbase::test

#endif
