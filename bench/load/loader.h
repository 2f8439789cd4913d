// What the loaders under test have in common: they read a script file and hold what it says.
#ifndef FWBASE_BENCH_LOAD_LOADER_H
#define FWBASE_BENCH_LOAD_LOADER_H

#include <memory>
#include <string>
#include <vector>

#include "bench/harness.h"

namespace fwbase::bench {

class Loader {
 public:
  virtual ~Loader() = default;
  /// Called once. What is loaded is held until the loader goes. Throws when it fails.
  virtual void load(const char* path) = 0;
};

struct LoaderKind {
  std::string name;
  Role role;
  std::unique_ptr<Loader> (*make)();
};

/// All that are built in, in no particular order.
inline std::vector<LoaderKind>& loader_kinds() {
  static std::vector<LoaderKind> kinds;
  return kinds;
}

/// A source file of a loader has one of these: a loader whose package is missing is not built.
struct RegisterLoader {
  template <typename Make>
  RegisterLoader(const char* name, Role role, Make make) {
    loader_kinds().push_back({name, role, make});
  }
};

}  // namespace fwbase::bench

#endif
