#include "utility/xml/dom_walk.h"

#include <xercesc/dom/impl/DOMNodeBase.hpp>
#include <xercesc/dom/impl/DOMNodeImpl.hpp>
#include <xercesc/util/XMLString.hpp>

namespace utility {
namespace {

namespace xc = XERCES_CPP_NAMESPACE;

bool is_text(const xc::DOMNode& node) {
  return node.getNodeType() == xc::DOMNode::TEXT_NODE ||
         node.getNodeType() == xc::DOMNode::CDATA_SECTION_NODE;
}

bool is_nesting(const xc::DOMNode& node) {
  return node.getNodeType() == xc::DOMNode::ELEMENT_NODE ||
         node.getNodeType() == xc::DOMNode::ENTITY_REFERENCE_NODE;
}

bool same(const XMLCh* left, const XMLCh* right) { return xc::XMLString::equals(left, right); }

// One walk through a document for comparing: stops at each run of text, and at each other node
// once before and once after its children.
class Reader {
 public:
  enum class Stop { kStart, kEnd, kText, kDone };

  explicit Reader(const xc::DOMDocument& document) : m_top(&document), m_next(&document) {}

  Stop next() {
    m_text.clear();
    while (m_next != nullptr && !m_leaving && is_text(*m_next)) {
      m_text += m_next->getNodeValue();
      step_over(m_next);
    }
    if (!m_text.empty()) {
      return Stop::kText;
    }
    if (m_next == nullptr) {
      return Stop::kDone;
    }

    m_node = m_next;
    if (m_leaving) {
      step_over(m_node);
      return Stop::kEnd;
    }
    if (m_node->getFirstChild() != nullptr) {
      m_next = m_node->getFirstChild();
    } else {
      m_leaving = true;
    }
    return Stop::kStart;
  }

  const xc::DOMNode& node() const { return *m_node; }
  const DomText& text() const { return m_text; }

 private:
  void step_over(const xc::DOMNode* node) {
    m_leaving = node->getNextSibling() == nullptr;
    m_next = m_leaving ? node->getParentNode() : node->getNextSibling();
    if (node == m_top) {
      m_next = nullptr;
    }
  }

