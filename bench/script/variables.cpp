// Variables: ten of them, read and written by name, beside what one would write with the standard
// library.
#include "bench/script/variables.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <variant>

#include "bench/facade.h"

namespace fwbase::bench {

namespace {

constexpr const char* kNames[] = {"runs",  "visitors", "limit", "port",  "timeout",
                                  "level", "sessions", "seed",  "order", "depth"};

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
  mutable std::shared_mutex m_mutex;
  std::map<std::string, std::variant<std::int32_t, std::string>, std::less<>> m_values;
};

// Calls access(name, value) for the names in turn.
template <typename Access>
double each_in_turn(long count, Access&& access) {
  return own_nanoseconds_each(count, [&] {
    std::int32_t value = 0;
    for (long done = 0; done < count;) {
      for (const char* name : kNames) {
        access(name, value);
        keep(value);
        ++done;
      }
    }
  });
}

using ScriptAccess = void (*)(IScript& script, const char* name, std::int32_t& value);

Row script_row(ScriptAccess access, long count) {
  return {"fwbase", Role::kOurs, [=] {
            const Facade facade;
            IScript& script = *facade->script();
            const std::int32_t one = 1;
            for (const char* name : kNames) {
              require(script.set_value(name, IScript::VT_INT, &one));
              require(script.set_value_env(name, IScript::VT_INT, &one, &script));
            }
            return each_in_turn(
                count, [&](const char* name, std::int32_t& value) { access(script, name, value); });
          }};
}

template <typename Access>
Row table_row(Access access, long count) {
  return {"shared_mutex + map of variants", Role::kPeer, [=] {
            Table table;
            for (const char* name : kNames) {
              table.set(name, 1);
            }
            return each_in_turn(
                count, [&](const char* name, std::int32_t& value) { access(table, name, value); });
          }};
}

Group get_group(const char* title, ScriptAccess access, long count) {
  const auto get = [](const Table& table, const char* name, std::int32_t& value) {
    table.get(name, value);
  };
  return {title,
          "ns per access",
          {script_row(access, count), table_row(get, count)},
          {{"fwbase", "", 50}}};
}

Group set_group(const char* title, ScriptAccess access, long count) {
  const auto set = [](Table& table, const char* name, std::int32_t& value) {
    table.set(name, ++value);
  };
  return {title, "ns per access", {script_row(access, count), table_row(set, count)}, {}};
}

}  // namespace

std::vector<Group> variable_groups(const Options& options) {
  const long count = options.operations(500000);
  return {
      get_group(
          "get_value, int",
          [](IScript& script, const char* name, std::int32_t& value) {
            script.get_value(name, IScript::VT_INT, &value);
          },
          count),
      get_group(
          "get_value_env, int",
          [](IScript& script, const char* name, std::int32_t& value) {
            script.get_value_env(name, IScript::VT_INT, &value, &script);
          },
          count),
      set_group(
          "set_value, int",
          [](IScript& script, const char* name, std::int32_t& value) {
            script.set_value(name, IScript::VT_INT, &++value);
          },
          count),
      set_group(
          "set_value_env, int",
          [](IScript& script, const char* name, std::int32_t& value) {
            script.set_value_env(name, IScript::VT_INT, &++value, &script);
          },
          count),
  };
}

}  // namespace fwbase::bench
