#ifndef UTILITY_DOCUMENT_PARSER_H
#define UTILITY_DOCUMENT_PARSER_H

#include "utility/no_validation.h"
#include "utility/text_codec.h"
#include "utility/xml_memory.h"

#include <array>
#include <new>
#include <string_view>
#include <unordered_set>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>

namespace utility {

// What a document may cost. Sizes that depend on the document are per byte of its file.

/// Bytes of the file.
constexpr std::size_t kMaxFileSize = std::size_t{256} * 1024 * 1024;
/// Elements and entity references nested in each other. The XML library saves, copies and
/// searches a tree by recursion; this depth fits a thread's stack of 512 KiB.
constexpr std::size_t kMaxNesting = 1000;
/// Expansions of entities, wherever they are referenced: so many, and one for so many bytes.
constexpr std::size_t kMaxExpansions = 20'000;
constexpr std::size_t kBytesPerExpansion = 32;
/// Characters read from expansions, and attribute declarations looked at for elements.
constexpr std::size_t kMaxWork = 8'000'000;
constexpr std::size_t kMaxWorkPerByte = 8;
/// Bytes of memory. Elements of one letter with nothing in them take about 75 bytes per byte.
constexpr std::size_t kMaxMemory = std::size_t{32} * 1024 * 1024;
constexpr std::size_t kMaxMemoryPerByte = 96;
/// Different names of elements and attributes, for the DOM's table of names has a fixed size.
constexpr std::size_t kMaxNames = 50'000;
/// Declarations in the internal DTD subset; the library walks an element's for each new one.
constexpr std::size_t kMaxDeclarations = 5'000;

// A base class, so that the memory outlives the parser that allocates from it. The parser adopts
// the validator.
struct DocumentParserMemory {
  XmlMemory m_memory;
  NoValidation* const m_validator = new (&m_memory) NoValidation;
};

/// DOM parser for one self-contained, well-formed document. It reads nothing but the bytes that
/// it is given and tells a damaged document from a good one, which the base class by itself does
/// not: that gives the part it has read and no error. What a document may cost is limited.
class DocumentParser : private DocumentParserMemory, public XERCES_CPP_NAMESPACE::XercesDOMParser {
 public:
  DocumentParser();
  ~DocumentParser() override { m_memory.begin_release(); }

  static void* operator new(std::size_t size, const std::nothrow_t& tag) noexcept {
    return ::operator new(size, tag);
  }
  static void operator delete(void* parser) { ::operator delete(parser); }
  static void operator delete(void* parser, const std::nothrow_t&) { ::operator delete(parser); }

  /// Parses text; the document is then getDocument(). The one parsed before is freed. False when
  /// the text is not a well-formed document within the limits; the parser may then only be
  /// deleted. Throws when memory runs out, with the same consequence.
  bool parse_text(std::string_view text);

  /// Whether another document may be parsed: after one without declarations. The library forgets an
  /// object for each external DTD subset, which is freed only with the parser, and takes memory for
  /// forgetting declarations, which is put by only for the parser's end.
  bool is_reusable() const { return !m_has_external_subset && m_declaration_count == 0; }

  /// The effective declarations of the document's internal DTD subset, to compare two documents.
  const DomText& declarations() const { return m_declarations; }

  std::size_t bytes_in_use() const { return m_memory.bytes_in_use(); }

  /// Whether changes have doubled what the parser and its document hold.
  bool has_grown() const { return bytes_in_use() / 2 > m_bytes_after_parse; }

  // What the scanner reports.

  void error(unsigned int code, const XMLCh* domain, XMLErrorReporter::ErrTypes type,
             const XMLCh* text, const XMLCh* system_id, const XMLCh* public_id, XMLFileLoc line,
             XMLFileLoc column) override;
  XERCES_CPP_NAMESPACE::InputSource* resolveEntity(
      XERCES_CPP_NAMESPACE::XMLResourceIdentifier* resource) override;
  void startIntSubset() override;
  void endIntSubset() override;
  void startElement(const XERCES_CPP_NAMESPACE::XMLElementDecl& element, unsigned int uri,
                    const XMLCh* prefix,
                    const XERCES_CPP_NAMESPACE::RefVectorOf<XERCES_CPP_NAMESPACE::XMLAttr>& attrs,
                    XMLSize_t attr_count, bool is_empty, bool is_root) override;
  void endElement(const XERCES_CPP_NAMESPACE::XMLElementDecl& element, unsigned int uri,
                  bool is_root, const XMLCh* prefix) override;
  void startEntityReference(const XERCES_CPP_NAMESPACE::XMLEntityDecl& entity) override;
  void endEntityReference(const XERCES_CPP_NAMESPACE::XMLEntityDecl& entity) override;
  void entityDecl(const XERCES_CPP_NAMESPACE::DTDEntityDecl& entity, bool is_parameter,
                  bool is_ignored) override;
  void elementDecl(const XERCES_CPP_NAMESPACE::DTDElementDecl& element, bool is_ignored) override;
  void attDef(const XERCES_CPP_NAMESPACE::DTDElementDecl& element,
              const XERCES_CPP_NAMESPACE::DTDAttDef& attr, bool is_ignored) override;
  void notationDecl(const XERCES_CPP_NAMESPACE::XMLNotationDecl& notation,
                    bool is_ignored) override;

 private:
  void enter();
  void count_element_name(const XERCES_CPP_NAMESPACE::XMLElementDecl& element);
  void count_name(const XMLCh* name);
  void note_declaration(bool is_ignored, std::initializer_list<const XMLCh*> parts);

  // The scanner reports errors, and asks for entities, only when there is a handler for them. It
  // then calls this class's functions, which let no call through to the handler.
  XERCES_CPP_NAMESPACE::HandlerBase m_handler;
  bool m_damaged = false;
  bool m_in_internal_subset = false;
  bool m_has_external_subset = false;
  std::size_t m_bytes_after_parse = 0;
  std::size_t m_depth = 0;
  std::size_t m_declaration_count = 0;
  DomText m_declarations;
  std::unordered_set<std::size_t> m_names;  // hashes of the names seen

  // Some of the elements seen, by their declarations: elements of one name share one.
  std::array<const XERCES_CPP_NAMESPACE::XMLElementDecl*, 64> m_counted{};
};

}  // namespace utility

#endif
