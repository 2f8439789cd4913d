#include "utility/document_parser.h"

#include "utility/document_encoding.h"

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXException.hpp>

namespace utility {

namespace xc = XERCES_CPP_NAMESPACE;

DocumentParser::DocumentParser() : xc::XercesDOMParser(m_validator, &m_memory) {
  m_validator->setErrorReporter(this);  // the scanner does this only for a validator of its own
  setErrorHandler(&m_handler);
  setEntityResolver(&m_handler);
  setDisableDefaultEntityResolution(true);
}

bool DocumentParser::parse_text(std::string_view text) {
  resetDocumentPool();
  setValidationScheme(Val_Auto);
  setDoNamespaces(false);
  setDoSchema(false);
  setLoadExternalDTD(false);
  const xc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                     kDocumentName, false, &m_memory);
  m_rules.begin(text.size());
  try {
    parse(source);
    m_rules.end();
    m_bytes_after_parse = bytes_in_use();
    return !m_rules.is_damaged() && getDocument() != nullptr &&
           is_whole(text, getDocument()->getInputEncoding(), m_memory);
  } catch (const DocumentRefused&) {
  } catch (const xc::XMLException&) {
  } catch (const xc::SAXException&) {
  } catch (const xc::DOMException&) {
  }
  m_rules.end();
  return false;
}

void DocumentParser::error(unsigned int code, const XMLCh* domain, XMLErrorReporter::ErrTypes type,
                           const XMLCh*, const XMLCh*, const XMLCh*, XMLFileLoc, XMLFileLoc) {
  m_rules.error(code, domain, type);
}

xc::InputSource* DocumentParser::resolveEntity(xc::XMLResourceIdentifier*) {
  return m_rules.resolve_entity();
}

void DocumentParser::startIntSubset() {
  m_rules.start_internal_subset();
  XercesDOMParser::startIntSubset();
}

void DocumentParser::endIntSubset() {
  m_rules.end_internal_subset();
  XercesDOMParser::endIntSubset();
}

void DocumentParser::startElement(const xc::XMLElementDecl& element, unsigned int uri,
                                  const XMLCh* prefix, const xc::RefVectorOf<xc::XMLAttr>& attrs,
                                  XMLSize_t attr_count, bool is_empty, bool is_root) {
  m_rules.start_element(element, attrs, attr_count);
  XercesDOMParser::startElement(element, uri, prefix, attrs, attr_count, is_empty, is_root);
}

void DocumentParser::endElement(const xc::XMLElementDecl& element, unsigned int uri, bool is_root,
                                const XMLCh* prefix) {
  m_rules.end_element();
  XercesDOMParser::endElement(element, uri, is_root, prefix);
}

void DocumentParser::startEntityReference(const xc::XMLEntityDecl& entity) {
  m_rules.start_entity_reference(entity);
  XercesDOMParser::startEntityReference(entity);
}

void DocumentParser::endEntityReference(const xc::XMLEntityDecl& entity) {
  m_rules.end_entity_reference();
  XercesDOMParser::endEntityReference(entity);
}

void DocumentParser::entityDecl(const xc::DTDEntityDecl& entity, bool is_parameter,
                                bool is_ignored) {
  XercesDOMParser::entityDecl(entity, is_parameter, is_ignored);
  m_rules.entity_declared(entity, is_parameter, is_ignored);
}

void DocumentParser::elementDecl(const xc::DTDElementDecl& element, bool is_ignored) {
  XercesDOMParser::elementDecl(element, is_ignored);
  m_rules.element_declared(element, is_ignored);
}

void DocumentParser::attDef(const xc::DTDElementDecl& element, const xc::DTDAttDef& attr,
                            bool is_ignored) {
  XercesDOMParser::attDef(element, attr, is_ignored);
  m_rules.attribute_declared(element, attr, is_ignored);
}

// The DOM makes all default values of the element anew, for each of its lists of attributes.
void DocumentParser::endAttList(const xc::DTDElementDecl& element) {
  constexpr std::size_t kWorkPerDefault = 100;
  const XMLSize_t attr_count = element.hasAttDefs() ? element.getAttDefList().getAttDefCount() : 0;
  for (XMLSize_t i = 0; i < attr_count; ++i) {
    const bool has_default = element.getAttDefList().getAttDef(i).getValue() != nullptr;
    if (has_default) m_memory.count_work(kWorkPerDefault);
  }
  XercesDOMParser::endAttList(element);
}

void DocumentParser::notationDecl(const xc::XMLNotationDecl& notation, bool is_ignored) {
  XercesDOMParser::notationDecl(notation, is_ignored);
  m_rules.notation_declared(notation, is_ignored);
}

}  // namespace utility
