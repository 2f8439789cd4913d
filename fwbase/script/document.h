// A script file as a located tree: elements with their attributes, leading texts and places.
#ifndef FWBASE_SCRIPT_DOCUMENT_H
#define FWBASE_SCRIPT_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "fwbase/script/place.h"

namespace fwbase::script {

/// The elements of one XML document, in compact tables. Elements in the replacement text of an
/// entity are not among them, and are no element's children.
///
/// Names, texts and values are in the code page of the thread that read the document.
class Document {
 public:
  using NameId = std::uint32_t;

  /// The name of everything whose name the code page cannot express.
  static constexpr NameId kNoName = 0;

  class Element;
  class Children;

  /// Reads a whole document by the rules of utility::CXml::load(): nothing but these bytes, within
  /// the same limits. XEC_OK, XEC_PARSE, or XEC_NO_MEMORY, also when the XML platform is not in
  /// service. After a failure the document is empty and stopped() tells where reading ended.
  unsigned int parse(std::string_view bytes);

  /// The same for a file, whose bytes are kept in the caller's string: also XEC_NO_DOCUMENT where
  /// it cannot be read or is no regular file.
  unsigned int load(const std::string& path, std::string& bytes);

  /// The place of the document type declaration, if there is one.
  std::optional<Place> doctype() const { return m_doctype; }

  /// Whether the document declares another encoding than UTF-8, but looks like UTF-8: it has three
  /// or more characters beyond ASCII, and all of them are valid UTF-8.
  bool is_in_doubtful_encoding() const { return m_is_in_doubtful_encoding; }

  /// The place of the mistake that led to XEC_PARSE.
  Place stopped() const { return m_stopped; }

  /// The reason for XEC_PARSE, in UTF-8; empty when a limit is exceeded.
  const std::string& refusal() const { return m_refusal; }

  /// The root element of a document that has been parsed.
  Element root() const;

  /// The number of a name; nothing when no element or attribute has the name.
  std::optional<NameId> find_name(std::string_view name) const;
  std::size_t name_count() const { return m_names.size(); }

 private:
  friend class TreeParser;

  static constexpr std::uint32_t kUnconvertible = UINT32_MAX;  ///< in place of a size

  /// A piece of m_text.
  struct Text {
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
  };
  struct Node {
    NameId name = kNoName;
    std::uint32_t end = 0;  ///< the number of the first element behind this one
    std::uint32_t first_attribute = 0;
    Text text;
    Place place;
  };
  struct Attribute {
    NameId name = kNoName;
    Text value;
  };

  bool read(const Text& text, std::string_view& out) const;

  std::vector<Node> m_nodes;  // in document order: the children of one are right behind it
  std::vector<Attribute> m_attributes;
  std::string m_text;
  std::vector<std::string> m_names;
  std::unordered_map<std::string, NameId> m_ids;
  std::unordered_set<std::uint32_t> m_later_texts;  // elements that have some; mostly none
  std::unordered_set<std::uint32_t> m_others;       // elements with more than text and elements
  std::optional<Place> m_doctype;
  bool m_is_in_doubtful_encoding = false;
  Place m_stopped;
  std::string m_refusal;
};

/// A handle on one element, good as long as the document.
class Document::Element {
 public:
  Element(const Document& document, std::uint32_t number)
      : m_document(&document), m_number(number) {}

  NameId name_id() const { return node().name; }
  /// Empty when the code page cannot express it.
  const std::string& name() const { return m_document->m_names[node().name]; }
  Place place() const { return node().place; }

  /// The text before the first child element, comment or processing instruction, without white
  /// space around it; empty unless the element begins with characters. XEC_OK, or XEC_ENCODING.
  unsigned int text(std::string_view& text) const;

  /// Whether the element has more text than text() gives, outside its child elements and not blank.
  bool has_later_text() const { return m_document->m_later_texts.contains(m_number); }
  /// Whether there is a comment, a processing instruction, a reference to an entity, a child
  /// element, or a CDATA section as its first text.
  bool has_other_than_text() const;

  /// The names of the attributes, in their order; empty where the code page cannot express one.
  std::vector<std::string_view> attribute_names() const;
  bool has_attribute(NameId name) const { return find_attribute(name) != nullptr; }
  /// XEC_OK, XEC_NO_ATTR, or XEC_ENCODING; value is set on success only.
  unsigned int attribute(NameId name, std::string_view& value) const;

  Children children() const;

 private:
  friend class Document::Children;

  const Node& node() const { return m_document->m_nodes[m_number]; }
  const Attribute* find_attribute(NameId name) const;
  std::pair<std::size_t, std::size_t> attribute_range() const;

  const Document* m_document;
  std::uint32_t m_number;
};

/// The child elements of one element, in document order.
class Document::Children {
 public:
  class Iterator {
   public:
    Iterator(const Document& document, std::uint32_t number)
        : m_document(&document), m_number(number) {}
    Element operator*() const { return {*m_document, m_number}; }
    Iterator& operator++() {
      m_number = m_document->m_nodes[m_number].end;
      return *this;
    }
    bool operator==(const Iterator& other) const { return m_number == other.m_number; }

   private:
    const Document* m_document;
    std::uint32_t m_number;
  };

  explicit Children(const Element& parent) : m_parent(parent) {}

  Iterator begin() const { return {*m_parent.m_document, m_parent.m_number + 1}; }
  Iterator end() const { return {*m_parent.m_document, m_parent.node().end}; }

 private:
  Element m_parent;
};

inline Document::Children Document::Element::children() const { return Children(*this); }
inline Document::Element Document::root() const { return {*this, 0}; }

}  // namespace fwbase::script

#endif
