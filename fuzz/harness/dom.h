// The document behind handles: what they designate, and a text that two documents share when their
// contents are the same.
#ifndef FWBASE_FUZZ_HARNESS_DOM_H
#define FWBASE_FUZZ_HARNESS_DOM_H

#include <utility/element.h>
#include <utility/xml.h>

#include <cstring>
#include <string>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>

#include "fuzz/harness/check.h"

namespace fwbase::fuzz {

/// In service from the first input to the end: starting it takes longer than an input does.
class XmlPlatform {
 public:
  XmlPlatform() { xercesc::XMLPlatformUtils::Initialize(); }
  ~XmlPlatform() { xercesc::XMLPlatformUtils::Terminate(); }
};

/// Released when it goes.
class Document : public utility::CXml {
 public:
  ~Document() { release(); }
};

/// The element of a handle, which is its first pointer.
inline xercesc::DOMElement* element_of(const utility::CElement& handle) {
  static_assert(sizeof handle == 2 * sizeof(void*));
  xercesc::DOMElement* element = nullptr;
  std::memcpy(&element, static_cast<const void*>(&handle), sizeof element);
  return element;
}

/// UTF-8, by the XML library itself.
inline std::string utf8(const XMLCh* text) {
  if (text == nullptr) {
    return {};
  }
  const xercesc::TranscodeToStr converted(text, "UTF-8");
  return std::string(reinterpret_cast<const char*>(converted.str()), converted.length());
}

inline bool is_text(const xercesc::DOMNode& node) {
  return node.getNodeType() == xercesc::DOMNode::TEXT_NODE ||
         node.getNodeType() == xercesc::DOMNode::CDATA_SECTION_NODE;
}

/// A node with all that is below it. Adjacent texts are one, since a file cannot tell them apart.
inline void describe(const xercesc::DOMNode& node, std::string& text) {
  if (is_text(node)) {
    text += utf8(node.getNodeValue());
    return;
  }
  text += '\0' + std::to_string(node.getNodeType()) + ' ' + utf8(node.getNodeName()) + '\0' +
          utf8(node.getNodeValue());
  const xercesc::DOMNamedNodeMap* const attributes = node.getAttributes();
  for (XMLSize_t i = 0; attributes != nullptr && i < attributes->getLength(); ++i) {
    const xercesc::DOMNode& attribute = *attributes->item(i);
    text += '\0' + utf8(attribute.getNodeName()) + '\0' + utf8(attribute.getNodeValue());
  }
  text += '\0';
  for (const xercesc::DOMNode* child = node.getFirstChild(); child != nullptr;
       child = child->getNextSibling()) {
    describe(*child, text);
  }
  text += '\0';
}

/// All of a document; empty when it has no root element.
inline std::string description(const utility::CXml& document) {
  utility::CElement root;
  std::string text;
  if (document.get_root_element(root) == utility::XEC_OK) {
    describe(*element_of(root)->getOwnerDocument(), text);
  }
  return text;
}

}  // namespace fwbase::fuzz

#endif
