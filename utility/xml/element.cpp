#include "utility/element.h"

#include "utility/str.h"
#include "utility/text_codec.h"
#include "utility/xml/dom_walk.h"

#include <new>
#include <xercesc/dom/impl/DOMNodeBase.hpp>
#include <xercesc/dom/impl/DOMNodeImpl.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLString.hpp>

namespace utility {
namespace {

namespace xc = XERCES_CPP_NAMESPACE;

enum class Direction { kForward, kBackward };

// The nearest element, node itself included, along its siblings; null when there is none.
xc::DOMElement* nearest_element(xc::DOMNode* node, Direction direction) {
  while (node != nullptr && node->getNodeType() != xc::DOMNode::ELEMENT_NODE) {
    node = direction == Direction::kForward ? node->getNextSibling() : node->getPreviousSibling();
  }
  return static_cast<xc::DOMElement*>(node);
}

xc::DOMElement* first_child(const xc::DOMElement* parent) {
  return nearest_element(parent->getFirstChild(), Direction::kForward);
}

xc::DOMElement* next_sibling(const xc::DOMElement* element) {
  return nearest_element(element->getNextSibling(), Direction::kForward);
}

xc::DOMElement* previous_sibling(const xc::DOMElement* element) {
  return nearest_element(element->getPreviousSibling(), Direction::kBackward);
}

bool has_name(const xc::DOMElement* element, const DomText& name) {
  return xc::XMLString::equals(element->getNodeName(), name.c_str());
}

// The first of element and its siblings in one direction that is called name.
xc::DOMElement* nearest_named(xc::DOMElement* element, const DomText& name, Direction direction) {
  while (element != nullptr && !has_name(element, name)) {
    element = direction == Direction::kForward ? next_sibling(element) : previous_sibling(element);
  }
  return element;
}

unsigned int hand_out(xc::DOMDocument* document, xc::DOMElement* found, CElement& out) {
  if (found == nullptr) {
    return XEC_NOT_FOUND;
  }
  out = CElement(document, found);
  return XEC_OK;
}

xc::DOMText* leading_text(const xc::DOMElement* element) {
  xc::DOMNode* const first = element->getFirstChild();
  if (first == nullptr || first->getNodeType() != xc::DOMNode::TEXT_NODE) {
    return nullptr;
  }
  return static_cast<xc::DOMText*>(first);
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

// Inserts child into parent before ref, or behind all when ref is null. False when the tree
// would break: the DOM itself lets a childless element be inserted into itself.
bool insert_before(xc::DOMElement* parent, xc::DOMElement* child, xc::DOMNode* ref) {
  if (child == nullptr || is_or_is_below(parent, child)) {
    return false;
  }
  try {
    parent->insertBefore(child, ref);
    return true;
  } catch (const xc::DOMException&) {
    return false;
  }
}

// Sets the content of a text node. The node's own way forgets the old content before it takes
// memory for the new one.
void replace_content(xc::DOMText& node, const DomText& content) {
  if (content.size() > node.getLength()) {
    node.appendData(content.c_str() + node.getLength());  // makes room for all of it
  }
  node.setTextContent(content.c_str());
}

// The library takes memory to give memory back. Without any it keeps the object for as long as the
// document.
template <typename Action>
void give_back(Action action) {
  try {
    action();
  } catch (const xc::OutOfMemoryException&) {
  } catch (const std::bad_alloc&) {
  }
}

void release_quietly(xc::DOMNode* node) {
  give_back([node] { node->release(); });
}

// As attr.setValue(), which forgets the old value before it takes memory for the new one.
void replace_value(xc::DOMElement& element, xc::DOMAttr& attr, const DomText& value) {
  xc::DOMText* const text = element.getOwnerDocument()->createTextNode(value.c_str());
  const bool is_id = attr.isId();  // found by its value
  try {
    if (is_id) {
      element.setIdAttributeNode(&attr, false);
    }
    attr.insertBefore(text, attr.getFirstChild());
  } catch (const xc::DOMException&) {
    release_quietly(text);
    throw;
  }
  while (text->getNextSibling() != nullptr) {
    release_quietly(attr.removeChild(text->getNextSibling()));
  }
  dynamic_cast<xc::HasDOMNodeImpl&>(attr).getNodeImpl()->isSpecified(true);  // no default value
  if (is_id) {
    element.setIdAttributeNode(&attr, true);
  }
}

unsigned int add_attribute(xc::DOMDocument& document, xc::DOMElement& element, const DomText& name,
                           const DomText& value) {
  xc::DOMAttr* attr = nullptr;
  unsigned int failure = XEC_CREATE_ATTR;
  try {
    attr = document.createAttribute(name.c_str());
    attr->setValue(value.c_str());
    failure = XEC_SET_ATTR;
    element.setAttributeNode(attr);
    return XEC_OK;
  } catch (const xc::DOMException&) {
    if (attr != nullptr) {
      release_quietly(attr);
    }
    return failure;
  }
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
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  return hand_out(m_document, previous_sibling(m_element), out);
}

unsigned int CElement::get_next_element(CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  return hand_out(m_document, next_sibling(m_element), out);
}

unsigned int CElement::get_first_child_element(CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  return hand_out(m_document, first_child(m_element), out);
}

unsigned int CElement::get_last_child_element(CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  return hand_out(m_document, nearest_element(m_element->getLastChild(), Direction::kBackward),
                  out);
}

unsigned int CElement::get_pre_element(const std::string& name, CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  DomText wanted;
  if (!to_dom_text(name, wanted)) {
    return XEC_ENCODING;
  }
  return hand_out(m_document,
                  nearest_named(previous_sibling(m_element), wanted, Direction::kBackward), out);
}

unsigned int CElement::get_next_element(const std::string& name, CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  DomText wanted;
  if (!to_dom_text(name, wanted)) {
    return XEC_ENCODING;
  }
  return hand_out(m_document, nearest_named(next_sibling(m_element), wanted, Direction::kForward),
                  out);
}

unsigned int CElement::get_first_child_element(const std::string& name, CElement& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  DomText wanted;
  if (!to_dom_text(name, wanted)) {
    return XEC_ENCODING;
  }
  return hand_out(m_document, nearest_named(first_child(m_element), wanted, Direction::kForward),
                  out);
}

unsigned int CElement::get_child_element(const std::string& name,
                                         std::vector<CElement>& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (name.empty()) {
    return XEC_BAD_PARAM;
  }
  DomText wanted;
  if (!to_dom_text(name, wanted)) {
    return XEC_ENCODING;
  }
  for (auto* child = first_child(m_element); child != nullptr; child = next_sibling(child)) {
    if (has_name(child, wanted)) {
      out.emplace_back(m_document, child);
    }
  }
  return XEC_OK;
}

unsigned int CElement::get_all_child_element(std::vector<CElement>& out) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  for (auto* child = first_child(m_element); child != nullptr; child = next_sibling(child)) {
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
  if (m_element == nullptr || !to_narrow_text(m_element->getNodeName(), name)) {
    return {};
  }
  return name;
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
  if (name.empty() || get_first_child_element(name, child) != XEC_OK) {
    return {};
  }
  return child.get_text();
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
  try {
    replace_content(*first, content);
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return XEC_SET_TEXT;
  }
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
  try {
    node = m_document->createTextNode(content.c_str());
    m_element->appendChild(node);
    return XEC_OK;
  } catch (const xc::DOMException&) {
    if (node != nullptr) {
      node->release();
    }
    return XEC_APPEND_TEXT;
  }
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
  return m_element != nullptr && !name.empty() && to_dom_text(name, wanted) &&
         m_element->hasAttribute(wanted.c_str());
}

unsigned int CElement::get_attr(const std::string& name, std::string& value) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (name.empty()) {
    return XEC_BAD_PARAM;
  }
  DomText wanted;
  if (!to_dom_text(name, wanted)) {
    return XEC_ENCODING;
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
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (name.empty()) {
    return XEC_BAD_PARAM;
  }
  DomText dom_name;
  DomText dom_value;
  if (!to_dom_text(name, dom_name) || !to_dom_text(value, dom_value)) {
    return XEC_ENCODING;
  }
  try {
    xc::DOMAttr* const attr = m_element->getAttributeNode(dom_name.c_str());
    if (attr == nullptr) {
      xc::DOMDocument& document = *m_element->getOwnerDocument();
      const unsigned int code = add_attribute(document, *m_element, dom_name, dom_value);
      return code == XEC_OK ? code : static_cast<unsigned int>(XEC_SET_ATTR);
    }
    replace_value(*m_element, *attr, dom_value);
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return XEC_SET_ATTR;
  }
}

unsigned int CElement::insert_attr(const std::string& name, const std::string& value) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (m_document == nullptr) {
    return XEC_NO_DOCUMENT;
  }
  if (name.empty()) {
    return XEC_BAD_PARAM;
  }
  DomText dom_name;
  if (!to_dom_text(name, dom_name)) {
    return XEC_ENCODING;
  }
  if (m_element->hasAttribute(dom_name.c_str())) {
    return XEC_ATTR_EXISTS;
  }
  DomText dom_value;
  if (!to_dom_text(value, dom_value)) {
    return XEC_ENCODING;
  }
  return add_attribute(*m_document, *m_element, dom_name, dom_value);
}

unsigned int CElement::remove_attr(const std::string& name) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (name.empty()) {
    return XEC_BAD_PARAM;
  }
  DomText dom_name;
  if (!to_dom_text(name, dom_name)) {
    return XEC_ENCODING;
  }
  try {
    xc::DOMAttr* const attr = m_element->getAttributeNode(dom_name.c_str());
    if (attr != nullptr) {
      take_out(*m_element, *attr);
      release_quietly(attr);
    }
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return XEC_REMOVE_ATTR;
  }
}

unsigned int CElement::insert_pre_child_element(const CElement& ref, const CElement& child) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (ref.m_element == nullptr || !insert_before(m_element, child.m_element, ref.m_element)) {
    return XEC_INSERT_BEFORE;
  }
  return XEC_OK;
}

