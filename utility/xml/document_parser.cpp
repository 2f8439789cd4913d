#include "utility/xml/document_parser.h"

#include "utility/xml/document_encoding.h"

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXException.hpp>

namespace utility {

namespace xc = XERCES_CPP_NAMESPACE;

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
GuardedParser<Parser>::GuardedParser() : Parser(m_validator, &m_memory) {
  m_validator->setErrorReporter(this);  // the scanner does this only for a validator of its own
  this->setErrorHandler(&m_handler);
  this->setEntityResolver(&m_handler);
}

template <typename Parser>
bool GuardedParser<Parser>::parse_guarded(std::string_view text) {
  m_encoding.clear();
  m_has_damaged_bytes = false;
  const xc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                     kDocumentName, false, &m_memory);
  m_rules.begin(text.size());
  try {
    this->parse(source);
    m_rules.end();
    if (m_rules.is_damaged()) {
      return false;
    }
    m_has_damaged_bytes =
        !is_whole(text, m_encoding.empty() ? nullptr : m_encoding.c_str(), m_memory);
    return !m_has_damaged_bytes;
  } catch (const DocumentRefused&) {
  } catch (const xc::XMLException&) {
  } catch (const xc::SAXException&) {
  } catch (const xc::DOMException&) {
  }
  m_rules.end();
  return false;
}

template <typename Parser>
void GuardedParser<Parser>::error(unsigned int code, const XMLCh* domain,
                                  xc::XMLErrorReporter::ErrTypes type, const XMLCh*, const XMLCh*,
                                  const XMLCh*, XMLFileLoc, XMLFileLoc) {
  m_rules.error(code, domain, type);
}

template <typename Parser>
xc::InputSource* GuardedParser<Parser>::resolveEntity(xc::XMLResourceIdentifier*) {
  return m_rules.resolve_entity();
}

template <typename Parser>
void GuardedParser<Parser>::startIntSubset() {
  m_rules.start_internal_subset();
  Parser::startIntSubset();
}

template <typename Parser>
void GuardedParser<Parser>::endIntSubset() {
  m_rules.end_internal_subset();
  Parser::endIntSubset();
}

template <typename Parser>
void GuardedParser<Parser>::startElement(const xc::XMLElementDecl& element, unsigned int uri,
                                         const XMLCh* prefix,
                                         const xc::RefVectorOf<xc::XMLAttr>& attrs,
                                         XMLSize_t attr_count, bool is_empty, bool is_root) {
  m_rules.start_element(element, attrs, attr_count);
  Parser::startElement(element, uri, prefix, attrs, attr_count, is_empty, is_root);
}

template <typename Parser>
void GuardedParser<Parser>::endElement(const xc::XMLElementDecl& element, unsigned int uri,
                                       bool is_root, const XMLCh* prefix) {
  m_rules.end_element();
  Parser::endElement(element, uri, is_root, prefix);
}

template <typename Parser>
void GuardedParser<Parser>::startEntityReference(const xc::XMLEntityDecl& entity) {
  m_rules.start_entity_reference(entity);
  Parser::startEntityReference(entity);
}

template <typename Parser>
void GuardedParser<Parser>::endEntityReference(const xc::XMLEntityDecl& entity) {
  m_rules.end_entity_reference();
  Parser::endEntityReference(entity);
}

template <typename Parser>
void GuardedParser<Parser>::entityDecl(const xc::DTDEntityDecl& entity, bool is_parameter,
                                       bool is_ignored) {
  Parser::entityDecl(entity, is_parameter, is_ignored);
  m_rules.entity_declared(entity, is_parameter, is_ignored);
}

template <typename Parser>
void GuardedParser<Parser>::elementDecl(const xc::DTDElementDecl& element, bool is_ignored) {
  Parser::elementDecl(element, is_ignored);
  m_rules.element_declared(element, is_ignored);
}

template <typename Parser>
void GuardedParser<Parser>::attDef(const xc::DTDElementDecl& element, const xc::DTDAttDef& attr,
                                   bool is_ignored) {
  Parser::attDef(element, attr, is_ignored);
  m_rules.attribute_declared(element, attr, is_ignored);
}

// The DOM makes all default values of the element anew, for each of its lists of attributes. Other
// parsers refuse what the DOM would.
template <typename Parser>
void GuardedParser<Parser>::endAttList(const xc::DTDElementDecl& element) {
  constexpr std::size_t kWorkPerDefault = 100;
  const XMLSize_t attr_count = element.hasAttDefs() ? element.getAttDefList().getAttDefCount() : 0;
  for (XMLSize_t i = 0; i < attr_count; ++i) {
    const bool has_default = element.getAttDefList().getAttDef(i).getValue() != nullptr;
    if (has_default) {
      m_memory.count_work(kWorkPerDefault);
    }
  }
  Parser::endAttList(element);
}

template <typename Parser>
void GuardedParser<Parser>::notationDecl(const xc::XMLNotationDecl& notation, bool is_ignored) {
  Parser::notationDecl(notation, is_ignored);
  m_rules.notation_declared(notation, is_ignored);
}

template <typename Parser>
void GuardedParser<Parser>::XMLDecl(const XMLCh* version, const XMLCh* encoding,
                                    const XMLCh* standalone, const XMLCh* actual_encoding) {
  m_encoding = actual_encoding;
  Parser::XMLDecl(version, encoding, standalone, actual_encoding);
}

template class GuardedParser<DomParser>;
template class GuardedParser<SaxReader>;

}  // namespace utility
