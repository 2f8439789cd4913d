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
  std::unique_ptr<Registry> (*make)(bool with_parent);
};

// With a parent, that has all strings, and each look-up goes on there.

/// The library's environments. The parent is the default one.
std::unique_ptr<Registry> make_environment(bool with_parent);
/// The standard library's maps behind a std::shared_mutex, looked up without a copy of the name.
std::unique_ptr<Registry> make_locked_map(bool with_parent);
std::unique_ptr<Registry> make_locked_unordered_map(bool with_parent);
/// A std::unordered_map that only one thread may change: what finding a string costs.
std::unique_ptr<Registry> make_unordered_map(bool with_parent);

}  // namespace fwbase::bench

#endif
