// Parsers of the XML library that take only whole, well-formed documents within limits.
#ifndef UTILITY_XML_DOCUMENT_PARSER_H
#define UTILITY_XML_DOCUMENT_PARSER_H

#include "utility/xml/document_rules.h"
#include "utility/xml/no_validation.h"
#include "utility/xml/xc.h"
#include "utility/xml/xml_memory.h"

#include <new>
#include <string_view>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>

namespace utility {

// A base class, so that the memory outlives the parser that allocates from it. The parser adopts
// the validator.
struct ParserMemory {
  XmlMemory m_memory;
  NoValidation* const m_validator = new (&m_memory) NoValidation;
};

/// One of the XML library's parsers as a reader of one self-contained, well-formed document. It
/// reads nothing but the bytes that it is given and tells a damaged document from a good one,
/// which the base class by itself does not: that gives the part it has read and no error. What a
/// document may cost is limited.
/// Parser  a parser of the library with a constructor that takes a validator and the memory manager
template <typename Parser>
class GuardedParser : protected ParserMemory, public Parser {
 public:
  GuardedParser();
  ~GuardedParser() override { m_memory.begin_release(); }

  // What the scanner reports.

  void error(unsigned int code, const XMLCh* domain, xc::XMLErrorReporter::ErrTypes type,
             const XMLCh*, const XMLCh*, const XMLCh*, XMLFileLoc, XMLFileLoc) override {
    m_rules.error(code, domain, type);
  }
  xc::InputSource* resolveEntity(xc::XMLResourceIdentifier*) override {
    return m_rules.resolve_entity();
  }
  void startIntSubset() override {
    m_rules.start_internal_subset();
    Parser::startIntSubset();
  }
  void endIntSubset() override {
    m_rules.end_internal_subset();
    Parser::endIntSubset();
  }
  void startElement(const xc::XMLElementDecl& element, unsigned int uri, const XMLCh* prefix,
                    const xc::RefVectorOf<xc::XMLAttr>& attrs, XMLSize_t attr_count, bool is_empty,
                    bool is_root) override {
    m_rules.start_element(element, attrs, attr_count);
    Parser::startElement(element, uri, prefix, attrs, attr_count, is_empty, is_root);
  }
  void endElement(const xc::XMLElementDecl& element, unsigned int uri, bool is_root,
                  const XMLCh* prefix) override {
    m_rules.end_element();
    Parser::endElement(element, uri, is_root, prefix);
  }
  void startEntityReference(const xc::XMLEntityDecl& entity) override {
    m_rules.start_entity_reference(entity);
    Parser::startEntityReference(entity);
  }
  void endEntityReference(const xc::XMLEntityDecl& entity) override {
    m_rules.end_entity_reference();
    Parser::endEntityReference(entity);
  }
  void entityDecl(const xc::DTDEntityDecl& entity, bool is_parameter, bool is_ignored) override {
    Parser::entityDecl(entity, is_parameter, is_ignored);
    m_rules.entity_declared(entity, is_parameter, is_ignored);
  }
  void elementDecl(const xc::DTDElementDecl& element, bool is_ignored) override {
    Parser::elementDecl(element, is_ignored);
    m_rules.element_declared(element, is_ignored);
  }
  void attDef(const xc::DTDElementDecl& element, const xc::DTDAttDef& attr,
              bool is_ignored) override {
    Parser::attDef(element, attr, is_ignored);
    m_rules.attribute_declared(element, attr, is_ignored);
  }
  void endAttList(const xc::DTDElementDecl& element) override {
    m_rules.attribute_list_declared(element);
    Parser::endAttList(element);
  }
  void notationDecl(const xc::XMLNotationDecl& notation, bool is_ignored) override {
    Parser::notationDecl(notation, is_ignored);
    m_rules.notation_declared(notation, is_ignored);
  }
  void XMLDecl(const XMLCh* version, const XMLCh* encoding, const XMLCh* standalone,
               const XMLCh* actual_encoding) override {
    m_encoding = actual_encoding;
    Parser::XMLDecl(version, encoding, standalone, actual_encoding);
  }

 protected:
  /// Reads text with the parser as it is set up. False when the text is not a well-formed document
  /// within the limits; the parser may then only be deleted. Throws when memory runs out, with the
  /// same consequence.
  bool parse_guarded(std::string_view text);

  /// Whether the document was refused for bytes that the library has read as if they were good.
  bool has_damaged_bytes() const { return m_has_damaged_bytes; }

  /// The encoding that the document is in, as its declaration and its first bytes say; empty
  /// without a declaration.
  const DomText& encoding() const { return m_encoding; }

  // The scanner reports errors, and asks for entities, only when there is a handler for them. It
  // then calls this class's functions, which let no call through to the handler.
  xc::HandlerBase m_handler;

  /// A derived class that handles elements and entity references without Parser tells it of them.
  DocumentRules m_rules{m_memory};

 private:
  DomText m_encoding;
  bool m_has_damaged_bytes = false;
};

/// The library's DOM parser.
class DomParser : public xc::XercesDOMParser {
 public:
  DomParser(NoValidation* validator, XmlMemory* memory) : xc::XercesDOMParser(validator, memory) {}
};

/// The library's SAX2 reader.
class SaxReader : public xc::SAX2XMLReaderImpl {
 public:
  SaxReader(NoValidation* validator, XmlMemory* memory) : xc::SAX2XMLReaderImpl(memory) {
    setValidator(validator);
  }
};

/// Reads documents as DOM trees.
class DocumentParser : public GuardedParser<DomParser> {
 public:
  DocumentParser();

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
  bool is_reusable() const { return !m_rules.has_external_subset() && !m_rules.has_declarations(); }

  /// The effective declarations of the document's internal DTD subset, to compare two documents.
  const DomText& declarations() const { return m_rules.declarations(); }

  std::size_t bytes_in_use() const { return m_memory.bytes_in_use(); }

  /// Whether changes have doubled what the parser and its document hold.
  bool has_grown() const { return bytes_in_use() / 2 > m_bytes_after_parse; }

 private:
  std::size_t m_bytes_after_parse = 0;
};

}  // namespace utility

#endif
