// Environments: looking up strings by name, by one thread and by two.
#include <string>

#include "bench/environments/registry.h"
#include "bench/facade.h"
#include "bench/names.h"

namespace fwbase::bench {

namespace {

constexpr const char* kMap = "shared_mutex + map";
constexpr const char* kUnorderedMap = "shared_mutex + unordered_map";

const RegistryKind kinds[] = {{"fwbase", Role::kOurs, make_environment},
                              {"unordered_map, no lock", Role::kFloor, make_unordered_map},
                              {kMap, Role::kPeer, make_locked_map},
                              {kUnorderedMap, Role::kPeer, make_locked_unordered_map}};

// A registry that is filled when it is needed first.
class Filled {
 public:
  Filled(const RegistryKind& kind, std::shared_ptr<const Names> names)
      : m_kind(kind), m_names(std::move(names)) {}

  double look_up(int threads, long count) {
    fill();
    const std::vector<const char*>& names = m_names->all();
    const long each = count / threads;
    const auto measure = threads == 1 ? own_nanoseconds_each : nanoseconds_each;
    return measure(each * threads, [&] {
      on_threads(threads, [&](int thread) {
        m_registry->look_up(names, names.size() * static_cast<std::size_t>(thread) / 2, each);
      });
    });
  }

 private:
  void fill() {
    if (m_registry != nullptr) {
      return;
    }
    m_registry = m_kind.make();
    for (const char* name : m_names->all()) {
      m_registry->add(name, "192.0.2.10:4711");
    }
  }

  const RegistryKind& m_kind;
  std::shared_ptr<const Names> m_names;
  std::unique_ptr<Registry> m_registry;
};

Group look_up_group(long size, int threads, long count, std::vector<Target> targets) {
  Group group{"look-up, " + with_commas(size) + " names, " + std::to_string(threads) +
                  (threads == 1 ? " thread" : " threads"),
              "ns per look-up",
              {},
              std::move(targets),
              threads == 1 ? "look_up" : ""};
  const auto names = std::make_shared<const Names>(size);
  for (const RegistryKind& kind : kinds) {
    const auto registry = std::make_shared<Filled>(kind, names);
    group.rows.push_back({kind.name, kind.role, [=] { return registry->look_up(threads, count); },
                          static_cast<double>(size)});
  }
  return group;
}

std::vector<Group> groups(const Options& options) {
  const long count = options.operations(500000);
  const Target as_map{"fwbase", kMap, 1};
  const Target near_unordered_map{"fwbase", kUnorderedMap, 1.2};
  std::vector<Group> result;
  for (const int threads : {1, 2}) {
    result.push_back(look_up_group(10, threads, count, {as_map}));
    result.push_back(look_up_group(1000, threads, count, {as_map}));
    result.push_back(look_up_group(100000, threads, count, {as_map, near_unordered_map}));
  }
  result.push_back(look_up_group(100, 1, count, {}));
  result.push_back(look_up_group(10000, 1, count, {}));
  return result;
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  const fwbase::bench::Facade facade;
  return fwbase::bench::run("environments", argc, argv, fwbase::bench::groups);
}
