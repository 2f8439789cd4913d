// Each operation looks at its arguments first, then changes the tree in steps of which none but the
// last can fail, so that a failure leaves the document as it was.
#include "utility/element.h"

#include "utility/str.h"
#include "utility/text_codec.h"
#include "utility/xml/dom_walk.h"
#include "utility/xml/while_memory_lasts.h"

#include <xercesc/util/XMLString.hpp>

namespace utility {
namespace {

xc::DOMElement* element_from(xc::DOMNode* node, xc::DOMNode* (xc::DOMNode::*next)() const) {
  while (node != nullptr && node->getNodeType() != xc::DOMNode::ELEMENT_NODE) {
    node = (node->*next)();
  }
  return static_cast<xc::DOMElement*>(node);
}

// Steps from an element to another one, null when there is none.
using Step = xc::DOMElement* (*)(const xc::DOMElement& from);

xc::DOMElement* first_child(const xc::DOMElement& parent) {
  return element_from(parent.getFirstChild(), &xc::DOMNode::getNextSibling);
}

xc::DOMElement* last_child(const xc::DOMElement& parent) {
  return element_from(parent.getLastChild(), &xc::DOMNode::getPreviousSibling);
}

xc::DOMElement* next_sibling(const xc::DOMElement& element) {
  return element_from(element.getNextSibling(), &xc::DOMNode::getNextSibling);
}

xc::DOMElement* previous_sibling(const xc::DOMElement& element) {
  return element_from(element.getPreviousSibling(), &xc::DOMNode::getPreviousSibling);
}

bool has_name(const xc::DOMElement& element, const DomText& name) {
  return xc::XMLString::equals(element.getNodeName(), name.c_str());
}

unsigned int hand_out(xc::DOMDocument* document, xc::DOMElement* found, CElement& out) {
  if (found == nullptr) {
    return XEC_NOT_FOUND;
  }
  out = CElement(document, found);
  return XEC_OK;
}

unsigned int go(xc::DOMDocument* document, const xc::DOMElement* from, Step step, CElement& out) {
  return from == nullptr ? XEC_NO_ELEMENT : hand_out(document, step(*from), out);
}

// Goes on by next, after the first step, until an element is called name.
unsigned int go_to(const std::string& name, xc::DOMDocument* document, const xc::DOMElement* from,
                   Step first, Step next, CElement& out) {
  if (from == nullptr) {
    return XEC_NO_ELEMENT;
  }
  DomText wanted;
  if (!to_dom_text(name, wanted)) {
    return XEC_ENCODING;
  }
  xc::DOMElement* found = first(*from);
  while (found != nullptr && !has_name(*found, wanted)) {
    found = next(*found);
  }
  return hand_out(document, found, out);
}

// The name that an operation on element is given.
unsigned int to_dom_name(const xc::DOMElement* element, const std::string& name, DomText& out) {
  if (element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (name.empty()) {
    return XEC_BAD_PARAM;
  }
  return to_dom_text(name, out) ? XEC_OK : XEC_ENCODING;
}

xc::DOMText* leading_text(const xc::DOMElement* element) {
  xc::DOMNode* const first = element->getFirstChild();
  const bool is_text = first != nullptr && first->getNodeType() == xc::DOMNode::TEXT_NODE;
  return is_text ? static_cast<xc::DOMText*>(first) : nullptr;
}

// The text that begins with first; one node in the usual case, where no parent needs to be asked
// for, which the library finds by dynamic_cast.
bool narrow_text(const xc::DOMText& first, std::string& text) {
  return first.getNextSibling() == nullptr ? to_narrow_text(first.getNodeValue(), text)
                                           : to_narrow_text(whole_text(first), text);
}

bool is_or_is_below(const xc::DOMNode* node, const xc::DOMNode* ancestor) {
  while (node != nullptr && node != ancestor) {
    node = node->getParentNode();
  }
  return node != nullptr;
}

// XEC_OK, or failure when the DOM refuses the action.
template <typename Action>
unsigned int unless_refused(unsigned int failure, Action action) {
  try {
    action();
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return failure;
  }
}

// Inserts child into parent before ref, or behind all when ref is null. It is a failure when the
// tree would break: the DOM itself lets a childless element be inserted into itself.
unsigned int insert_before(xc::DOMElement* parent, xc::DOMElement* child, xc::DOMNode* ref,
                           unsigned int failure) {
  if (parent == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (child == nullptr || is_or_is_below(parent, child)) {
    return failure;
  }
  return unless_refused(failure, [&] { parent->insertBefore(child, ref); });
}

// The library takes memory to give memory back. Without any it keeps the object for as long as the
// document.
void release_quietly(xc::DOMNode* node) {
  while_memory_lasts([node] { node->release(); });
}

// Gives element an attribute, in the place of the one of that name. A new one takes its place,
// since an attribute forgets its old value before it takes memory for another.
unsigned int put_attribute(xc::DOMDocument& document, xc::DOMElement& element, const DomText& name,
                           const DomText& value) {
  xc::DOMAttr* const old = element.getAttributeNode(name.c_str());
  const bool is_id = old != nullptr && old->isId();  // found by its value
  xc::DOMAttr* attr = nullptr;
  unsigned int code = unless_refused(XEC_CREATE_ATTR, [&] {
    attr = document.createAttribute(name.c_str());
    attr->setValue(value.c_str());
  });
  if (code == XEC_OK) {
    code = unless_refused(XEC_SET_ATTR, [&] {
      if (is_id) {
        element.setIdAttributeNode(old, false);
      }
      element.setAttributeNode(attr);
      if (is_id) {
        element.setIdAttributeNode(attr, true);
      }
    });
  }
  xc::DOMAttr* const unused = code == XEC_OK ? old : attr;
  if (unused != nullptr) {
    release_quietly(unused);
  }
  return code;
}

// Takes an attribute out of its element. That puts its default value, if it has one, in its place.
void take_out(xc::DOMElement& element, xc::DOMAttr& attr) {
  try {
    element.removeAttributeNode(&attr);
  } catch (...) {
    if (element.getAttributeNode(attr.getName()) == nullptr) {
      element.setAttributeNode(&attr);
    }
    throw;
  }
}

}  // namespace

CElement::CElement() : m_element(nullptr), m_document(nullptr) {}

CElement::CElement(xc::DOMDocument* document, xc::DOMElement* element)
    : m_element(element), m_document(document) {}

CElement::CElement(const CElement& other) = default;

CElement& CElement::operator=(const CElement& other) = default;

CElement::~CElement() {
  m_element = nullptr;
  m_document = nullptr;
}

unsigned int CElement::get_parent_element(CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  xc::DOMNode* const parent = m_element->getParentNode();
  if (parent == nullptr || parent->getNodeType() != xc::DOMNode::ELEMENT_NODE) {
    return XEC_NO_PARENT;
  }
  return hand_out(m_document, static_cast<xc::DOMElement*>(parent), out);
}

unsigned int CElement::get_pre_element(CElement& out) const {
  return go(m_document, m_element, previous_sibling, out);
}

unsigned int CElement::get_next_element(CElement& out) const {
  return go(m_document, m_element, next_sibling, out);
}

unsigned int CElement::get_first_child_element(CElement& out) const {
  return go(m_document, m_element, first_child, out);
}

unsigned int CElement::get_last_child_element(CElement& out) const {
  return go(m_document, m_element, last_child, out);
}

unsigned int CElement::get_pre_element(const std::string& name, CElement& out) const {
  return go_to(name, m_document, m_element, previous_sibling, previous_sibling, out);
}

unsigned int CElement::get_next_element(const std::string& name, CElement& out) const {
  return go_to(name, m_document, m_element, next_sibling, next_sibling, out);
}

unsigned int CElement::get_first_child_element(const std::string& name, CElement& out) const {
  return go_to(name, m_document, m_element, first_child, next_sibling, out);
}

unsigned int CElement::get_child_element(const std::string& name,
                                         std::vector<CElement>& out) const {
  DomText wanted;
  const unsigned int code = to_dom_name(m_element, name, wanted);
  if (code != XEC_OK) {
    return code;
  }
  for (auto* child = first_child(*m_element); child != nullptr; child = next_sibling(*child)) {
    if (has_name(*child, wanted)) {
      out.emplace_back(m_document, child);
    }
  }
  return XEC_OK;
}

unsigned int CElement::get_all_child_element(std::vector<CElement>& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  for (auto* child = first_child(*m_element); child != nullptr; child = next_sibling(*child)) {
    out.emplace_back(m_document, child);
  }
  return XEC_OK;
}

bool CElement::has_child_element(const std::string& name) const {
  CElement found;
  return !name.empty() && get_first_child_element(name, found) == XEC_OK;
}

std::string CElement::get_element_name() const {
  std::string name;
  const bool is_there = m_element != nullptr && to_narrow_text(m_element->getNodeName(), name);
  return is_there ? name : std::string();
}

unsigned int CElement::clone(bool deep, CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  out = CElement(m_document, deep ? deep_copy(*m_element)
                                  : static_cast<xc::DOMElement*>(m_element->cloneNode(false)));
  return XEC_OK;
}

std::string CElement::get_text() const {
  std::string text;
  return get_text(text) == XEC_OK ? text : std::string();
}

unsigned int CElement::get_text(std::string& text) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  const xc::DOMText* const first = leading_text(m_element);
  std::string narrow;
  if (first != nullptr && !narrow_text(*first, narrow)) {
    return XEC_ENCODING;
  }
  CStr::trim(narrow);
  text = std::move(narrow);
  return XEC_OK;
}

std::string CElement::get_child_text(const std::string& name) const {
  CElement child;
  const bool is_there = !name.empty() && get_first_child_element(name, child) == XEC_OK;
  return is_there ? child.get_text() : std::string();
}

unsigned int CElement::set_text(const std::string& text) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  xc::DOMText* const first = leading_text(m_element);
  if (first == nullptr) {
    return insert_text(text);
  }
  DomText content;
  if (!to_dom_text(text, content)) {
    return XEC_ENCODING;
  }
  return unless_refused(XEC_SET_TEXT, [&] {
    // A node forgets its old content before it takes memory for another: make room for all first.
    if (content.size() > first->getLength()) {
      first->appendData(content.c_str() + first->getLength());
    }
    first->setTextContent(content.c_str());
  });
}

unsigned int CElement::insert_text(const std::string& text) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (m_document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  DomText content;
  if (!to_dom_text(text, content)) {
    return XEC_ENCODING;
  }
  xc::DOMText* node = nullptr;
  const unsigned int code = unless_refused(XEC_APPEND_TEXT, [&] {
    node = m_document->createTextNode(content.c_str());
    m_element->appendChild(node);
  });
  if (code != XEC_OK && node != nullptr) {
    release_quietly(node);
  }
  return code;
}

unsigned int CElement::remove_text() const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  xc::DOMText* const first = leading_text(m_element);
  return first == nullptr ? XEC_OK : remove_child_node(first);
}

