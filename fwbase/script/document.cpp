// The tree is built from what the XML library's scanner reports to its SAX2 reader. Places are
// found afterwards, in the bytes: the scanner tells none of the start of a tag.
#include "fwbase/script/document.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <utility>
#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLChar.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>

#include <utility/element.h>
#include <utility/str.h>

#include "support/file_io.h"
#include "utility/text_codec.h"
#include "utility/xml/document_parser.h"
#include "utility/xml/xml_platform.h"

namespace fwbase::script {

namespace xc = XERCES_CPP_NAMESPACE;

using utility::DomText;

namespace {

using WideView = std::basic_string_view<XMLCh>;

// What the library's tree would take for each of these, in bytes, apart from two for each character
// of a text. A document that is read must also be one that can be saved, by way of that tree.
constexpr std::size_t kTreeElement = 222;
constexpr std::size_t kTreeAttribute = 290;
constexpr std::size_t kTreeDefaultAttribute = 900;
constexpr std::size_t kTreeText = 160;
constexpr std::size_t kTreeReference = 132;

bool is_blank(WideView text) {
  return std::all_of(text.begin(), text.end(),
                     [](XMLCh c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; });
}

// The encoding of text in units of more than one byte, by its first character: a byte order mark or
// "<". Null for others.
const XMLCh* wide_encoding(std::string_view bytes) {
  using std::string_view_literals::operator""sv;
  static constexpr std::array<std::pair<std::string_view, const XMLCh*>, 8> kStarts{{
      {"\xFF\xFE\0\0"sv, xc::XMLUni::fgUCS4LEncodingString},
      {"<\0\0\0"sv, xc::XMLUni::fgUCS4LEncodingString},
      {"\0\0\xFE\xFF"sv, xc::XMLUni::fgUCS4BEncodingString},
      {"\0\0\0<"sv, xc::XMLUni::fgUCS4BEncodingString},
      {"\xFF\xFE"sv, xc::XMLUni::fgUTF16LEncodingString},
      {"<\0"sv, xc::XMLUni::fgUTF16LEncodingString},
      {"\xFE\xFF"sv, xc::XMLUni::fgUTF16BEncodingString},
      {"\0<"sv, xc::XMLUni::fgUTF16BEncodingString},
  }};
  const auto found = std::find_if(kStarts.begin(), kStarts.end(), [&](const auto& start) {
    return bytes.starts_with(start.first);
  });
  return found != kStarts.end() ? found->second : nullptr;
}

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// A document that declares no encoding is UTF-8, too.
bool is_utf8(const XMLCh* encoding) {
  return *encoding == 0 ||
         xc::XMLString::compareIString(encoding, xc::XMLUni::fgUTF8EncodingString) == 0 ||
         xc::XMLString::compareIString(encoding, xc::XMLUni::fgUTF8EncodingString2) == 0;
}

// The length of the text before the first surrogate without its other half.
std::size_t whole_size(WideView text) {
  std::size_t at = 0;
  while (at < text.size() && (text[at] & 0xFC00U) != 0xDC00U) {
    const bool is_high = (text[at] & 0xFC00U) == 0xD800U;
    if (is_high && (at + 1 == text.size() || (text[at + 1] & 0xFC00U) != 0xDC00U)) {
      break;
    }
    at += is_high ? 2 : 1;
  }
  return at;
}

constexpr XMLSize_t kBlock = 4096;

// Appends the characters of a block, and returns the number of bytes that they take; 0 when some of
// the bytes are no character.
XMLSize_t decode_block(std::string_view bytes, xc::XMLTranscoder& transcoder, DomText& text) {
  XMLSize_t eaten = 0;
  try {
    XMLCh characters[kBlock];
    unsigned char sizes[kBlock];
    const XMLSize_t count =
        transcoder.transcodeFrom(reinterpret_cast<const XMLByte*>(bytes.data()), bytes.size(),
                                 characters, kBlock, eaten, sizes);
    text.append(characters, count);
  } catch (const xc::XMLException&) {
    return 0;
  }
  return eaten;
}

// Appends the characters of `bytes` up to the first bytes that the encoding lacks. Returns false if
// there are such bytes.
bool decode(std::string_view bytes, const XMLCh* encoding, std::string& out) {
  constexpr XMLSize_t kLongestCharacter = 4;
  xc::XMLTransService::Codes code;
  const std::unique_ptr<xc::XMLTranscoder> transcoder(
      xc::XMLPlatformUtils::fgTransService->makeNewTranscoderFor(encoding, code, kBlock));
  DomText text;
  XMLSize_t block = kBlock;
  while (transcoder != nullptr && !bytes.empty() && block >= kLongestCharacter) {
    const XMLSize_t eaten = decode_block(bytes.substr(0, block), *transcoder, text);
    block = eaten == 0 ? block / 2 : block;  // some of it may be good
    bytes.remove_prefix(eaten);
  }
  const std::size_t whole = whole_size(text);
  out += utility::to_utf8_text(WideView(text).substr(0, whole));
  return bytes.empty() && whole == text.size();
}

// Whether a character is neither too long, nor a surrogate, nor beyond the last character.
bool is_shortest(unsigned char lead, unsigned char second) {
  switch (lead) {
    case 0xE0:
      return second >= 0xA0;
    case 0xED:
      return second < 0xA0;
    case 0xF0:
      return second >= 0x90;
    case 0xF4:
      return second < 0x90;
    default:
      return true;
  }
}

// The number of bytes of the UTF-8 character at the front of a text, which must not be empty; 0
// when there is no character.
std::size_t character_size(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80U) {
    return 1;
  }
  const std::size_t size = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : 2;
  const std::string_view rest = text.substr(1, size - 1);
  const bool is_good = lead >= 0xC2U && lead < 0xF5U && rest.size() == size - 1 &&
                       std::all_of(rest.begin(), rest.end(), [](char c) {
                         return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
                       });
  return is_good && is_shortest(lead, static_cast<unsigned char>(rest.front())) ? size : 0;
}

// Whether the bytes that are not ASCII are valid UTF-8, with three characters or more.
bool looks_like_utf8(std::string_view bytes) {
  constexpr std::size_t kFewest = 3;
  std::size_t count = 0;
  while (!bytes.empty()) {
    const std::size_t size = character_size(bytes);
    if (size == 0) {
      return false;
    }
    count += size > 1 ? 1 : 0;
    bytes.remove_prefix(size);
  }
  return count >= kFewest;
}

/// The text of a document in UTF-8: its own bytes when they are UTF-8.
class Utf8Text {
 public:
  Utf8Text(std::string_view bytes, const DomText& declared) : m_text(bytes) {
    const XMLCh* const wide = wide_encoding(bytes);
    const XMLCh* const encoding = wide != nullptr ? wide : declared.c_str();
    if (wide != nullptr || !is_utf8(encoding)) {
      m_has_mark = bytes.starts_with(kByteOrderMark);
      m_is_decoded = true;
      m_is_cut = !decode(bytes.substr(m_has_mark ? kByteOrderMark.size() : 0), encoding, m_decoded);
      m_text = m_decoded;
    }
  }
  Utf8Text(const Utf8Text&) = delete;
  Utf8Text& operator=(const Utf8Text&) = delete;

