// Names that things are looked up by.
#ifndef FWBASE_BENCH_NAMES_H
#define FWBASE_BENCH_NAMES_H

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace fwbase::bench {

/// So many names, in an order that has nothing to do with that of their bytes or of their
/// addresses.
class Names {
 public:
  explicit Names(long count) {
    for (long i = 0; i < count; ++i) {
      m_texts.push_back("session." + std::to_string(i) + ".address");
    }
    for (const std::string& text : m_texts) {
      m_names.push_back(text.c_str());
    }
    std::shuffle(m_names.begin(), m_names.end(), std::minstd_rand(1));
  }
  Names(const Names&) = delete;
  Names& operator=(const Names&) = delete;

  const std::vector<const char*>& all() const { return m_names; }

 private:
  std::vector<std::string> m_texts;
  std::vector<const char*> m_names;
};

/// Calls visit(name) so many times, for names in turn, beginning with the one at `first`.
template <typename Visit>
void in_turn(const std::vector<const char*>& names, std::size_t first, long count, Visit&& visit) {
  for (std::size_t at = first; count > 0; --count) {
    visit(names[at]);
    at = at + 1 < names.size() ? at + 1 : 0;
  }
}

}  // namespace fwbase::bench

#endif