  const xc::DOMNode* const m_top;
  const xc::DOMNode* m_node = nullptr;
  const xc::DOMNode* m_next;  // null at the end; a parent when m_leaving
  bool m_leaving = false;
  DomText m_text;
};

// The maps are sorted by name, so equal ones have equal names at equal places.
bool have_same_attributes(const xc::DOMNode& left, const xc::DOMNode& right) {
  const xc::DOMNamedNodeMap* const lefts = left.getAttributes();
  const xc::DOMNamedNodeMap* const rights = right.getAttributes();
  if (lefts == nullptr || rights == nullptr) {
    return lefts == rights;
  }
  if (lefts->getLength() != rights->getLength()) {
    return false;
  }
  for (XMLSize_t i = 0; i < lefts->getLength(); ++i) {
    const xc::DOMNode* const a = lefts->item(i);
    const xc::DOMNode* const b = rights->item(i);
    if (!same(a->getNodeName(), b->getNodeName()) || !same(a->getNodeValue(), b->getNodeValue())) {
      return false;
    }
  }
  return true;
}

bool are_alike(const xc::DOMNode& left, const xc::DOMNode& right) {
  if (left.getNodeType() != right.getNodeType() || !same(left.getNodeName(), right.getNodeName()) ||
      !same(left.getNodeValue(), right.getNodeValue())) {
    return false;
  }
  if (left.getNodeType() == xc::DOMNode::DOCUMENT_TYPE_NODE) {
    const auto& a = static_cast<const xc::DOMDocumentType&>(left);
    const auto& b = static_cast<const xc::DOMDocumentType&>(right);
    return same(a.getPublicId(), b.getPublicId()) && same(a.getSystemId(), b.getSystemId());
  }
  return have_same_attributes(left, right);
}

}  // namespace

const xc::DOMNode* next_over(const xc::DOMNode* node, const xc::DOMNode* top) {
  while (node != nullptr && node != top && node->getNextSibling() == nullptr) {
    node = node->getParentNode();
  }
  return node == nullptr || node == top ? nullptr : node->getNextSibling();
}

DomText whole_text(const xc::DOMText& first) {
  DomText text;
  const xc::DOMNode* const parent = first.getParentNode();
  for (const xc::DOMNode* node = &first; node != nullptr;) {
    if (is_text(*node)) {
      text += node->getNodeValue();
    } else if (node->getNodeType() != xc::DOMNode::ENTITY_REFERENCE_NODE) {
      break;
    } else if (node->getFirstChild() != nullptr) {
      node = node->getFirstChild();
      continue;
    }
    node = next_over(node, parent);
  }
  return text;
}

bool is_deeper_than(std::size_t limit, const xc::DOMNode& top) {
  std::size_t depth = 0;
  for (const xc::DOMNode* node = &top;;) {
    if (is_nesting(*node) && ++depth > limit) {
      return true;
    }
    if (node->getFirstChild() != nullptr) {
      node = node->getFirstChild();
      continue;
    }
    for (;; node = node->getParentNode()) {
      if (is_nesting(*node)) {
        --depth;
      }
      if (node == &top) {
        return false;
      }
      if (node->getNextSibling() != nullptr) {
        break;
      }
    }
    node = node->getNextSibling();
  }
}

xc::DOMElement* deep_copy(const xc::DOMElement& element) {
  auto* const copy = static_cast<xc::DOMElement*>(element.cloneNode(false));
  xc::DOMNode* parent = copy;  // where the copy of node goes
  for (const xc::DOMNode* node = element.getFirstChild(); node != nullptr;) {
    // What is not an element is copied whole; entity references have a copy's own children.
    const bool is_element = node->getNodeType() == xc::DOMNode::ELEMENT_NODE;
    xc::DOMNode* const child = parent->appendChild(node->cloneNode(!is_element));
    if (is_element && node->getFirstChild() != nullptr) {
      parent = child;
      node = node->getFirstChild();
      continue;
    }
    for (; node != &element && node->getNextSibling() == nullptr; node = node->getParentNode()) {
      if (node->getParentNode() != &element) {
        parent = parent->getParentNode();
      }
    }
    node = node == &element ? nullptr : node->getNextSibling();
  }
  return copy;
}

bool have_same_content(const xc::DOMDocument& left, const xc::DOMDocument& right) {
  Reader a(left);
  Reader b(right);
  for (;;) {
    const Reader::Stop stop = a.next();
    if (stop != b.next()) {
      return false;
    }
    if (stop == Reader::Stop::kDone) {
      return true;
    }
    if (stop == Reader::Stop::kText && a.text() != b.text()) {
      return false;
    }
    if (stop == Reader::Stop::kStart && !are_alike(a.node(), b.node())) {
      return false;
    }
  }
}

namespace {

void free_attributes(xc::DOMElement& element) {
  const xc::DOMNamedNodeMap& attributes = *element.getAttributes();
  for (XMLSize_t i = attributes.getLength(); i-- > 0;) {
    auto* const attribute = static_cast<xc::DOMAttr*>(attributes.item(i));
    // A default value comes back when it is removed; the document keeps it.
    if (attribute->getSpecified()) {
      element.removeAttributeNode(attribute)->release();
    }
  }
}

// What an entity reference holds cannot be taken out of it, nor can the library release elements
// with attributes in it: it tries to remove these.
void make_writable(xc::DOMNode& reference) {
  dynamic_cast<xc::HasDOMNodeImpl&>(reference).getNodeImpl()->setReadOnly(false, true);
}

}  // namespace

void free_detached(xc::DOMElement* element) {
  xc::DOMNode* node = element;
  for (;;) {
    if (node->getNodeType() == xc::DOMNode::ENTITY_REFERENCE_NODE) {
      make_writable(*node);
    }
    if (node->getFirstChild() != nullptr) {
      node = node->getFirstChild();
      continue;
    }
    xc::DOMNode* const parent = node->getParentNode();
    if (parent != nullptr) {
      parent->removeChild(node);
    }
    if (node->getNodeType() == xc::DOMNode::ELEMENT_NODE) {
      free_attributes(static_cast<xc::DOMElement&>(*node));
    }
    node->release();
    if (parent == nullptr) {
      return;
    }
    node = parent;
  }
}

}  // namespace utility