bool CElement::has_attr(const std::string& name) const {
  DomText wanted;
  return to_dom_name(m_element, name, wanted) == XEC_OK && m_element->hasAttribute(wanted.c_str());
}

unsigned int CElement::get_attr(const std::string& name, std::string& value) const {
  DomText wanted;
  const unsigned int code = to_dom_name(m_element, name, wanted);
  if (code != XEC_OK) {
    return code;
  }
  const xc::DOMAttr* const attr = m_element->getAttributeNode(wanted.c_str());
  if (attr == nullptr) {
    return XEC_NO_ATTR;
  }
  std::string narrow;
  if (!to_narrow_text(attr->getValue(), narrow)) {
    return XEC_ENCODING;
  }
  value = std::move(narrow);
  return XEC_OK;
}

unsigned int CElement::get_attr(std::vector<std::pair<std::string, std::string>>& attrs) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  const xc::DOMNamedNodeMap* const map = m_element->getAttributes();
  if (map == nullptr) {
    return XEC_NO_ATTR_MAP;
  }
  for (XMLSize_t i = 0; i < map->getLength(); ++i) {
    const xc::DOMNode* const attr = map->item(i);
    std::pair<std::string, std::string> pair;
    if (!to_narrow_text(attr->getNodeName(), pair.first) ||
        !to_narrow_text(attr->getNodeValue(), pair.second)) {
      return XEC_ENCODING;
    }
    attrs.push_back(std::move(pair));
  }
  return XEC_OK;
}

