// Limits the cost of a document, and refuses one that is not whole by itself.
#ifndef UTILITY_XML_DOCUMENT_RULES_H
#define UTILITY_XML_DOCUMENT_RULES_H

#include "utility/text_codec.h"
#include "utility/xml/name_table.h"
#include "utility/xml/xc.h"
#include "utility/xml/xml_memory.h"

#include <array>
#include <initializer_list>
#include <unordered_map>
#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/framework/XMLEntityDecl.hpp>
#include <xercesc/framework/XMLErrorReporter.hpp>
#include <xercesc/framework/XMLNotationDecl.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/util/RefVectorOf.hpp>
#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

namespace utility {

// The limits of a document's cost. A limit "PerByte" is multiplied by the bytes of the file and
// added to the fixed limit.

/// The bytes of the file.
constexpr std::size_t kMaxFileSize = std::size_t{256} * 1024 * 1024;
/// The depth of elements and entity references nested in each other. The XML library saves, copies
/// and searches a tree by recursion; this depth fits a thread's stack of 512 KiB.
constexpr std::size_t kMaxNesting = 1000;
/// The number of entity expansions, wherever the references are: kMaxExpansions, and one more for
/// each kBytesPerExpansion bytes of the file.
constexpr std::size_t kMaxExpansions = 20'000;
constexpr std::size_t kBytesPerExpansion = 32;
/// The work: characters read from expansions, plus attribute declarations looked at for elements.
constexpr std::size_t kMaxWork = 8'000'000;
constexpr std::size_t kMaxWorkPerByte = 8;
/// The bytes of memory. An empty element with a name of one letter takes about 75 bytes of memory
/// for each of its bytes.
constexpr std::size_t kMaxMemory = std::size_t{32} * 1024 * 1024;
constexpr std::size_t kMaxMemoryPerByte = 96;
/// The number of different names of elements and attributes: the DOM's table of names has a fixed
/// size.
constexpr std::size_t kMaxNames = 50'000;
/// The number of attributes of one element.
constexpr std::size_t kMaxAttributes = 5'000;
/// The number of declarations in the internal DTD subset: for each new attribute declaration the
/// library walks over those that the element has.
constexpr std::size_t kMaxDeclarations = 5'000;

/// The name that each document has for the library, in the library's own characters. The library
/// would convert a narrow name under a lock of the whole process: all parsers would wait for that
/// lock, and a forked child could find it held for ever.
constexpr const XMLCh* kDocumentName = u"document";

/// The checks that a parser of the XML library makes so that a document is well-formed, whole by
/// itself, and within the limits. The parser passes each report of its scanner to the function
/// below that is named after the report. These functions throw DocumentRefused.
///
/// The parser scans with a NoValidation as its validator, with "validation if there is a DTD",
/// without namespaces and without a schema. It takes its memory from the same XmlMemory, and calls
/// is_whole() at the end.
class DocumentRules {
 public:
  explicit DocumentRules(XmlMemory& memory) : m_memory(&memory) {}

  /// Begins a document of `bytes` bytes, and watches the memory from now on.
  void begin(std::size_t bytes);

  /// Ends watching. Must be called, also when the document is refused.
  void end() { m_memory->unwatch(); }

  /// Whether an error has been reported. After some errors the scanner goes on and leaves things
  /// out.
  bool is_damaged() const { return m_damaged; }

  /// Whether the document was refused for an entity in another file.
  bool refers_to_another_file() const { return m_refers_to_another_file; }

  bool has_external_subset() const { return m_has_external_subset; }
  bool has_declarations() const { return m_declaration_count != 0; }

  /// The effective declarations of the internal DTD subset, to compare two documents.
  const DomText& declarations() const { return m_declarations; }

  bool is_in_internal_subset() const { return m_in_internal_subset; }

  // XMLErrorReporter

  void error(unsigned int code, const XMLCh* domain, xc::XMLErrorReporter::ErrTypes type);

  // XMLEntityHandler

  /// The input that stands in for something outside the file. The caller owns it.
  xc::InputSource* resolve_entity();

  // XMLDocumentHandler; an element without content begins and ends, as any other.

  void start_element(const xc::XMLElementDecl& element, const xc::RefVectorOf<xc::XMLAttr>& attrs,
                     XMLSize_t attr_count);
  void end_element() { --m_depth; }
  void start_entity_reference(const xc::XMLEntityDecl& entity);
  void end_entity_reference() { --m_depth; }

  // DocTypeHandler; the declarations when the parser has done with them, for they are changed.

  void start_internal_subset() { m_in_internal_subset = true; }
  void end_internal_subset() { m_in_internal_subset = false; }
  void entity_declared(const xc::DTDEntityDecl& entity, bool is_parameter, bool is_ignored);
  void element_declared(const xc::DTDElementDecl& element, bool is_ignored);
  void attribute_declared(const xc::DTDElementDecl& element, const xc::DTDAttDef& attr,
                          bool is_ignored);
  void attribute_list_declared(const xc::DTDElementDecl& element);
  void notation_declared(const xc::XMLNotationDecl& notation, bool is_ignored);

 private:
  [[noreturn]] void refuse_another_file();
  void enter();
  void count_name(const XMLCh* name);
  void count_element(const xc::XMLElementDecl& element);
  void count_attributes(const xc::RefVectorOf<xc::XMLAttr>& attrs, XMLSize_t attr_count);
  void count_names_in(const XMLCh* content_model);
  void note_declaration(bool is_ignored, std::initializer_list<const XMLCh*> parts);

  XmlMemory* m_memory;
  bool m_damaged = false;
  bool m_refers_to_another_file = false;
  bool m_in_internal_subset = false;
  bool m_has_external_subset = false;
  std::size_t m_depth = 0;
  std::size_t m_declaration_count = 0;
  DomText m_declarations;

  NameTable m_names{kDomNames};  // of elements and attributes
  NameTable m_elements{kElements};
  NameTable m_declared_elements{kDeclarations, kDomDeclarations};
  NameTable m_entities{kDeclarations, kDomDeclarations};
  NameTable m_parameter_entities{kDeclarations};
  NameTable m_notations{kDeclarations, kDomDeclarations};
  std::unordered_map<const xc::XMLElementDecl*, NameTable> m_declared_attributes;

  // Some of the elements seen, by their declarations: elements of one name share one.
  std::array<const xc::XMLElementDecl*, 64> m_counted{};
};

}  // namespace utility

#endif
