// Places in a script file.
#ifndef FWBASE_SCRIPT_PLACE_H
#define FWBASE_SCRIPT_PLACE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace fwbase::script {

/// A place in a file. CR, LF and CRLF end a line; columns count characters, a tab as one and a
/// byte order mark as none.
struct Place {
  std::uint32_t line = 1;
  std::uint32_t column = 1;

  bool operator==(const Place&) const = default;
};

/// Finds the start tags of a well-formed document, one after the other.
class StartTags {
 public:
  /// text  the whole document in UTF-8; it must live as long as this
  explicit StartTags(std::string_view text);

  /// The place of the "<" of the next start tag. To be called once for each, at most.
  Place next();

  /// The place of the document type declaration, once the first start tag has been found.
  std::optional<Place> doctype() const { return m_doctype; }

 private:
  friend Place place_at(std::string_view text, std::size_t offset);

  void skip_past(std::string_view mark);
  void skip_doctype();
  void advance_to(std::size_t offset);

  const std::string_view m_text;
  const bool m_has_returns;   // carriage returns
  std::size_t m_search = 0;   // where to look for more
  std::size_t m_counted = 0;  // the offset of m_place
  Place m_place;
  std::optional<Place> m_doctype;
};

/// The place of the character at an offset, in bytes, in UTF-8.
Place place_at(std::string_view text, std::size_t offset);

/// A place as the XML library reports it.
struct ParserPlace {
  std::uint64_t line = 0;  ///< from 1; 0 for none
  std::uint64_t utf16_column = 0;
  bool has_wide_line_ends = false;  ///< U+0085 and U+2028 as well, in XML 1.1
};

/// The same place in the file.
Place place_of(std::string_view text, ParserPlace place);

}  // namespace fwbase::script

#endif
