#include "utility/document_parser.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/framework/XMLNotationDecl.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/DTD/DTDAttDef.hpp>
#include <xercesc/validators/DTD/DTDElementDecl.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

namespace utility {

namespace xc = XERCES_CPP_NAMESPACE;

namespace {

// In the library's own characters: it would convert other ones under a lock of the whole process,
// which all parsers would wait for, and which a forked child could find held for ever.
constexpr const XMLCh* kSourceName = u"document";
constexpr XMLCh kReplacement = 0xFFFD;

// The size in bytes of a character unit of XML text, by its first characters: a byte order mark
// or "<".
std::size_t unit_size(std::string_view text) {
  using std::string_view_literals::operator""sv;
  for (const std::string_view start :
       {"\0\0\0<"sv, "<\0\0\0"sv, "\0\0\xFE\xFF"sv, "\xFF\xFE\0\0"sv}) {
    if (text.starts_with(start)) return 4;
  }
  for (const std::string_view start : {"\0<"sv, "<\0"sv, "\xFE\xFF"sv, "\xFF\xFE"sv}) {
    if (text.starts_with(start)) return 2;
  }
  return 1;
}

// Whether text holds a zero character. The scanner takes one behind the root element for the end
// of the text: a file that a crash has filled with zeros would be a good one.
bool has_zero(std::string_view text) {
  const std::size_t size = unit_size(text);
  const std::string_view zero("\0\0\0\0", size);
  std::size_t at = text.find(zero);
  while (at != std::string_view::npos && at % size != 0) at = text.find(zero, at + 1);
  return at != std::string_view::npos;
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

// Whether text holds bytes that its encoding does not have. Of encodings that it has from ICU the
// library reads them as U+FFFD, without an error; it refuses them in those that it knows itself,
// which pass here again.
bool has_foreign_bytes(std::string_view text, const XMLCh* encoding, XmlMemory& memory) {
  if (encoding == nullptr ||
      xc::XMLString::compareIString(encoding, xc::XMLUni::fgUTF8EncodingString) == 0 ||
      is_ascii(text) || unit_size(text) != 1) {
    return false;
  }
  constexpr XMLSize_t kBlock = 4096;
  xc::XMLTransService::Codes code;
  const std::unique_ptr<xc::XMLTranscoder> transcoder(
      xc::XMLPlatformUtils::fgTransService->makeNewTranscoderFor(encoding, code, kBlock, &memory));
  if (transcoder == nullptr) return true;
  XMLCh characters[kBlock];
  unsigned char sizes[kBlock];
  while (!text.empty()) {
    XMLSize_t eaten = 0;
    const XMLSize_t count = transcoder->transcodeFrom(reinterpret_cast<const XMLByte*>(text.data()),
                                                      std::min<XMLSize_t>(text.size(), kBlock),
                                                      characters, kBlock, eaten, sizes);
    const bool replaced =
        std::find(characters, characters + count, kReplacement) != characters + count;
    if (eaten == 0 || replaced) return true;
    text.remove_prefix(eaten);
  }
  return false;
}

}  // namespace

DocumentParser::DocumentParser() { setDisableDefaultEntityResolution(true); }

bool DocumentParser::parse_text(std::string_view text) {
  resetDocumentPool();
  setValidationScheme(Val_Auto);
  setDoNamespaces(false);
  setDoSchema(false);
  setLoadExternalDTD(false);
  const bool is_good = parse_guarded(text);
  m_bytes_after_parse = bytes_in_use();
  return is_good && getDocument() != nullptr;
}

template <typename Parser>
GuardedParser<Parser>::GuardedParser() : Parser(&m_memory) {
  this->setErrorHandler(&m_handler);
  this->setEntityResolver(&m_handler);
}

template <typename Parser>
bool GuardedParser<Parser>::parse_guarded(std::string_view text) {
  if (has_zero(text)) return false;
  m_damaged = false;
  m_in_internal_subset = false;
  m_depth = 0;
  m_declaration_count = 0;
  m_declarations.clear();
  m_names.clear();
  m_counted.fill(nullptr);
  m_encoding.clear();
  const xc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                     kSourceName, false, &m_memory);
  m_memory.watch(kMaxMemory + kMaxMemoryPerByte * text.size(),
                 kMaxExpansions + text.size() / kBytesPerExpansion,
                 kMaxWork + kMaxWorkPerByte * text.size());
  try {
    this->parse(source);
  } catch (const DocumentRefused&) {
    m_damaged = true;
  } catch (const xc::XMLException&) {
    m_damaged = true;
  } catch (const xc::SAXException&) {
    m_damaged = true;
  } catch (const xc::DOMException&) {
    m_damaged = true;
  }
  m_memory.unwatch();
  return !m_damaged &&
         !has_foreign_bytes(text, m_encoding.empty() ? nullptr : m_encoding.c_str(), m_memory);
}

template <typename Parser>
void GuardedParser<Parser>::error(unsigned int code, const XMLCh* domain,
                                  xc::XMLErrorReporter::ErrTypes type, const XMLCh*, const XMLCh*,
                                  const XMLCh*, XMLFileLoc, XMLFileLoc) {
  if (type == xc::XMLErrorReporter::ErrType_Warning) return;
  // Validity does not matter here, with one exception: a reference to an unknown entity is left
  // out of the document and would be lost silently.
  const bool validity = xc::XMLString::equals(domain, xc::XMLUni::fgValidityDomain);
  if (!validity || code == xc::XMLValid::VC_EntityNotFound) m_damaged = true;
}

// Asked for the external DTD subset, which validation wants in spite of the setting and which is
// left out, and for external entities, without which the document would not be whole.
template <typename Parser>
xc::InputSource* GuardedParser<Parser>::resolveEntity(xc::XMLResourceIdentifier*) {
  if (m_in_internal_subset) throw DocumentRefused();
  m_has_external_subset = true;
  static constexpr XMLByte kNothing[] = {'\n'};  // no bytes at all would be an error
  return new (&m_memory)
      xc::MemBufInputSource(kNothing, sizeof(kNothing), kSourceName, false, &m_memory);
}

template <typename Parser>
void GuardedParser<Parser>::startIntSubset() {
  m_in_internal_subset = true;
  Parser::startIntSubset();
}

template <typename Parser>
void GuardedParser<Parser>::endIntSubset() {
  m_in_internal_subset = false;
  Parser::endIntSubset();
}

template <typename Parser>
void GuardedParser<Parser>::startElement(const xc::XMLElementDecl& element, unsigned int uri,
                                         const XMLCh* prefix,
                                         const xc::RefVectorOf<xc::XMLAttr>& attrs,
                                         XMLSize_t attr_count, bool is_empty, bool is_root) {
  count_start(element, attrs, attr_count);
  Parser::startElement(element, uri, prefix, attrs, attr_count, is_empty, is_root);
}

template <typename Parser>
void GuardedParser<Parser>::endElement(const xc::XMLElementDecl& element, unsigned int uri,
                                       bool is_root, const XMLCh* prefix) {
  count_end();
  Parser::endElement(element, uri, is_root, prefix);
}

template <typename Parser>
void GuardedParser<Parser>::startEntityReference(const xc::XMLEntityDecl& entity) {
  count_start(entity);
  Parser::startEntityReference(entity);
}

template <typename Parser>
void GuardedParser<Parser>::endEntityReference(const xc::XMLEntityDecl& entity) {
  count_end();
  Parser::endEntityReference(entity);
}

template <typename Parser>
void GuardedParser<Parser>::entityDecl(const xc::DTDEntityDecl& entity, bool is_parameter,
                                       bool is_ignored) {
  note_declaration(is_ignored,
                   {is_parameter ? u"%" : u"&", entity.getName(), entity.getValue(),
                    entity.getPublicId(), entity.getSystemId(), entity.getNotationName()});
  if (entity.getValue() != nullptr) m_memory.entity_declared(entity.getValueLen());
  Parser::entityDecl(entity, is_parameter, is_ignored);
}

template <typename Parser>
void GuardedParser<Parser>::elementDecl(const xc::DTDElementDecl& element, bool is_ignored) {
  note_declaration(is_ignored,
                   {u"element", element.getFullName(), element.getFormattedContentModel()});
  Parser::elementDecl(element, is_ignored);
  // Nobody asks whether the content is valid, but checking it takes an automaton, whose size can
  // be exponential in the length of the declaration. This leaves nothing to check.
  const_cast<xc::DTDElementDecl&>(element).setModelType(xc::DTDElementDecl::Any);
}

template <typename Parser>
void GuardedParser<Parser>::attDef(const xc::DTDElementDecl& element, const xc::DTDAttDef& attr,
                                   bool is_ignored) {
  const XMLCh type[] = {static_cast<XMLCh>(u'0' + attr.getType()),
                        static_cast<XMLCh>(u'0' + attr.getDefaultType()), 0};
  note_declaration(is_ignored, {u"attribute", element.getFullName(), attr.getFullName(), type,
                                attr.getEnumeration(), attr.getValue()});
  Parser::attDef(element, attr, is_ignored);
}

template <typename Parser>
void GuardedParser<Parser>::notationDecl(const xc::XMLNotationDecl& notation, bool is_ignored) {
  note_declaration(is_ignored, {u"notation", notation.getName(), notation.getPublicId(),
                                notation.getSystemId()});
  Parser::notationDecl(notation, is_ignored);
}

template <typename Parser>
void GuardedParser<Parser>::XMLDecl(const XMLCh* version, const XMLCh* encoding,
                                    const XMLCh* standalone, const XMLCh* actual_encoding) {
  m_encoding = actual_encoding;
  Parser::XMLDecl(version, encoding, standalone, actual_encoding);
}

template <typename Parser>
void GuardedParser<Parser>::count_start(const xc::XMLElementDecl& element,
                                        const xc::RefVectorOf<xc::XMLAttr>& attrs,
                                        XMLSize_t attr_count) {
  enter();
  count_element_name(element);
  for (XMLSize_t i = 0; i < attr_count; ++i) count_name(attrs.elementAt(i)->getName());
  if (element.hasAttDefs()) m_memory.count_work(element.getAttDefList().getAttDefCount());
}

template <typename Parser>
void GuardedParser<Parser>::count_start(const xc::XMLEntityDecl& entity) {
  enter();
  if (entity.isExternal()) throw DocumentRefused();
  m_memory.expansion_was_of(entity.getValueLen());
}

template <typename Parser>
void GuardedParser<Parser>::enter() {
  if (++m_depth > kMaxNesting) throw DocumentRefused();
}

template <typename Parser>
void GuardedParser<Parser>::count_element_name(const xc::XMLElementDecl& element) {
  const auto address = reinterpret_cast<std::uintptr_t>(&element);
  const xc::XMLElementDecl*& counted = m_counted[address / sizeof element % m_counted.size()];
  if (counted == &element) return;
  count_name(element.getFullName());
  counted = &element;
}

template <typename Parser>
void GuardedParser<Parser>::count_name(const XMLCh* name) {
  m_names.insert(std::hash<std::basic_string_view<XMLCh>>()(name));
  if (m_names.size() > kMaxNames) throw DocumentRefused();
}

template <typename Parser>
void GuardedParser<Parser>::note_declaration(bool is_ignored,
                                             std::initializer_list<const XMLCh*> parts) {
  if (++m_declaration_count > kMaxDeclarations) throw DocumentRefused();
  if (is_ignored) return;
  for (const XMLCh* const part : parts) {
    if (part != nullptr) m_declarations += part;
    m_declarations += XMLCh(0);  // in no part: no two lists of declarations look the same
  }
}

template class GuardedParser<DomParser>;
template class GuardedParser<xc::SAX2XMLReaderImpl>;

}  // namespace utility
