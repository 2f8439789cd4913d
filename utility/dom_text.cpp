#include "utility/dom_text.h"

namespace utility {
namespace {

namespace xc = XERCES_CPP_NAMESPACE;

// The node after node in document order, not leaving the children of top; null at their end.
const xc::DOMNode* next_over(const xc::DOMNode* node, const xc::DOMNode* top) {
  while (node->getNextSibling() == nullptr) {
    node = node->getParentNode();
    if (node == top || node == nullptr) return nullptr;
  }
  return node->getNextSibling();
}

}  // namespace

DomText whole_text(const xc::DOMText& first) {
  DomText text;
  const xc::DOMNode* const parent = first.getParentNode();
  for (const xc::DOMNode* node = &first; node != nullptr;) {
    switch (node->getNodeType()) {
      case xc::DOMNode::TEXT_NODE:
      case xc::DOMNode::CDATA_SECTION_NODE:
        text += node->getNodeValue();
        break;
      case xc::DOMNode::ENTITY_REFERENCE_NODE:
        if (node->getFirstChild() != nullptr) {
          node = node->getFirstChild();
          continue;
        }
        break;
      default:
        return text;
    }
    node = next_over(node, parent);
  }
  return text;
}

}  // namespace utility
