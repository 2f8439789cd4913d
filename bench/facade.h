// A started facade with its log in a temporary directory, for one benchmark.
#ifndef FWBASE_BENCH_FACADE_H
#define FWBASE_BENCH_FACADE_H

#include <fwbase/fwbase.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace fwbase::bench {

class Facade {
 public:
  Facade() : m_directory(make_directory()) {
    if (ec::failed(get()->init()) || ec::failed(get()->runlog()->file(path("bench.log").c_str()))) {
      throw std::runtime_error("the library does not start");
    }
  }
  ~Facade() {
    get()->release();
    std::filesystem::remove_all(m_directory);
  }
  Facade(const Facade&) = delete;
  Facade& operator=(const Facade&) = delete;

  IFWBase* operator->() const { return get(); }

  std::string path(const std::string& file) const { return m_directory / file; }

 private:
  static IFWBase* get() { return IFWBase::instance(); }

  static std::filesystem::path make_directory() {
    std::string name = std::filesystem::temp_directory_path() / "fwbase_bench.XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no temporary directory");
    }
    return name;
  }

  std::filesystem::path m_directory;
};

}  // namespace fwbase::bench

#endif
