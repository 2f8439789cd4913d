// One way to walk, for reading; what changes the tree on its way has a loop of its own.
#include "utility/xml/dom_walk.h"

#include <xercesc/dom/impl/DOMNodeBase.hpp>
#include <xercesc/dom/impl/DOMNodeImpl.hpp>
#include <xercesc/util/XMLString.hpp>

namespace utility {
namespace {

bool is_text(const xc::DOMNode& node) {
  return node.getNodeType() == xc::DOMNode::TEXT_NODE ||
         node.getNodeType() == xc::DOMNode::CDATA_SECTION_NODE;
}

bool is_nesting(const xc::DOMNode& node) {
  return node.getNodeType() == xc::DOMNode::ELEMENT_NODE ||
         node.getNodeType() == xc::DOMNode::ENTITY_REFERENCE_NODE;
}

bool same(const XMLCh* left, const XMLCh* right) { return xc::XMLString::equals(left, right); }

bool have_same_name_and_value(const xc::DOMNode& left, const xc::DOMNode& right) {
  return same(left.getNodeName(), right.getNodeName()) &&
         same(left.getNodeValue(), right.getNodeValue());
}

// Passes each node under and with top twice, before and after its children.
struct Walk {
  const xc::DOMNode* node;  // null at the end
  const xc::DOMNode* top;
  bool leaving = false;  // after the children

  void go_on(bool into_children = true) {
    if (!leaving && into_children && node->getFirstChild() != nullptr) {
      node = node->getFirstChild();
    } else if (!leaving) {
      leaving = true;
    } else if (node == top) {
      node = nullptr;
    } else {
      leaving = node->getNextSibling() == nullptr;
      node = leaving ? node->getParentNode() : node->getNextSibling();
    }
  }
};

// One walk through a document for comparing: stops at each run of text, and at each other node
// once before and once after its children.
class Reader {
 public:
  enum class Stop { kStart, kEnd, kText, kDone };

  explicit Reader(const xc::DOMDocument& document) : m_walk{&document, &document} {}

  Stop next() {
    m_text.clear();
    for (; m_walk.node != nullptr && is_text(*m_walk.node); m_walk.go_on()) {
      m_text += m_walk.leaving ? u"" : m_walk.node->getNodeValue();
    }
    if (!m_text.empty()) {
      return Stop::kText;
    }
    m_node = m_walk.node;
    if (m_node == nullptr) {
      return Stop::kDone;
    }
    const Stop stop = m_walk.leaving ? Stop::kEnd : Stop::kStart;
    m_walk.go_on();
    return stop;
  }

  const xc::DOMNode& node() const { return *m_node; }
  const DomText& text() const { return m_text; }

 private:
  Walk m_walk;
  const xc::DOMNode* m_node = nullptr;
  DomText m_text;
};

// The maps are sorted by name, so equal ones have equal names at equal places.
bool have_same_attributes(const xc::DOMNode& left, const xc::DOMNode& right) {
  const xc::DOMNamedNodeMap* const lefts = left.getAttributes();
  const xc::DOMNamedNodeMap* const rights = right.getAttributes();
  if (lefts == nullptr || rights == nullptr || lefts->getLength() != rights->getLength()) {
    return lefts == rights;
  }
  for (XMLSize_t i = 0; i < lefts->getLength(); ++i) {
    if (!have_same_name_and_value(*lefts->item(i), *rights->item(i))) {
      return false;
    }
  }
  return true;
}

bool are_alike(const xc::DOMNode& left, const xc::DOMNode& right) {
  if (left.getNodeType() != right.getNodeType() || !have_same_name_and_value(left, right)) {
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

DomText whole_text(const xc::DOMText& first) {
  DomText text;
  const xc::DOMNode* const parent = first.getParentNode();
  for (Walk walk{&first, parent}; walk.node != parent; walk.go_on()) {
    if (walk.leaving) {
      continue;
    }
    if (is_text(*walk.node)) {
      text += walk.node->getNodeValue();
    } else if (walk.node->getNodeType() != xc::DOMNode::ENTITY_REFERENCE_NODE) {
      break;
    }
  }
  return text;
}

bool is_deeper_than(std::size_t limit, const xc::DOMNode& top) {
  std::size_t depth = 0;
  for (Walk walk{&top, &top}; walk.node != nullptr; walk.go_on()) {
    if (is_nesting(*walk.node)) {
      depth = walk.leaving ? depth - 1 : depth + 1;
    }
    if (depth > limit) {
      return true;
    }
  }
  return false;
}

xc::DOMElement* deep_copy(const xc::DOMElement& element) {
  auto* const copy = static_cast<xc::DOMElement*>(element.cloneNode(false));
  xc::DOMNode* parent = copy;  // where the copy of the next node goes
  for (Walk walk{&element, &element}; walk.node != nullptr;) {
    // What is not an element is copied whole; entity references have a copy's own children.
    const bool is_element = walk.node->getNodeType() == xc::DOMNode::ELEMENT_NODE;
    if (walk.node != &element && !walk.leaving) {
      xc::DOMNode* const child = parent->appendChild(walk.node->cloneNode(!is_element));
      parent = is_element ? child : parent;
    } else if (walk.node != &element && is_element) {
      parent = parent->getParentNode();
    }
    walk.go_on(is_element);
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

void free_detached(xc::DOMElement* element) {
  for (xc::DOMNode* node = element; node != nullptr;) {
    if (node->getNodeType() == xc::DOMNode::ENTITY_REFERENCE_NODE) {
      // What it holds cannot be taken out of it, nor can the library release elements with
      // attributes in it: it tries to remove these.
      dynamic_cast<xc::HasDOMNodeImpl&>(*node).getNodeImpl()->setReadOnly(false, true);
    }
    if (node->getFirstChild() != nullptr) {
      node = node->getFirstChild();
      continue;
    }
    xc::DOMNode* const parent = node->getParentNode();
    if (parent != nullptr) {
      parent->removeChild(node);
    }
    node->release();
    node = parent;
  }
}

}  // namespace utility
