// Variables: read and written by name, among few and many of them, by one thread and by two, beside
// what one would write with the standard library.
#include "bench/script/variables.h"

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>

#include "bench/facade.h"
#include "bench/names.h"

namespace fwbase::bench {

namespace {

constexpr const char* kUnorderedMap = "shared_mutex + unordered_map";

class Table {
 public:
  void set(std::string_view name, std::int32_t value) {
    const std::unique_lock<std::shared_mutex> lock(m_mutex);
    if (const auto found = m_values.find(name); found != m_values.end()) {
      found->second = value;
    } else {
      m_values.emplace(name, value);
    }
  }

  bool get(std::string_view name, std::int32_t& value) const {
    const std::shared_lock<std::shared_mutex> lock(m_mutex);
    const auto found = m_values.find(name);
    const auto* const number =
        found != m_values.end() ? std::get_if<std::int32_t>(&found->second) : nullptr;
    if (number == nullptr) {
      return false;
    }
    value = *number;
    return true;
  }

 private:
  struct TextHash : std::hash<std::string_view> {
    using is_transparent = void;
  };

  mutable std::shared_mutex m_mutex;
  std::unordered_map<std::string, std::variant<std::int32_t, std::string>, TextHash,
                     std::equal_to<>>
      m_values;
};

// The engine's two kinds of table.
struct GlobalVariables {
  static constexpr const char* kGet = "fwbase, get_value";
  static constexpr const char* kSet = "fwbase, set_value";
  static ec::EC get(IScript& script, const char* name, std::int32_t& value) {
    return script.get_value(name, IScript::VT_INT, &value);
  }
  static ec::EC set(IScript& script, const char* name, std::int32_t value) {
    return script.set_value(name, IScript::VT_INT, &value);
  }
};

struct EnvVariables {
  static constexpr const char* kGet = "fwbase, get_value_env";
  static constexpr const char* kSet = "fwbase, set_value_env";
  static ec::EC get(IScript& script, const char* name, std::int32_t& value) {
    return script.get_value_env(name, IScript::VT_INT, &value, &script);
  }
  static ec::EC set(IScript& script, const char* name, std::int32_t value) {
    return script.set_value_env(name, IScript::VT_INT, &value, &script);
  }
};

enum class Access { kGet, kSet, kSetAfter99Gets };

constexpr const char* kWhat[] = {"get an int", "set an int", "get an int, set one in 100"};

bool sets(Access access, long turn) {
  return access == Access::kSet || (access == Access::kSetAfter99Gets && turn % 100 == 99);
}

struct Work {
  Access access;
  std::shared_ptr<const Names> names;
  int threads;
  long count;
};

// Calls get(name, value) or set(name, value) so many times in all, on each of the threads for names
// of its own.
template <typename Get, typename Set>
double accesses(const Work& work, Get get, Set set) {
  const std::vector<const char*>& names = work.names->all();
  const long each = work.count / work.threads;
  const auto measure = work.threads == 1 ? own_nanoseconds_each : nanoseconds_each;
  return measure(each * work.threads, [&] {
    on_threads(work.threads, [&](int thread) {
      std::int32_t value = 0;
      long turn = 0;
      const std::size_t first = names.size() * static_cast<std::size_t>(thread) / 2;
      in_turn(names, first, each, [&](const char* name) {
        if (sets(work.access, turn++)) {
          set(name, value);
        } else {
          get(name, value);
        }
        keep(value);
      });
    });
  });
}

template <typename Variables>
double script_accesses(const Work& work) {
  const Facade facade;
  IScript& script = *facade->script();
  for (const char* name : work.names->all()) {
    require(Variables::set(script, name, 1));
  }
  return accesses(
      work, [&](const char* name, std::int32_t& value) { Variables::get(script, name, value); },
      [&](const char* name, std::int32_t value) { Variables::set(script, name, value); });
}

double table_accesses(const Work& work) {
  Table table;
  for (const char* name : work.names->all()) {
    table.set(name, 1);
  }
  return accesses(
      work, [&](const char* name, std::int32_t& value) { table.get(name, value); },
      [&](const char* name, std::int32_t value) { table.set(name, value); });
}

template <typename Variables>
void add_script_row(Group& group, const Work& work) {
  const char* const name = work.access == Access::kSet ? Variables::kSet : Variables::kGet;
  group.rows.push_back({name, Role::kOurs, [=] { return script_accesses<Variables>(work); }});
  if (work.access == Access::kGet) {
    group.targets.push_back({name, kUnorderedMap, work.threads == 1 ? 0.6 : 0.3});
  }
}

Group group_of(Access access, long size, int threads, long count) {
  Group group{std::string(kWhat[static_cast<int>(access)]) + ", " + with_commas(size) + " names, " +
                  std::to_string(threads) + (threads == 1 ? " thread" : " threads"),
              "ns per access",
              {},
              {}};
  const Work work{access, std::make_shared<const Names>(size), threads, count};
  add_script_row<GlobalVariables>(group, work);
  add_script_row<EnvVariables>(group, work);
  group.rows.push_back({kUnorderedMap, Role::kPeer, [=] { return table_accesses(work); }});
  return group;
}

}  // namespace

std::vector<Group> variable_groups(const Options& options) {
  const long count = options.operations(500000);
  std::vector<Group> groups;
  for (const int threads : {1, 2}) {
    for (const long size : {10, 1000, 100000}) {
      groups.push_back(group_of(Access::kGet, options.quick ? 10 : size, threads, count));
    }
  }
  groups.push_back(group_of(Access::kSetAfter99Gets, 10, 1, count));
  groups.push_back(group_of(Access::kSetAfter99Gets, 10, 2, count));
  groups.push_back(group_of(Access::kSet, 10, 1, count));
  groups.push_back(group_of(Access::kSet, options.quick ? 10 : 100000, 1, count));
  return groups;
}

}  // namespace fwbase::bench
