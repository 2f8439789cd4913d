// Scripts that are made to be slow: what they hold so often leads the XML library to do work that
// grows with the square of it.
#ifndef FWBASE_BENCH_HOSTILE_DOCUMENTS_H
#define FWBASE_BENCH_HOSTILE_DOCUMENTS_H

#include <fwbase/ec.h>

#include <string>

#include "tests/utility/xml/colliding_names.h"

namespace fwbase::bench {

struct HostileDocument {
  const char* what;  ///< there are so many of
  std::string (*text)(long count);
  ec::EC result;  ///< of loading it
};

template <typename Piece>
std::string pieces(long count, Piece piece) {
  std::string all;
  for (long i = 0; i < count; ++i) {
    all += piece(static_cast<std::size_t>(i));
  }
  return all;
}

inline std::string script(const std::string& declarations, const std::string& content) {
  const std::string dtd = declarations.empty() ? "" : "<!DOCTYPE korvid [" + declarations + "]>";
  return dtd + "<korvid>" + content + "<Process name=''/></korvid>";
}

using test::colliding_name;

inline constexpr HostileDocument kNames = {
    "names of equal hashes",
    [](long count) {
      return script("", pieces(count, [](auto i) { return "<" + colliding_name(i) + "/>"; }));
    },
    ec::SCRIPT_E_LOAD};

inline constexpr HostileDocument kAttributes = {
    "attributes of equal hashes in a tag",
    [](long count) {
      return script(
          "", "<x" + pieces(count, [](auto i) { return " " + colliding_name(i) + "=''"; }) + "/>");
    },
    ec::SCRIPT_E_LOAD};

inline constexpr HostileDocument kIds = {
    "IDs of equal hashes",
    [](long count) {
      return script("<!ATTLIST x i ID #IMPLIED>",
                    pieces(count, [](auto i) { return "<x i='" + colliding_name(i) + "'/>"; }));
    },
    ec::SCRIPT_OK};

inline constexpr HostileDocument kValues = {
    "values of an enumeration",
    [](long count) {
      return script("<!ATTLIST x a (x" +
                        pieces(count, [](auto i) { return "|v" + std::to_string(i); }) +
                        ") #IMPLIED>",
                    "");
    },
    ec::SCRIPT_OK};

inline constexpr HostileDocument kComments = {
    "comments in a row",
    [](long count) { return script("", pieces(count, [](auto) { return "<!--c-->"; })); },
    ec::SCRIPT_OK};

}  // namespace fwbase::bench

#endif
