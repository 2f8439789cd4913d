// The files that are loaded.
#ifndef FWBASE_BENCH_LOAD_SCRIPTS_H
#define FWBASE_BENCH_LOAD_SCRIPTS_H

#include <fstream>
#include <map>
#include <stdexcept>
#include <string>

#include "tests/harness/temp_dir.h"

namespace fwbase::bench {

/// Scripts of one section with so many calls, each written when it is needed first.
class Scripts {
 public:
  const std::string& with(long calls) {
    std::string& path = m_paths[calls];
    if (path.empty()) {
      path = m_directory.path(std::to_string(calls) + ".xml");
      write(path, calls);
    }
    return path;
  }

 private:
  static void write(const std::string& path, long calls) {
    std::ofstream file(path);
    file << "<korvid><template><Func name='nothing'><param tag='number' type='int'/>"
            "<param tag='text' type='string'/></Func></template>"
            "<Process name=''><Exec><section name='run'>\n";
    for (long i = 0; i < calls; ++i) {
      file << "<nothing><number>" << i << "</number><text>some text</text></nothing>\n";
    }
    file << "</section></Exec></Process></korvid>\n";
    if (!file.flush()) {
      throw std::runtime_error("cannot write " + path);
    }
  }

  test::TempDir m_directory;
  std::map<long, std::string> m_paths;
};

}  // namespace fwbase::bench

#endif
