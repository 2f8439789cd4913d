// The library's tables are followed in numbers only: how many names each bucket would have.
#include "utility/xml/name_table.h"

#include "utility/xml/xml_memory.h"

#include <functional>
#include <limits>
#include <string_view>

namespace utility {
namespace {

std::size_t library_hash(const XMLCh* name) {
  return xc::XMLString::hash(name, std::numeric_limits<std::size_t>::max());
}

}  // namespace

std::size_t buckets_for(std::size_t names, const HashTable& table) {
  std::size_t buckets = table.buckets;
  while (table.growth != 0 && 4 * names > table.names_in_4_buckets * buckets) {
    buckets = table.growth * buckets + 1;
  }
  return buckets;
}

NameTable::NameTable(std::initializer_list<HashTable> tables) {
  for (const HashTable& table : tables) {
    m_buckets.push_back({table, {}});
  }
}

void NameTable::add(const XMLCh* name) {
  if (!m_seen.insert(std::hash<std::basic_string_view<XMLCh>>()(name)).second) {
    return;
  }
  m_hashes.push_back(library_hash(name));
  if (m_hashes.size() <= kMaxNamesPerBucket) {
    return;
  }
  for (Buckets& buckets : m_buckets) {
    count_last(buckets);
  }
}

void NameTable::count_last(Buckets& buckets) const {
  const std::size_t size = buckets_for(m_hashes.size(), buckets.table);
  if (size == buckets.names.size()) {
    count(m_hashes.back(), buckets);
  } else {
    buckets.names.assign(size, 0);
    for (const std::size_t hash : m_hashes) {
      count(hash, buckets);
    }
  }
}

void NameTable::count(std::size_t hash, Buckets& buckets) const {
  const std::size_t size = buckets.names.size();
  if (++buckets.names[hash % size] > kMaxNamesPerBucket + 4 * m_hashes.size() / size) {
    throw DocumentRefused();
  }
}

}  // namespace utility
