#include "utility/document_parser.h"

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace utility {

namespace xc = XERCES_CPP_NAMESPACE;

namespace {

constexpr const char* kSourceName = "document";

}  // namespace

DocumentParser::DocumentParser() {
  setErrorHandler(&m_error_handler);
  setValidationScheme(Val_Auto);
  setDoNamespaces(false);
  setDoSchema(false);
  setLoadExternalDTD(false);
}

bool DocumentParser::parse_text(std::string_view text) {
  resetDocumentPool();
  m_damaged = false;
  const xc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                     kSourceName);
  try {
    parse(source);
  } catch (const xc::XMLException&) {
    return false;
  } catch (const xc::SAXException&) {
    return false;
  } catch (const xc::DOMException&) {
    return false;
  }
  return !m_damaged && getDocument() != nullptr;
}

void DocumentParser::error(unsigned int code, const XMLCh* domain, XMLErrorReporter::ErrTypes type,
                           const XMLCh*, const XMLCh*, const XMLCh*, XMLFileLoc, XMLFileLoc) {
  if (type == XMLErrorReporter::ErrType_Warning) return;
  // Validity does not matter here, with one exception: a reference to an unknown entity is left
  // out of the document and would be lost silently.
  const bool validity = xc::XMLString::equals(domain, xc::XMLUni::fgValidityDomain);
  if (!validity || code == xc::XMLValid::VC_EntityNotFound) m_damaged = true;
}

xc::InputSource* DocumentParser::resolveEntity(xc::XMLResourceIdentifier*) {
  return new (xc::XMLPlatformUtils::fgMemoryManager)
      xc::MemBufInputSource(reinterpret_cast<const XMLByte*>(""), 0, kSourceName);
}

}  // namespace utility
