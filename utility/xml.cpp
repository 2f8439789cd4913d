#include "utility/xml.h"

#include "utility/document_parser.h"
#include "utility/dom_text.h"
#include "utility/str.h"
#include "utility/text_codec.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>

namespace utility {
namespace {

namespace xc = XERCES_CPP_NAMESPACE;

struct Release {
  template <typename Object>
  void operator()(Object* object) const {
    object->release();
  }
};

template <typename Object>
using Owned = std::unique_ptr<Object, Release>;

bool platform_is_initialised() { return xc::XMLPlatformUtils::fgMemoryManager != nullptr; }

// The first node of a result when that is an element, else null.
xc::DOMElement* first_element(xc::DOMXPathResult& result) {
  if (result.getSnapshotLength() == 0 || !result.snapshotItem(0)) return nullptr;
  xc::DOMNode* const node = result.getNodeValue();
  if (node == nullptr || node->getNodeType() != xc::DOMNode::ELEMENT_NODE) return nullptr;
  return static_cast<xc::DOMElement*>(node);
}

}  // namespace

CXml::CXml() : m_parser(nullptr), m_document(nullptr) {}

CXml::~CXml() = default;

unsigned int CXml::init() {
  m_parser = nullptr;
  m_document = nullptr;
  return XEC_OK;
}

void CXml::release() {
  if (platform_is_initialised()) delete m_parser;
  m_parser = nullptr;
  m_document = nullptr;
}

unsigned int CXml::load(const std::string& path) {
  if (!platform_is_initialised()) return XEC_NO_MEMORY;
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open()) {
    release();
    return XEC_NO_DOCUMENT;
  }
  if (m_parser == nullptr) m_parser = new DocumentParser;
  if (!static_cast<DocumentParser*>(m_parser)->parse_text(text)) {
    release();
    return XEC_PARSE;
  }
  m_document = m_parser->getDocument();
  m_file = path;
  return XEC_OK;
}

unsigned int CXml::save() const { return save_as(m_file); }

unsigned int CXml::save_as(const std::string& path) const {
  if (path.empty()) return XEC_BAD_PARAM;
  if (m_document == nullptr) return XEC_NO_DOCUMENT;
  xc::DOMImplementation* const dom = xc::DOMImplementationRegistry::getDOMImplementation(u"LS");
  const Owned<xc::DOMLSSerializer> serializer(dom->createLSSerializer());
  const Owned<xc::DOMLSOutput> output(dom->createLSOutput());
  xc::MemBufFormatTarget target;
  output->setByteStream(&target);
  if (!serializer->write(m_document, output.get())) return XEC_WRITE;
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(target.getRawBuffer()),
             static_cast<std::streamsize>(target.getLen()));
  file.close();
  return file ? XEC_OK : XEC_WRITE;
}

unsigned int CXml::get_root_element(CElement& root) const {
  if (m_document == nullptr) return XEC_NO_DOCUMENT;
  xc::DOMElement* const element = m_document->getDocumentElement();
  if (element == nullptr) return XEC_NO_ELEMENT;
  root = CElement(m_document, element);
  return XEC_OK;
}

unsigned int CXml::create_element(const std::string& name, CElement& out) const {
  if (name.empty()) return XEC_OK;
  if (m_document == nullptr) return XEC_NO_DOCUMENT;
  DomText dom_name;
  if (!to_dom_text(name, dom_name)) return XEC_ENCODING;
  try {
    xc::DOMElement* const element = m_document->createElement(dom_name.c_str());
    if (element != nullptr) out = CElement(m_document, element);
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return XEC_CREATE_ELEMENT;
  }
}

unsigned int CXml::search_element(const std::string& name, std::vector<CElement>& out) const {
  if (name.empty()) return XEC_EMPTY_TAG;
  if (m_document == nullptr) return XEC_NO_DOCUMENT;
  DomText wanted;
  if (!to_dom_text(name, wanted)) return XEC_ENCODING;
  const xc::DOMNodeList* const list = m_document->getElementsByTagName(wanted.c_str());
  if (list == nullptr) return XEC_NO_NODE_LIST;
  // The list finds its elements one by one; asking for its length walks the whole document.
  xc::DOMNode* node = nullptr;
  for (XMLSize_t i = 0; (node = list->item(i)) != nullptr; ++i) {
    out.emplace_back(m_document, static_cast<xc::DOMElement*>(node));
  }
  return XEC_OK;
}

xc::DOMXPathResult* CXml::get_xpath_result(const std::string& xpath) const {
  DomText expression;
  if (m_document == nullptr || !to_dom_text(xpath, expression)) return nullptr;
  const xc::DOMElement* const root = m_document->getDocumentElement();
  if (root == nullptr) return nullptr;
  try {
    const Owned<xc::DOMXPathNSResolver> resolver(m_document->createNSResolver(root));
    const Owned<xc::DOMXPathExpression> compiled(
        m_document->createExpression(expression.c_str(), resolver.get()));
    return compiled->evaluate(root, xc::DOMXPathResult::ORDERED_NODE_SNAPSHOT_TYPE, nullptr);
  } catch (const xc::DOMException&) {
    return nullptr;
  } catch (const xc::XMLException&) {
    return nullptr;
  }
}

unsigned int CXml::get_xpath_text(const std::string& xpath, std::string& text) const {
  if (m_document == nullptr) return XEC_NO_DOCUMENT;
  const Owned<xc::DOMXPathResult> result(get_xpath_result(xpath));
  if (result == nullptr) return XEC_XPATH;
  try {
    xc::DOMElement* const element = first_element(*result);
    if (element == nullptr) return XEC_XPATH_EMPTY;
    const xc::DOMNode* const first = element->getFirstChild();
    if (first == nullptr || first->getNodeType() != xc::DOMNode::TEXT_NODE) return XEC_NO_TEXT;
    return CElement(m_document, element).get_text(text);
  } catch (const xc::DOMException&) {
    return XEC_XPATH_EMPTY;
  }
}

unsigned int CXml::set_xpath_text(const std::string& xpath, const std::string& text) const {
  if (m_document == nullptr) return XEC_NO_DOCUMENT;
  const Owned<xc::DOMXPathResult> result(get_xpath_result(xpath));
  if (result == nullptr) return XEC_XPATH;
  try {
    xc::DOMElement* const element = first_element(*result);
    return element == nullptr ? XEC_XPATH_EMPTY : CElement(m_document, element).set_text(text);
  } catch (const xc::DOMException&) {
    return XEC_XPATH_EMPTY;
  }
}

unsigned int CXml::get_xpath_element(const std::string& xpath, std::vector<CElement>& out) const {
  if (m_document == nullptr) return XEC_NO_DOCUMENT;
  const Owned<xc::DOMXPathResult> result(get_xpath_result(xpath));
  if (result == nullptr) return XEC_XPATH;
  try {
    for (XMLSize_t i = 0; i < result->getSnapshotLength(); ++i) {
      if (!result->snapshotItem(i)) continue;
      xc::DOMNode* const node = result->getNodeValue();
      if (node == nullptr || node->getNodeType() != xc::DOMNode::ELEMENT_NODE) continue;
      out.emplace_back(m_document, static_cast<xc::DOMElement*>(node));
    }
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return XEC_XPATH_EMPTY;
  }
}

}  // namespace utility
