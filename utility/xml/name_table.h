#ifndef UTILITY_XML_NAME_TABLE_H
#define UTILITY_XML_NAME_TABLE_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <unordered_set>
#include <vector>
#include <xercesc/util/XMLString.hpp>

namespace utility {

/// So many names of a document may be in one bucket of the XML library's hash tables, and four
/// times as many as there are in a bucket on average. Names that nobody has chosen for it stay far
/// below.
constexpr std::size_t kMaxNamesPerBucket = 500;

/// A hash table of the library: what it begins with and how it grows.
struct HashTable {
  std::size_t buckets;
  std::size_t growth;  ///< then it has so many times as many, and one; 0: it never grows
  std::size_t names_in_4_buckets;  ///< what it has at the most before it grows
};

/// Elements of a DTD, and entities and notations.
constexpr HashTable kDeclarations = {109, 2, 3};
/// The attributes that a DTD declares for an element, and elements that it does not declare.
constexpr HashTable kElements = {29, 2, 3};
/// Attributes in a tag that no DTD declares.
constexpr HashTable kTag = {7, 8, 16};
/// Names of a DOM document.
constexpr HashTable kDomNames = {257, 0, 0};
/// What a DOM document type has of one kind.
constexpr HashTable kDomDeclarations = {193, 0, 0};

/// How many buckets such a table has with so many names.
std::size_t buckets_for(std::size_t names, const HashTable& table);

/// The names of one kind in a document, and how they fall into the hash tables in which the library
/// keeps them. Everybody knows the library's hash function: a document can have names that all fall
/// into one bucket, and then each look-up compares the name with all others.
class NameTable {
 public:
  NameTable(std::initializer_list<HashTable> tables);

  /// Counts a name, unless it has been counted. Throws DocumentRefused when a bucket is too full.
  void add(const XMLCh* name);

  /// How many names there are.
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
