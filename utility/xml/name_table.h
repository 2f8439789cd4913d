// Refuses documents whose names are chosen to collide in the XML library's hash tables.
#ifndef UTILITY_XML_NAME_TABLE_H
#define UTILITY_XML_NAME_TABLE_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <unordered_set>
#include <vector>
#include <xercesc/util/XMLString.hpp>

namespace utility {

/// A bucket of the XML library's hash tables may have this number of names, plus four times the
/// average number of names in a bucket. Names that are not chosen to collide stay far below that.
constexpr std::size_t kMaxNamesPerBucket = 500;

/// A hash table of the library: its first size and its growth.
struct HashTable {
  std::size_t buckets;
  std::size_t growth;              ///< n buckets become growth * n + 1; 0: the table never grows
  std::size_t names_in_4_buckets;  ///< the average at which the table grows, times 4
};

/// Elements, entities and notations of a DTD.
constexpr HashTable kDeclarations = {109, 2, 3};
/// The attributes that a DTD declares for an element, and elements that it does not declare.
constexpr HashTable kElements = {29, 2, 3};
/// Attributes in a tag that no DTD declares.
constexpr HashTable kTag = {7, 8, 16};
/// Names of a DOM document.
constexpr HashTable kDomNames = {257, 0, 0};
/// Declarations of one kind in a DOM document type.
constexpr HashTable kDomDeclarations = {193, 0, 0};

/// The number of buckets of a table that holds `names` names.
std::size_t buckets_for(std::size_t names, const HashTable& table);

/// The names of one kind in a document, and their numbers in the buckets of the library's hash
/// tables. The library's hash function is public: a document can have names that all fall into one
/// bucket. Then each look-up compares the name with all others.
class NameTable {
 public:
  NameTable(std::initializer_list<HashTable> tables);

  /// Counts a name, unless it has been counted. Throws DocumentRefused when a bucket is too full.
  void add(const XMLCh* name);

  /// The number of names.
  std::size_t size() const { return m_hashes.size(); }

 private:
  struct Buckets {
    HashTable table;
    std::vector<std::uint32_t> names;  // in each bucket
  };

  void count_last(Buckets& buckets) const;
  void count(std::size_t hash, Buckets& buckets) const;

  std::unordered_set<std::size_t> m_seen;  // by a hash function of ours
  std::vector<std::size_t> m_hashes;       // by the library's
  std::vector<Buckets> m_buckets;
};

}  // namespace utility

#endif