  std::string_view view() const { return m_text; }

  /// The offset of the first bytes that the encoding lacks. A byte order mark of another encoding
  /// counts as such bytes. Nothing when there are none to be seen.
  std::optional<std::size_t> first_damage() const {
    std::size_t at = 0;
    while (at < m_text.size() && is_good(m_text.substr(at))) {
      at += character_size(m_text.substr(at));
    }
    if (at < m_text.size() || m_is_cut) {
      return at;
    }
    return m_has_mark ? std::optional<std::size_t>(0) : std::nullopt;
  }

 private:
  // Decoders put replacements where no character is.
  bool is_good(std::string_view text) const {
    const bool is_replacement =
        m_is_decoded && (text.starts_with("\xEF\xBF\xBD") || text.front() == '\x1A');
    return text.front() != '\0' && !is_replacement && character_size(text) != 0;
  }

  std::string m_decoded;
  std::string_view m_text;
  bool m_is_decoded = false;
  bool m_is_cut = false;    // before bytes that the encoding lacks
  bool m_has_mark = false;  // of UTF-8, in a document that declares another encoding
};

}  // namespace

/// The scanner reports only to a reader with handlers, and tells them where it is.
struct ContentHandler : xc::DefaultHandler {
  void setDocumentLocator(const xc::Locator* given) override { locator = given; }

  const xc::Locator* locator = nullptr;
};

/// Fills a document while the scanner reads.
class TreeParser : public utility::GuardedParser<utility::SaxReader> {
 public:
  explicit TreeParser(Document& document) : m_document(document) {
    setContentHandler(&m_content);
    setLexicalHandler(&m_content);
    setDeclarationHandler(&m_content);
    setFeature(xc::XMLUni::fgSAX2CoreNameSpaces, false);
    setFeature(xc::XMLUni::fgXercesSchema, false);
    setFeature(xc::XMLUni::fgXercesLoadExternalDTD, false);
    setFeature(xc::XMLUni::fgXercesDisableDefaultEntityResolution, true);
    setFeature(xc::XMLUni::fgSAX2CoreValidation, true);
    setFeature(xc::XMLUni::fgXercesDynamic, true);
    m_document.m_names.emplace_back();  // that of kNoName
  }

