// What one would write with the standard library.
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <unordered_map>

#include "bench/environments/registry.h"
#include "bench/names.h"

namespace fwbase::bench {

namespace {

struct TextHash : std::hash<std::string_view> {
  using is_transparent = void;
};

using Map = std::map<std::string, std::string, std::less<>>;
using UnorderedMap = std::unordered_map<std::string, std::string, TextHash, std::equal_to<>>;

struct NoMutex {
  void lock() {}
  void unlock() {}
  void lock_shared() {}
  void unlock_shared() {}
};

template <typename Strings, typename Mutex>
class MapRegistry : public Registry {
 public:
  void add(const char* name, const char* value) override {
    const std::unique_lock<Mutex> lock(m_mutex);
    m_strings.emplace(name, value);
  }

  void look_up(const std::vector<const char*>& names, std::size_t first, long count) override {
    in_turn(names, first, count, [this](const char* name) {
      const std::shared_lock<Mutex> lock(m_mutex);
      const auto found = m_strings.find(std::string_view(name));
      keep(found != m_strings.end() ? found->second.c_str() : nullptr);
    });
  }

 private:
  Mutex m_mutex;
  Strings m_strings;
};

}  // namespace

std::unique_ptr<Registry> make_locked_map() {
  return std::make_unique<MapRegistry<Map, std::shared_mutex>>();
}

std::unique_ptr<Registry> make_locked_unordered_map() {
  return std::make_unique<MapRegistry<UnorderedMap, std::shared_mutex>>();
}

std::unique_ptr<Registry> make_unordered_map() {
  return std::make_unique<MapRegistry<UnorderedMap, NoMutex>>();
}

}  // namespace fwbase::bench
