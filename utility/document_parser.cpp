#include "utility/document_parser.h"

#include "utility/document_encoding.h"

#include <cstdint>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/framework/XMLNotationDecl.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/sax/SAXException.hpp>
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

}  // namespace

DocumentParser::DocumentParser() : xc::XercesDOMParser(m_validator, &m_memory) {
  m_validator->setErrorReporter(this);  // the scanner does this only for a validator of its own
  setErrorHandler(&m_handler);
  setEntityResolver(&m_handler);
  setDisableDefaultEntityResolution(true);
}

bool DocumentParser::parse_text(std::string_view text) {
  resetDocumentPool();
  m_damaged = false;
  m_in_internal_subset = false;
  m_depth = 0;
  m_declaration_count = 0;
  m_declarations.clear();
  m_names.clear();
  m_counted.fill(nullptr);
  setValidationScheme(Val_Auto);
  setDoNamespaces(false);
  setDoSchema(false);
  setLoadExternalDTD(false);
  const xc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                     kSourceName, false, &m_memory);
  m_memory.watch(kMaxMemory + kMaxMemoryPerByte * text.size(),
                 kMaxExpansions + text.size() / kBytesPerExpansion,
                 kMaxWork + kMaxWorkPerByte * text.size());
  try {
    parse(source);
    m_memory.unwatch();
    m_bytes_after_parse = bytes_in_use();
    return !m_damaged && getDocument() != nullptr &&
           is_whole(text, getDocument()->getInputEncoding(), m_memory);
  } catch (const DocumentRefused&) {
  } catch (const xc::XMLException&) {
  } catch (const xc::SAXException&) {
  } catch (const xc::DOMException&) {
  }
  m_memory.unwatch();
  return false;
}

void DocumentParser::error(unsigned int code, const XMLCh* domain, XMLErrorReporter::ErrTypes type,
                           const XMLCh*, const XMLCh*, const XMLCh*, XMLFileLoc, XMLFileLoc) {
  if (type == XMLErrorReporter::ErrType_Warning) return;
  // Validity does not matter here, with one exception: a reference to an unknown entity is left
  // out of the document and would be lost silently.
  const bool validity = xc::XMLString::equals(domain, xc::XMLUni::fgValidityDomain);
  if (!validity || code == xc::XMLValid::VC_EntityNotFound) m_damaged = true;
}

// Asked for the external DTD subset, which validation wants in spite of the setting and which is
// left out, and for external entities, without which the document would not be whole.
xc::InputSource* DocumentParser::resolveEntity(xc::XMLResourceIdentifier*) {
  if (m_in_internal_subset) throw DocumentRefused();
  m_has_external_subset = true;
  static constexpr XMLByte kNothing[] = {'\n'};  // no bytes at all would be an error
  return new (&m_memory)
      xc::MemBufInputSource(kNothing, sizeof(kNothing), kSourceName, false, &m_memory);
}

void DocumentParser::startIntSubset() {
  m_in_internal_subset = true;
  XercesDOMParser::startIntSubset();
}

void DocumentParser::endIntSubset() {
  m_in_internal_subset = false;
  XercesDOMParser::endIntSubset();
}

void DocumentParser::startElement(const xc::XMLElementDecl& element, unsigned int uri,
                                  const XMLCh* prefix, const xc::RefVectorOf<xc::XMLAttr>& attrs,
                                  XMLSize_t attr_count, bool is_empty, bool is_root) {
  enter();
  count_element_name(element);
  for (XMLSize_t i = 0; i < attr_count; ++i) count_name(attrs.elementAt(i)->getName());
  if (element.hasAttDefs()) m_memory.count_work(element.getAttDefList().getAttDefCount());
  XercesDOMParser::startElement(element, uri, prefix, attrs, attr_count, is_empty, is_root);
}

void DocumentParser::endElement(const xc::XMLElementDecl& element, unsigned int uri, bool is_root,
                                const XMLCh* prefix) {
  --m_depth;
  XercesDOMParser::endElement(element, uri, is_root, prefix);
}

void DocumentParser::startEntityReference(const xc::XMLEntityDecl& entity) {
  enter();
  if (entity.isExternal()) throw DocumentRefused();
  m_memory.expansion_was_of(entity.getValueLen());
  XercesDOMParser::startEntityReference(entity);
}

void DocumentParser::endEntityReference(const xc::XMLEntityDecl& entity) {
  --m_depth;
  XercesDOMParser::endEntityReference(entity);
}

void DocumentParser::entityDecl(const xc::DTDEntityDecl& entity, bool is_parameter,
                                bool is_ignored) {
  note_declaration(is_ignored,
                   {is_parameter ? u"%" : u"&", entity.getName(), entity.getValue(),
                    entity.getPublicId(), entity.getSystemId(), entity.getNotationName()});
  if (entity.getValue() != nullptr) m_memory.entity_declared(entity.getValueLen());
  XercesDOMParser::entityDecl(entity, is_parameter, is_ignored);
}

void DocumentParser::elementDecl(const xc::DTDElementDecl& element, bool is_ignored) {
  note_declaration(is_ignored,
                   {u"element", element.getFullName(), element.getFormattedContentModel()});
  XercesDOMParser::elementDecl(element, is_ignored);
  // The scanner would leave out text in an element that must be empty.
  const_cast<xc::DTDElementDecl&>(element).setModelType(xc::DTDElementDecl::Any);
}

void DocumentParser::attDef(const xc::DTDElementDecl& element, const xc::DTDAttDef& attr,
                            bool is_ignored) {
  const XMLCh type[] = {static_cast<XMLCh>(u'0' + attr.getType()),
                        static_cast<XMLCh>(u'0' + attr.getDefaultType()), 0};
  note_declaration(is_ignored, {u"attribute", element.getFullName(), attr.getFullName(), type,
                                attr.getEnumeration(), attr.getValue()});
  XercesDOMParser::attDef(element, attr, is_ignored);
  // The DOM keeps IDs in a table in which a document can make all of them collide. What an ID is
  // besides, a token is as well.
  if (attr.getType() == xc::XMLAttDef::ID) {
    const_cast<xc::DTDAttDef&>(attr).setType(xc::XMLAttDef::NmToken);
  }
}

void DocumentParser::notationDecl(const xc::XMLNotationDecl& notation, bool is_ignored) {
  note_declaration(is_ignored, {u"notation", notation.getName(), notation.getPublicId(),
                                notation.getSystemId()});
  XercesDOMParser::notationDecl(notation, is_ignored);
}

void DocumentParser::enter() {
  if (++m_depth > kMaxNesting) throw DocumentRefused();
}

void DocumentParser::count_element_name(const xc::XMLElementDecl& element) {
  const auto address = reinterpret_cast<std::uintptr_t>(&element);
  const xc::XMLElementDecl*& counted = m_counted[address / sizeof element % m_counted.size()];
  if (counted == &element) return;
  count_name(element.getFullName());
  counted = &element;
}

void DocumentParser::count_name(const XMLCh* name) {
  m_names.insert(std::hash<std::basic_string_view<XMLCh>>()(name));
  if (m_names.size() > kMaxNames) throw DocumentRefused();
}

void DocumentParser::note_declaration(bool is_ignored, std::initializer_list<const XMLCh*> parts) {
  if (++m_declaration_count > kMaxDeclarations) throw DocumentRefused();
  if (is_ignored) return;
  for (const XMLCh* const part : parts) {
    if (part != nullptr) m_declarations += part;
    m_declarations += XMLCh(0);  // in no part: no two lists of declarations look the same
  }
}

}  // namespace utility
