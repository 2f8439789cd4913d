// Environments: looking up strings by name, by one thread and by two, and getting at them.
#include <atomic>
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
  Filled(const RegistryKind& kind, std::shared_ptr<const Names> names, bool with_parent)
      : m_kind(kind), m_names(std::move(names)), m_with_parent(with_parent) {}

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
    m_registry = m_kind.make(m_with_parent);
    for (const char* name : m_names->all()) {
      m_registry->add(name, "192.0.2.10:4711");
    }
  }

  const RegistryKind& m_kind;
  std::shared_ptr<const Names> m_names;
  const bool m_with_parent;
  std::unique_ptr<Registry> m_registry;
};

struct LookUps {
  const char* what;
  bool with_parent;
  int threads;
  long count;
};

Group look_up_group(const LookUps& work, long size, std::vector<Target> targets) {
  const bool plotted = work.threads == 1 && !work.with_parent;
  Group group{std::string(work.what) + ", " + with_commas(size) + " names, " +
                  std::to_string(work.threads) + (work.threads == 1 ? " thread" : " threads"),
              "ns per look-up",
              {},
              std::move(targets),
              plotted ? "look_up" : ""};
  const auto names = std::make_shared<const Names>(size);
  for (const RegistryKind& kind : kinds) {
    const auto registry = std::make_shared<Filled>(kind, names, work.with_parent);
    group.rows.push_back({kind.name, kind.role,
                          [=] { return registry->look_up(work.threads, work.count); },
                          static_cast<double>(size)});
  }
  return group;
}

template <typename Get>
Row getter_row(const char* name, Role role, int threads, long count, Get get) {
  return {name, role, [=] {
            const long each = count / threads;
            const auto measure = threads == 1 ? own_nanoseconds_each : nanoseconds_each;
            return measure(each * threads, [&] {
              on_threads(threads, [&](int) {
                for (long i = 0; i < each; ++i) {
                  keep(get());
                }
              });
            });
          }};
}

std::atomic<IGlobalEnv*> loaded;

Group getter_group(int threads, long count) {
  return {
      "getter of the facade, " + std::to_string(threads) + (threads == 1 ? " thread" : " threads"),
      "ns per call",
      {getter_row("fwbase", Role::kOurs, threads, count,
                  [facade = IFWBase::instance()] { return facade->global_env(); }),
       getter_row("relaxed load", Role::kFloor, threads, count,
                  [] { return loaded.load(std::memory_order_relaxed); })},
      {{"fwbase", kTheFloor, 2}}};
}

std::vector<Group> groups(const Options& options) {
  const long count = options.operations(500000);
  const auto as_map = [](double limit) { return Target{"fwbase", kMap, limit}; };
  const Target near_unordered_map{"fwbase", kUnorderedMap, 1.2};
  const LookUps by_one{"look-up", false, 1, count};
  const LookUps by_two{"look-up", false, 2, count};
  const LookUps in_default{"look-up in the default environment", true, 2, count};
  return {look_up_group(by_one, 10, {as_map(0.9)}),
          look_up_group(by_one, 1000, {as_map(0.3)}),
          look_up_group(by_one, 100000, {as_map(0.2), near_unordered_map}),
          look_up_group(by_two, 10, {as_map(0.4)}),
          look_up_group(by_two, 1000, {as_map(0.3)}),
          look_up_group(by_two, 100000, {as_map(0.25), near_unordered_map}),
          look_up_group(in_default, 10, {as_map(0.6)}),
          look_up_group(in_default, 1000, {as_map(0.5)}),
          look_up_group(in_default, 100000, {as_map(0.4)}),
          look_up_group(by_one, 100, {}),
          look_up_group(by_one, 10000, {}),
          getter_group(1, 100 * count),
          getter_group(2, 100 * count)};
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  const fwbase::bench::Facade facade;
  return fwbase::bench::run("environments", argc, argv, fwbase::bench::groups);
}
