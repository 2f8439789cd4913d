// A parse, from bytes in memory to a verdict.
#include "utility/xml/document_parser.h"

#include "utility/xml/document_encoding.h"

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXException.hpp>

namespace utility {

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

template class GuardedParser<DomParser>;
template class GuardedParser<SaxReader>;

}  // namespace utility