unsigned int CElement::set_attr(const std::string& name, const std::string& value) const {
  DomText dom_name;
  DomText dom_value;
  const unsigned int code = to_dom_name(m_element, name, dom_name);
  if (code != XEC_OK) {
    return code;
  }
  if (!to_dom_text(value, dom_value)) {
    return XEC_ENCODING;
  }
  xc::DOMDocument& document = *m_element->getOwnerDocument();
  const bool is_set = put_attribute(document, *m_element, dom_name, dom_value) == XEC_OK;
  return is_set ? XEC_OK : XEC_SET_ATTR;
}

unsigned int CElement::insert_attr(const std::string& name, const std::string& value) const {
  if (m_element != nullptr && m_document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  DomText dom_name;
  DomText dom_value;
  const unsigned int code = to_dom_name(m_element, name, dom_name);
  if (code != XEC_OK) {
    return code;
  }
  if (m_element->hasAttribute(dom_name.c_str())) {
    return XEC_ATTR_EXISTS;
  }
  return to_dom_text(value, dom_value) ? put_attribute(*m_document, *m_element, dom_name, dom_value)
                                       : static_cast<unsigned int>(XEC_ENCODING);
}

unsigned int CElement::remove_attr(const std::string& name) const {
  DomText dom_name;
  const unsigned int code = to_dom_name(m_element, name, dom_name);
  if (code != XEC_OK) {
    return code;
  }
  return unless_refused(XEC_REMOVE_ATTR, [&] {
    xc::DOMAttr* const attr = m_element->getAttributeNode(dom_name.c_str());
    if (attr != nullptr) {
      take_out(*m_element, *attr);
      release_quietly(attr);
    }
  });
}

unsigned int CElement::insert_pre_child_element(const CElement& ref, const CElement& child) const {
  xc::DOMElement* const element = ref.m_element != nullptr ? child.m_element : nullptr;
  return insert_before(m_element, element, ref.m_element, XEC_INSERT_BEFORE);
}

unsigned int CElement::insert_next_child_element(const CElement& ref, const CElement& child) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (ref.m_element == nullptr ||
      ref.m_element->getOwnerDocument() != m_element->getOwnerDocument()) {
    return XEC_INSERT_AFTER;
  }
  return insert_before(m_element, child.m_element, next_sibling(*ref.m_element), XEC_INSERT_AFTER);
}