  bool parse_text(std::string_view bytes) {
    const bool is_good = parse_guarded(bytes);
    if (is_good) {
      place_elements(bytes);
    } else {
      m_document.m_stopped = place_stopped(bytes);
      add_refusal();
    }
    return is_good;
  }

  void error(unsigned int code, const XMLCh* domain, xc::XMLErrorReporter::ErrTypes type,
             const XMLCh* text, const XMLCh* system_id, const XMLCh* public_id, XMLFileLoc line,
             XMLFileLoc column) override {
    const bool was_damaged = m_rules.is_damaged();
    GuardedParser::error(code, domain, type, text, system_id, public_id, line, column);
    if (!was_damaged && m_rules.is_damaged()) {
      m_found.line = line;
      m_found.utf16_column = column;
      m_is_undecodable = xc::XMLString::equals(domain, xc::XMLUni::fgExceptDomain);
      m_document.m_refusal = utility::to_utf8_text(text != nullptr ? text : u"");
    }
  }

  void XMLDecl(const XMLCh* version, const XMLCh* encoding, const XMLCh* standalone,
               const XMLCh* actual_encoding) override {
    m_found.has_wide_line_ends = xc::XMLString::equals(version, xc::XMLUni::fgVersion1_1);
    GuardedParser::XMLDecl(version, encoding, standalone, actual_encoding);
  }

  // The base class refuses entities outside the file, and leaves out the external DTD subset.
  xc::InputSource* resolveEntity(xc::XMLResourceIdentifier* resource) override {
    if (m_content.locator != nullptr && (!m_open.empty() || m_rules.is_in_internal_subset())) {
      m_found.line = m_content.locator->getLineNumber();
      m_found.utf16_column = m_content.locator->getColumnNumber();
    }
    return GuardedParser::resolveEntity(resource);
  }

  // The DOM tree accepts only such names for a document type.
  void doctypeDecl(const xc::DTDElementDecl& element, const XMLCh* public_id,
                   const XMLCh* system_id, bool has_internal_subset,
                   bool has_external_subset) override {
    const XMLCh* const name = element.getFullName();
    if (!xc::XMLChar1_0::isValidQName(name, xc::XMLString::stringLen(name))) {
      throw utility::DocumentRefused();
    }
    GuardedParser::doctypeDecl(element, public_id, system_id, has_internal_subset,
                               has_external_subset);
  }

  void startElement(const xc::XMLElementDecl& element, unsigned int uri, const XMLCh* prefix,
                    const xc::RefVectorOf<xc::XMLAttr>& attrs, XMLSize_t attr_count, bool is_empty,
                    bool is_root) override {
    m_rules.start_element(element, attrs, attr_count);
    m_memory.count_bytes(kTreeElement);
    end_text();
    if (m_entity_depth == 0) {
      add_element(element);
    }
    for (XMLSize_t i = 0; i < attr_count; ++i) {
      add_attribute(*attrs.elementAt(i));
    }
    m_reading = m_entity_depth == 0 ? Reading::kFirst : Reading::kNothing;
    if (is_empty) {
      endElement(element, uri, is_root, prefix);
    }
  }

  void endElement(const xc::XMLElementDecl&, unsigned int, bool, const XMLCh*) override {
    m_rules.end_element();
    end_text();
    if (m_entity_depth == 0) {
      m_document.m_nodes[m_open.back()].end = static_cast<std::uint32_t>(m_document.m_nodes.size());
      m_open.pop_back();
    }
  }

  void docCharacters(const XMLCh* text, XMLSize_t size, bool is_cdata) override {
    m_memory.count_bytes(kTreeText + size * sizeof(XMLCh));
    if (m_reading == Reading::kFirst) {
      m_reading = is_cdata ? Reading::kNothing : Reading::kText;
      note_other(is_cdata);
    }
    if (m_reading == Reading::kText) {
      m_text.append(text, size);
    } else if (m_entity_depth == 0 && !m_open.empty() && !is_blank({text, size})) {
      m_document.m_later_texts.insert(m_open.back());
    }
  }

  void ignorableWhitespace(const XMLCh* text, XMLSize_t size, bool is_cdata) override {
    docCharacters(text, size, is_cdata);
  }

  void docComment(const XMLCh* text) override {
    m_memory.count_bytes(kTreeText + xc::XMLString::stringLen(text) * sizeof(XMLCh));
    note_other(true);
    end_text();
  }

