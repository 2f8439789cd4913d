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

// Goes on in a parent, if there is one, with what it does not find.
template <typename Strings, typename Mutex>
class MapRegistry : public Registry {
 public:
  explicit MapRegistry(std::unique_ptr<MapRegistry> parent = nullptr)
      : m_parent(std::move(parent)) {}

  void add(const char* name, const char* value) override {
    if (m_parent != nullptr) {
      return m_parent->add(name, value);
    }
    const std::unique_lock<Mutex> lock(m_mutex);
    m_strings.emplace(name, value);
  }

  void look_up(const std::vector<const char*>& names, std::size_t first, long count) override {
    in_turn(names, first, count, [this](const char* name) { keep(find(name)); });
  }

 private:
  const char* find(std::string_view name) {
    const std::shared_lock<Mutex> lock(m_mutex);
    const auto found = m_strings.find(name);
    if (found != m_strings.end()) {
      return found->second.c_str();
    }
    return m_parent != nullptr ? m_parent->find(name) : nullptr;
  }

  Mutex m_mutex;
  Strings m_strings;
  const std::unique_ptr<MapRegistry> m_parent;
};

template <typename Strings, typename Mutex>
std::unique_ptr<Registry> make(bool with_parent) {
  using Maps = MapRegistry<Strings, Mutex>;
  return std::make_unique<Maps>(with_parent ? std::make_unique<Maps>() : nullptr);
}

}  // namespace

std::unique_ptr<Registry> make_locked_map(bool with_parent) {
  return make<Map, std::shared_mutex>(with_parent);
}

std::unique_ptr<Registry> make_locked_unordered_map(bool with_parent) {
  return make<UnorderedMap, std::shared_mutex>(with_parent);
}

std::unique_ptr<Registry> make_unordered_map(bool with_parent) {
  return make<UnorderedMap, NoMutex>(with_parent);
}

}  // namespace fwbase::bench