unsigned int CElement::insert_pre_element(const CElement& elem) const {
  CElement parent;
  const unsigned int code = get_parent_element(parent);
  return code == XEC_OK ? parent.insert_pre_child_element(*this, elem) : code;
}

unsigned int CElement::insert_next_element(const CElement& elem) const {
  CElement parent;
  const unsigned int code = get_parent_element(parent);
  return code == XEC_OK ? parent.insert_next_child_element(*this, elem) : code;
}

unsigned int CElement::insert_front_child(const CElement& child) const {
  xc::DOMElement* const first = m_element != nullptr ? first_child(*m_element) : nullptr;
  return insert_before(m_element, child.m_element, first, XEC_INSERT_FRONT);
}

unsigned int CElement::insert_back_child(const CElement& child) const {
  return insert_before(m_element, child.m_element, nullptr, XEC_INSERT_BACK);
}

unsigned int CElement::remove_child_node(xc::DOMNode* node) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  return node == nullptr ? XEC_BAD_PARAM
                         : unless_refused(XEC_REMOVE_CHILD, [&] { m_element->removeChild(node); });
}

unsigned int CElement::remove_child_element(const CElement& child) const {
  return remove_child_node(child.m_element);
}

unsigned int CElement::discard_child_element(const CElement& child) const {
  const unsigned int code = remove_child_element(child);
  if (code == XEC_OK) {
    while_memory_lasts([&child] { free_detached(child.m_element); });
  }
  return code;
}

}  // namespace utility