  void docPI(const XMLCh*, const XMLCh* data) override {
    m_memory.count_bytes(kTreeText + xc::XMLString::stringLen(data) * sizeof(XMLCh));
    note_other(true);
    end_text();
  }

  // The text goes on in what an entity brings, but does not begin there.
  void startEntityReference(const xc::XMLEntityDecl& entity) override {
    m_rules.start_entity_reference(entity);
    m_memory.count_bytes(kTreeReference);
    note_other(true);
    ++m_entity_depth;
    if (m_reading == Reading::kFirst) {
      m_reading = Reading::kNothing;
    }
  }

  void endEntityReference(const xc::XMLEntityDecl&) override {
    m_rules.end_entity_reference();
    --m_entity_depth;
  }

 private:
  /// What may be added to the leading text of the innermost element.
  enum class Reading { kFirst, kText, kNothing };

  void note_other(bool is_there) {
    if (is_there && m_entity_depth == 0 && !m_open.empty()) {
      m_document.m_others.insert(m_open.back());
    }
  }

  // For a document in which the library has reported no error.
  void add_refusal() {
    if (m_rules.refers_to_another_file()) {
      m_document.m_refusal = "it refers to an entity in another file, and a script is one file";
    } else if (has_damaged_bytes()) {
      m_document.m_refusal = "it has bytes that are no character of its encoding";
    }
  }

  static std::uint32_t number(std::size_t size) {
    if (size >= Document::kUnconvertible) {
      throw std::bad_alloc();
    }
    return static_cast<std::uint32_t>(size);
  }

  void add_element(const xc::XMLElementDecl& element) {
    m_open.push_back(number(m_document.m_nodes.size()));
    Document::Node& node = m_document.m_nodes.emplace_back();
    node.name = id_of(element);
    node.first_attribute = number(m_document.m_attributes.size());
  }

  void add_attribute(const xc::XMLAttr& attr) {
    const WideView value = attr.getValue();
    m_memory.count_bytes((attr.getSpecified() ? kTreeAttribute : kTreeDefaultAttribute) +
                         value.size() * sizeof(XMLCh));
    if (m_entity_depth == 0) {
      const Document::NameId name = id_of(attr.getName());
      m_document.m_attributes.push_back({name, stored(value, false)});
    }
  }

  // Ends the leading text of the innermost element, if that has one.
  void end_text() {
    if (m_reading == Reading::kText) {
      if (!is_blank(m_text)) {
        m_document.m_nodes[m_open.back()].text = stored(m_text, true);
      }
      m_text.clear();
    }
    m_reading = Reading::kNothing;
  }

  Document::Text stored(WideView text, bool is_trimmed) {
    const std::uint32_t offset = number(m_document.m_text.size());
    if (!utility::to_narrow_text(text, m_narrow)) {
      return {offset, Document::kUnconvertible};
    }
    if (is_trimmed) {
      utility::CStr::trim(m_narrow);
    }
    m_document.m_text += m_narrow;
    number(m_document.m_text.size());
    return {offset, static_cast<std::uint32_t>(m_narrow.size())};
  }

  // Elements of one name share their declaration.
  Document::NameId id_of(const xc::XMLElementDecl& element) {
    Seen& seen = m_seen[element.getId() % m_seen.size()];
    if (seen.element != &element) {
      seen = {&element, id_of(element.getFullName())};
    }
    return seen.name;
  }

  Document::NameId id_of(const XMLCh* name) {
    if (!utility::to_narrow_text(name, m_narrow)) {
      return Document::kNoName;
    }
    const auto [entry, added] =
        m_document.m_ids.try_emplace(m_narrow, number(m_document.m_names.size()));
    if (added) {
      m_document.m_names.push_back(m_narrow);
    }
    return entry->second;
  }

  void place_elements(std::string_view bytes) {
    const Utf8Text text(bytes, encoding());
    StartTags tags(text.view());
    for (Document::Node& node : m_document.m_nodes) {
      node.place = tags.next();
    }
    m_document.m_doctype = tags.doctype();
    const bool has_mark = bytes.starts_with(kByteOrderMark);
    m_document.m_is_in_doubtful_encoding =
        !is_utf8(encoding().c_str()) &&
        looks_like_utf8(bytes.substr(has_mark ? kByteOrderMark.size() : 0));
  }

