// What the registries under test have in common: strings by name, for many threads.
#ifndef FWBASE_BENCH_ENVIRONMENTS_REGISTRY_H
#define FWBASE_BENCH_ENVIRONMENTS_REGISTRY_H

#include <memory>
#include <string>
#include <vector>

#include "bench/harness.h"

namespace fwbase::bench {

class Registry {
 public:
  virtual ~Registry() = default;

  virtual void add(const char* name, const char* value) = 0;

  /// Looks names up in turn, beginning with the one at `first`. The loop is the registry's, so that
  /// no virtual call of the benchmark is measured.
  virtual void look_up(const std::vector<const char*>& names, std::size_t first, long count) = 0;
};

struct RegistryKind {
  std::string name;
  Role role;
  std::unique_ptr<Registry> (*make)();
};

/// The library's environments.
std::unique_ptr<Registry> make_environment();
/// The standard library's maps behind a std::shared_mutex, looked up without a copy of the name.
std::unique_ptr<Registry> make_locked_map();
std::unique_ptr<Registry> make_locked_unordered_map();
/// A std::unordered_map that only one thread may change: what finding a string costs.
std::unique_ptr<Registry> make_unordered_map();

}  // namespace fwbase::bench

#endif
