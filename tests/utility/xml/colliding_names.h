// Names that all have the same hash in the XML library.
#ifndef FWBASE_TESTS_UTILITY_XML_COLLIDING_NAMES_H
#define FWBASE_TESTS_UTILITY_XML_COLLIDING_NAMES_H

#include <string>

namespace fwbase::test {

/// A name for each number below 2^17. The library's hash of "bA" is that of "ag", whatever stands
/// before and behind it: 'b' * 38 + 'A' == 'a' * 38 + 'g'.
inline std::string colliding_name(std::size_t number) {
  std::string name;
  for (int bit = 0; bit < 17; ++bit) name += (number >> bit & 1) != 0 ? "ag" : "bA";
  return name;
}

}  // namespace fwbase::test

#endif