  // The place of the mistake. For bytes that are no character, it is the first of them: the scanner
  // decodes ahead, so that its own place is wrong. For another mistake it is the scanner's place
  // or, when the scanner gave none, the last element that it reported.
  Place place_stopped(std::string_view bytes) {
    const Utf8Text text(bytes, encoding());
    if (has_damaged_bytes() || m_is_undecodable) {
      if (const std::optional<std::size_t> damage = text.first_damage()) {
        return place_at(text.view(), *damage);
      }
    }
    if (m_found.line > 0) {
      return place_of(text.view(), m_found);
    }
    if (has_damaged_bytes()) {
      return place_at(text.view(), text.view().size());
    }
    StartTags tags(text.view());
    Place place;
    for (std::size_t i = 0; i < m_document.m_nodes.size(); ++i) {
      place = tags.next();
    }
    return place;
  }

  struct Seen {
    const xc::XMLElementDecl* element = nullptr;
    Document::NameId name = Document::kNoName;
  };

  Document& m_document;
  ContentHandler m_content;
  std::vector<std::uint32_t> m_open;  // elements whose end tag is still to come
  std::size_t m_entity_depth = 0;
  Reading m_reading = Reading::kNothing;
  DomText m_text;
  std::string m_narrow;
  std::array<Seen, 64> m_seen{};
  ParserPlace m_found;            // the place of the first mistake
  bool m_is_undecodable = false;  // the mistake is an exception, perhaps for undecodable bytes
};

unsigned int Document::parse(std::string_view bytes) {
  *this = Document();
  unsigned int code = utility::XEC_NO_MEMORY;
  try {
    if (utility::xml_platform_is_usable()) {
      TreeParser parser(*this);
      code = parser.parse_text(bytes) ? utility::XEC_OK : utility::XEC_PARSE;
    }
  } catch (const xc::OutOfMemoryException&) {
    code = utility::XEC_NO_MEMORY;
  } catch (const std::exception&) {  // std::bad_alloc, and text longer than a string can be
    code = utility::XEC_NO_MEMORY;
  }
  if (code != utility::XEC_OK) {
    Document refused;
    refused.m_stopped = m_stopped;
    refused.m_refusal = std::move(m_refusal);
    *this = std::move(refused);
  }
  return code;
}

unsigned int Document::load(const std::string& path, std::string& bytes) {
  try {
    switch (support::read_file(path, utility::kMaxFileSize, bytes)) {
      case support::ReadResult::kOk:
        return parse(bytes);
      case support::ReadResult::kTooLarge:
        return utility::XEC_PARSE;
      case support::ReadResult::kNoFile:
        break;
    }
    return utility::XEC_NO_DOCUMENT;
  } catch (const std::exception&) {  // as in parse()
    return utility::XEC_NO_MEMORY;
  }
}

std::optional<Document::NameId> Document::find_name(std::string_view name) const {
  const auto found = m_ids.find(std::string(name));
  return found != m_ids.end() ? std::optional(found->second) : std::nullopt;
}

bool Document::read(const Text& text, std::string_view& out) const {
  if (text.size == kUnconvertible) {
    return false;
  }
  out = std::string_view(m_text).substr(text.offset, text.size);
  return true;
}

unsigned int Document::Element::text(std::string_view& text) const {
  return m_document->read(node().text, text) ? utility::XEC_OK : utility::XEC_ENCODING;
}

unsigned int Document::Element::attribute(NameId name, std::string_view& value) const {
  const Attribute* const found = find_attribute(name);
  if (found == nullptr) {
    return utility::XEC_NO_ATTR;
  }
  return m_document->read(found->value, value) ? utility::XEC_OK : utility::XEC_ENCODING;
}

bool Document::Element::has_other_than_text() const {
  return m_document->m_others.contains(m_number) || node().end != m_number + 1;
}

std::vector<std::string_view> Document::Element::attribute_names() const {
  const auto [begin, end] = attribute_range();
  std::vector<std::string_view> names;
  for (std::size_t i = begin; i < end; ++i) {
    names.push_back(m_document->m_names[m_document->m_attributes[i].name]);
  }
  return names;
}

std::pair<std::size_t, std::size_t> Document::Element::attribute_range() const {
  const auto& nodes = m_document->m_nodes;
  const bool is_last = m_number + 1 == nodes.size();
  return {node().first_attribute,
          is_last ? m_document->m_attributes.size() : nodes[m_number + 1].first_attribute};
}

const Document::Attribute* Document::Element::find_attribute(NameId name) const {
  const auto [begin, end] = attribute_range();
  const Attribute* const all = m_document->m_attributes.data();
  const Attribute* const found = std::find_if(
      all + begin, all + end, [name](const Attribute& one) { return one.name == name; });
  return found != all + end ? found : nullptr;
}

}  // namespace fwbase::script
