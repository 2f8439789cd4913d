// A document behind the interface: the parser that owns it, and what becomes of it when an
// operation fails.
#include "utility/xml.h"

#include "support/cancellation_block.h"
#include "support/file_io.h"
#include "utility/text_codec.h"
#include "utility/xml/document_parser.h"
#include "utility/xml/document_text.h"
#include "utility/xml/dom_release.h"
#include "utility/xml/dom_walk.h"
#include "utility/xml/while_memory_lasts.h"
#include "utility/xml/xml_platform.h"
#include "utility/xml/xml_texts.h"

#include <memory>
#include <new>
#include <string_view>
#include <xercesc/util/XMLChar.hpp>

namespace utility {
namespace {

// load() makes parsers of this class only.
DocumentParser* parser_of(xc::XercesDOMParser* parser) {
  return static_cast<DocumentParser*>(parser);
}

// Whether an expression's last step is one for attributes or text; before is then the path up to
// that step, which may be empty.
bool ends_beyond_elements(const std::string& xpath, std::string& before) {
  static constexpr std::string_view kAttributeAxis = "attribute::";
  const std::size_t slash = xpath.rfind('/');
  std::string_view step =
      std::string_view(xpath).substr(slash == std::string::npos ? 0 : slash + 1);
  before.assign(xpath, 0, xpath.find_last_not_of('/', slash) + 1);
  if (slash == std::string::npos) {
    before.clear();
  }
  if (step == "text()") {
    return true;
  }
  if (!step.starts_with('@') && !step.starts_with(kAttributeAxis)) {
    return false;
  }
  step.remove_prefix(step.starts_with('@') ? 1 : kAttributeAxis.size());
  DomText name;
  return step == "*" ||
         (to_dom_text(step, name) && xc::XMLChar1_0::isValidName(name.c_str(), name.size()));
}

// What an expression without a result stands for. The library evaluates none that selects
// attributes or text, though it is as good as one that selects no element.
unsigned int code_without_result(const CXml& xml, const std::string& xpath,
                                 unsigned int if_it_selects_others) {
  std::string before;
  if (!ends_beyond_elements(xpath, before)) {
    return XEC_XPATH;
  }
  if (before.empty()) {
    return if_it_selects_others;
  }
  const DomOwned<xc::DOMXPathResult> result(xml.get_xpath_result(before));
  return result != nullptr ? if_it_selects_others : XEC_XPATH;
}

// The node of a result when that is an element, else null.
xc::DOMElement* element_at(xc::DOMXPathResult& result, XMLSize_t i) {
  xc::DOMNode* const node = result.snapshotItem(i) ? result.getNodeValue() : nullptr;
  const bool is_element = node != nullptr && node->getNodeType() == xc::DOMNode::ELEMENT_NODE;
  return is_element ? static_cast<xc::DOMElement*>(node) : nullptr;
}

// What use makes of an expression's result.
template <typename Use>
unsigned int with_result(const CXml& xml, const xc::DOMDocument* document, const std::string& xpath,
                         unsigned int if_it_selects_others, Use use) {
  if (document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  const DomOwned<xc::DOMXPathResult> result(xml.get_xpath_result(xpath));
  if (result == nullptr) {
    return code_without_result(xml, xpath, if_it_selects_others);
  }
  try {
    return use(*result);
  } catch (const xc::DOMException&) {
    return XEC_XPATH_EMPTY;
  }
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
  delete m_parser;
  m_parser = nullptr;
  m_document = nullptr;
}

unsigned int CXml::load(const std::string& path) {
  const support::CancellationBlock no_cancellation;
  unsigned int code = XEC_NO_MEMORY;
  while_memory_lasts([&] {
    std::string text;
    const support::ReadResult result = support::read_file(path, kMaxFileSize, text);
    if (result == support::ReadResult::kOk) {
      code = XmlTexts::load(*this, path, text);
    } else {
      code = result == support::ReadResult::kNoFile ? XEC_NO_DOCUMENT : XEC_PARSE;
    }
  });
  if (code != XEC_OK) {
    release();
  }
  return code;
}

unsigned int XmlTexts::load(CXml& xml, const std::string& path, std::string_view bytes) {
  unsigned int code = XEC_NO_MEMORY;
  while_memory_lasts([&] {
    std::string name = path;
    if (xml.make_parser()) {
      code = parser_of(xml.m_parser)->parse_text(bytes) ? XEC_OK : XEC_PARSE;
    }
    if (code == XEC_OK) {
      xml.m_file.swap(name);
      xml.m_document = xml.m_parser->getDocument();
    }
  });
  if (code != XEC_OK) {
    xml.release();
  }
  return code;
}

bool CXml::make_parser() {
  if (m_parser != nullptr && !parser_of(m_parser)->is_reusable()) {
    release();
  }
  if (m_parser == nullptr && xml_platform_is_usable()) {
    m_parser = new (std::nothrow) DocumentParser;
  }
  return m_parser != nullptr;
}

unsigned int CXml::save() const { return save_as(m_file); }

unsigned int CXml::save_as(const std::string& path) const {
  if (path.empty()) {
    return XEC_BAD_PARAM;
  }
  if (m_document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  const support::CancellationBlock no_cancellation;
  unsigned int code = XEC_NO_TARGET;
  while_memory_lasts([&] {
    std::string text;
    const bool is_saved = to_document_text(*parser_of(m_parser), *m_document, text) &&
                          support::write_file(path, text);
    code = is_saved ? XEC_OK : XEC_WRITE;
  });
  return code;
}

bool CXml::compact() {
  const support::CancellationBlock no_cancellation;
  bool is_done = false;
  while_memory_lasts([&] {
    if (m_document == nullptr || !parser_of(m_parser)->has_grown()) {
      return;
    }
    std::string text;
    std::unique_ptr<DocumentParser> again(new (std::nothrow) DocumentParser);
    is_done = again != nullptr && to_document_text(*parser_of(m_parser), *m_document, text) &&
              again->parse_text(text);
    if (is_done) {
      delete m_parser;
      m_parser = again.release();
      m_document = m_parser->getDocument();
    }
  });
  return is_done;
}

unsigned int CXml::get_root_element(CElement& root) const {
  if (m_document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  xc::DOMElement* const element = m_document->getDocumentElement();
  if (element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  root = CElement(m_document, element);
  return XEC_OK;
}

unsigned int CXml::create_element(const std::string& name, CElement& out) const {
  if (name.empty()) {
    return XEC_OK;
  }
  if (m_document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  DomText dom_name;
  if (!to_dom_text(name, dom_name)) {
    return XEC_ENCODING;
  }
  try {
    xc::DOMElement* const element = m_document->createElement(dom_name.c_str());
    if (element != nullptr) {
      out = CElement(m_document, element);
    }
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return XEC_CREATE_ELEMENT;
  }
}

unsigned int CXml::search_element(const std::string& name, std::vector<CElement>& out) const {
  if (name.empty()) {
    return XEC_EMPTY_TAG;
  }
  if (m_document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  DomText wanted;
  if (!to_dom_text(name, wanted)) {
    return XEC_ENCODING;
  }
  const xc::DOMNodeList* const list = m_document->getElementsByTagName(wanted.c_str());
  if (list == nullptr) {
    return XEC_NO_NODE_LIST;
  }
  // The list finds its elements one by one; asking for its length walks the whole document.
  xc::DOMNode* node = nullptr;
  for (XMLSize_t i = 0; (node = list->item(i)) != nullptr; ++i) {
    out.emplace_back(m_document, static_cast<xc::DOMElement*>(node));
  }
  return XEC_OK;
}

xc::DOMXPathResult* CXml::get_xpath_result(const std::string& xpath) const {
  DomText expression;
  if (m_document == nullptr || !to_dom_text(xpath, expression)) {
    return nullptr;
  }
  const xc::DOMElement* const root = m_document->getDocumentElement();
  if (root == nullptr || is_deeper_than(kMaxNesting, *root)) {
    return nullptr;
  }
  try {
    const DomOwned<xc::DOMXPathNSResolver> resolver(m_document->createNSResolver(root));
    const DomOwned<xc::DOMXPathExpression> compiled(
        m_document->createExpression(expression.c_str(), resolver.get()));
    return compiled->evaluate(root, xc::DOMXPathResult::ORDERED_NODE_SNAPSHOT_TYPE, nullptr);
  } catch (const xc::DOMException&) {
    return nullptr;
  } catch (const xc::XMLException&) {
    return nullptr;
  }
}

unsigned int CXml::get_xpath_text(const std::string& xpath, std::string& text) const {
  const auto read = [&](xc::DOMXPathResult& result) -> unsigned int {
    xc::DOMElement* const element = element_at(result, 0);
    if (element == nullptr) {
      return XEC_XPATH_EMPTY;
    }
    const xc::DOMNode* const first = element->getFirstChild();
    const bool has_text = first != nullptr && first->getNodeType() == xc::DOMNode::TEXT_NODE;
    return has_text ? CElement(m_document, element).get_text(text) : XEC_NO_TEXT;
  };
  return with_result(*this, m_document, xpath, XEC_XPATH_EMPTY, read);
}

unsigned int CXml::set_xpath_text(const std::string& xpath, const std::string& text) const {
  const auto write = [&](xc::DOMXPathResult& result) -> unsigned int {
    xc::DOMElement* const element = element_at(result, 0);
    return element == nullptr ? XEC_XPATH_EMPTY : CElement(m_document, element).set_text(text);
  };
  return with_result(*this, m_document, xpath, XEC_XPATH_EMPTY, write);
}

unsigned int CXml::get_xpath_element(const std::string& xpath, std::vector<CElement>& out) const {
  const auto collect = [&](xc::DOMXPathResult& result) -> unsigned int {
    for (XMLSize_t i = 0; i < result.getSnapshotLength(); ++i) {
      if (xc::DOMElement* const element = element_at(result, i)) {
        out.emplace_back(m_document, element);
      }
    }
    return XEC_OK;
  };
  return with_result(*this, m_document, xpath, XEC_OK, collect);
}

}  // namespace utility