unsigned int CElement::insert_next_child_element(const CElement& ref, const CElement& child) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (ref.m_element == nullptr ||
      ref.m_element->getOwnerDocument() != m_element->getOwnerDocument() ||
      !insert_before(m_element, child.m_element, next_sibling(ref.m_element))) {
    return XEC_INSERT_AFTER;
  }
  return XEC_OK;
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
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (!insert_before(m_element, child.m_element, first_child(m_element))) {
    return XEC_INSERT_FRONT;
  }
  return XEC_OK;
}

unsigned int CElement::insert_back_child(const CElement& child) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (!insert_before(m_element, child.m_element, nullptr)) {
    return XEC_INSERT_BACK;
  }
  return XEC_OK;
}

unsigned int CElement::remove_child_node(xc::DOMNode* node) const {
  if (m_element == nullptr) {
    return XEC_NO_ELEMENT;
  }
  if (node == nullptr) {
    return XEC_BAD_PARAM;
  }
  try {
    m_element->removeChild(node);
    return XEC_OK;
  } catch (const xc::DOMException&) {
    return XEC_REMOVE_CHILD;
  }
}

unsigned int CElement::remove_child_element(const CElement& child) const {
  return remove_child_node(child.m_element);
}

unsigned int CElement::discard_child_element(const CElement& child) const {
  const unsigned int code = remove_child_element(child);
  if (code == XEC_OK) {
    give_back([&child] { free_detached(child.m_element); });
  }
  return code;
}

}  // namespace utility
