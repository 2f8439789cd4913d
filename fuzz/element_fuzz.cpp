// CElement: a program of operations on a document, beside the same operations on a model of it.
//
// Input: a byte that chooses the document and whether it is saved in the end, then a byte for each
// operation and its arguments behind it. Handles are kept in slots; arguments say which.
#include <utility/element.h>
#include <utility/str.h>
#include <utility/xml.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/harness/check.h"
#include "fuzz/harness/dom.h"
#include "fuzz/harness/input.h"
#include "tests/harness/temp_dir.h"

namespace {

using namespace utility;
using fwbase::fuzz::description;
using fwbase::fuzz::Document;
using fwbase::fuzz::element_of;
using fwbase::fuzz::Input;
using fwbase::fuzz::utf8;
using fwbase::test::TempDir;
namespace xc = xercesc;

using Attributes = std::map<std::string, std::string>;

// --- The model ---

struct Node {
  xc::DOMNode::NodeType type = xc::DOMNode::ELEMENT_NODE;
  std::string name;
  std::string value;
  Attributes attributes;
  Node* parent = nullptr;
  std::vector<Node*> children;
  bool read_only = false;  // what an entity gives
  xc::DOMNode* real = nullptr;

  bool is_element() const { return type == xc::DOMNode::ELEMENT_NODE; }
  bool is_text() const { return type == xc::DOMNode::TEXT_NODE; }

  Node* leading_text() const {
    return !children.empty() && children.front()->is_text() ? children.front() : nullptr;
  }

  std::size_t place() const {
    std::size_t i = 0;
    while (parent->children[i] != this) ++i;
    return i;
  }

  void leave_parent() {
    if (parent != nullptr) parent->children.erase(parent->children.begin() + place());
    parent = nullptr;
  }
};

// Where handles lead to; null, also for an empty handle's, where they lead nowhere. With a name, to
// the nearest element that has it.

Node* parent_element(const Node* node) {
  const bool has_one = node != nullptr && node->parent != nullptr && node->parent->is_element();
  return has_one ? node->parent : nullptr;
}

Node* sibling(const Node* node, int step, const std::string* name = nullptr) {
  if (node == nullptr || node->parent == nullptr) return nullptr;
  const std::vector<Node*>& all = node->parent->children;
  for (std::size_t i = node->place() + step; i < all.size(); i += step) {
    if (all[i]->is_element() && (name == nullptr || all[i]->name == *name)) return all[i];
  }
  return nullptr;
}

std::vector<Node*> child_elements(const Node* node, const std::string* name = nullptr) {
  std::vector<Node*> found;
  if (node == nullptr) return found;
  for (Node* const child : node->children) {
    if (child->is_element() && (name == nullptr || child->name == *name)) found.push_back(child);
  }
  return found;
}

Node* first_child(const Node* node, const std::string* name = nullptr) {
  const std::vector<Node*> all = child_elements(node, name);
  return all.empty() ? nullptr : all.front();
}

Node* last_child(const Node* node) {
  const std::vector<Node*> all = child_elements(node);
  return all.empty() ? nullptr : all.back();
}

bool is_or_is_below(const Node* node, const Node* ancestor) {
  while (node != nullptr && node != ancestor) node = node->parent;
  return node != nullptr;
}

// Adds the texts from the i-th child on; false when something else ended them.
bool add_texts(const Node* node, std::size_t i, std::string& text) {
  for (; i < node->children.size(); ++i) {
    const Node* const child = node->children[i];
    if (child->is_text() || child->type == xc::DOMNode::CDATA_SECTION_NODE) {
      text += child->value;
    } else if (child->type != xc::DOMNode::ENTITY_REFERENCE_NODE || !add_texts(child, 0, text)) {
      return false;
    }
  }
  return true;
}

std::string text_of(const Node* node) {
  std::string text;
  if (node->leading_text() != nullptr) add_texts(node, 0, text);
  CStr::trim(text);
  return text;
}

bool is_continuation(char c) { return (c & 0xC0) == 0x80; }

// Whether bytes are UTF-8 text without a zero.
bool is_text(const std::string& bytes) {
  for (std::size_t i = 0; i < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (lead == 0 || (lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || bytes.size() - i < size) {
      return false;
    }
    std::uint32_t code = size == 1 ? lead : lead & (0x7F >> size);
    for (std::size_t k = 1; k < size; ++k) {
      if (!is_continuation(bytes[i + k])) return false;
      code = code << 6 | (bytes[i + k] & 0x3F);
    }
    const bool overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    if (overlong || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return false;
    i += size;
  }
  return true;
}

struct Name {
  std::string text;
  bool is_xml_name;
};

const Name kNames[] = {{"a", true},        {"b", true},     {"p:q", true},
                       {"\xC3\xA9", true}, {"d", true},     {"i", true},
                       {"", false},        {"1", false},    {"a b", false},
                       {"<", false},       {"\xFF", false}, {std::string("a\0b", 3), false},
                       {"r", true},        {"xmlns", true}, {"\xED\xA0\x80", false}};

struct Start {
  std::string text;
  std::map<std::string, Attributes> defaults;  // by the names of elements
};

const Start kStarts[] = {
    {"<r/>", {}},
    {"<r>t<a x='1' y='2'>u<b/></a><!--c--><a/> <b>v</b><![CDATA[w]]></r>", {}},
    {"<!DOCTYPE r [<!ATTLIST a d CDATA 'v' i ID #IMPLIED>]><r><a i='one'/><a d='w'/></r>",
     {{"a", {{"d", "v"}}}}},
    {"<!DOCTYPE r [<!ENTITY e 'x<a>y</a>z'><!ENTITY t 'text'><!ENTITY n ''>]>"
     "<r>1&t;2&n;3<a>&e;</a><b>4&e;</b><b>&t;</b></r>",
     {}},
    {"<!DOCTYPE r [<!ENTITY t 'text'><!ENTITY e '<a/><b>u</b>'><!ENTITY f '&e;t<a>&e;</a>'>"
     "<!ATTLIST a d CDATA '&t;' xmlns CDATA #FIXED 'u'>]><r>&f;<b>&f;</b></r>",
     {{"a", {{"d", "text"}, {"xmlns", "u"}}}}},
    {"<?xml version='1.1' encoding='GBK'?><?p d?><r><!-- --><p:q a=''>x</p:q>y<?q?></r>", {}},
};

// Made once: to bring the XML platform up and down takes longer than an input. Elements of the
// other document are refused wherever they are given, so it never changes.
struct World {
  const fwbase::fuzz::XmlPlatform platform;
  const TempDir directory;
  const std::string path = directory.path("document.xml");
  Document foreign;
  CElement foreign_root;

  World() {
    fwbase::test::write_file(path, "<a><a/></a>");
    FUZZ_CHECK(foreign.load(path) == XEC_OK);
    FUZZ_CHECK(foreign.get_root_element(foreign_root) == XEC_OK);
  }
};

World& world() {
  static World one;
  return one;
}

// --- A program's run ---

// A handle, and what it designates: null for an empty handle and for an element of the other
// document.
struct Slot {
  CElement handle;
  Node* node = nullptr;
};

class ElementRun {
 public:
  explicit ElementRun(unsigned int choice) {
    const Start& start = kStarts[choice % std::size(kStarts)];
    fwbase::test::write_file(world().path, start.text);
    FUZZ_CHECK(m_document.load(world().path) == XEC_OK);
    FUZZ_CHECK(m_document.get_root_element(m_slots[0].handle) == XEC_OK);
    m_slots[kForeign].handle = world().foreign_root;
    model(element_of(m_slots[0].handle)->getOwnerDocument(), nullptr, false);
    m_slots[0].node = of(m_slots[0].handle);
    m_defaults = start.defaults;
  }

  void step(Input& input) {
    switch (input.below(6)) {
      case 0:
        move(input);
        break;
      case 1:
        look(input);
        break;
      case 2:
        change_text(input);
        break;
      case 3:
        change_attribute(input);
        break;
      case 4:
        insert(input);
        break;
      default:
        make_or_remove(input);
    }
  }

  void check_all() const {
    for (const auto& [real, node] : m_nodes) check(*node);
  }

  // What is saved is what is in the document.
  void check_saving() const {
    const unsigned int code = m_document.save();
    FUZZ_CHECK(code == XEC_OK || code == XEC_WRITE);
    if (code != XEC_OK) return;
    Document again;
    FUZZ_CHECK(again.load(world().path) == XEC_OK);
    FUZZ_CHECK(description(again) == description(m_document));
  }

 private:
  static constexpr std::size_t kSlots = 8;
  static constexpr std::size_t kForeign = kSlots + 1;  // behind one that stays empty

  // --- The model's nodes ---

  Node* model(xc::DOMNode* real, Node* parent, bool read_only) {
    auto node = std::make_unique<Node>();
    node->type = real->getNodeType();
    node->name = utf8(real->getNodeName());
    node->value = utf8(real->getNodeValue());
    node->parent = parent;
    node->read_only = read_only;
    node->real = real;
    const xc::DOMNamedNodeMap* const attributes = real->getAttributes();
    for (XMLSize_t i = 0; attributes != nullptr && i < attributes->getLength(); ++i) {
      const xc::DOMNode& attribute = *attributes->item(i);
      node->attributes[utf8(attribute.getNodeName())] = utf8(attribute.getNodeValue());
    }
    const bool is_reference = node->type == xc::DOMNode::ENTITY_REFERENCE_NODE;
    for (auto* child = real->getFirstChild(); child != nullptr; child = child->getNextSibling()) {
      node->children.push_back(model(child, node.get(), read_only || is_reference));
    }
    node->read_only = read_only || is_reference;
    Node* const made = node.get();
    m_nodes[real] = std::move(node);
    return made;
  }

  Node* of(const CElement& handle) const {
    const auto found = m_nodes.find(element_of(handle));
    return found == m_nodes.end() ? nullptr : found->second.get();
  }

  void check(const Node& node) const {
    FUZZ_CHECK(node.real->getNodeType() == node.type);
    FUZZ_CHECK(utf8(node.real->getNodeName()) == node.name);
    FUZZ_CHECK(utf8(node.real->getNodeValue()) == node.value);
    FUZZ_CHECK(node.real->getParentNode() == (node.parent ? node.parent->real : nullptr));
    const xc::DOMNode* child = node.real->getFirstChild();
    for (const Node* const expected : node.children) {
      FUZZ_CHECK(child == expected->real);
      child = child->getNextSibling();
    }
    FUZZ_CHECK(child == nullptr);
    if (node.is_element()) check_attributes(node);
  }

  void check_attributes(const Node& node) const {
    std::vector<std::pair<std::string, std::string>> attributes;
    auto* const element = static_cast<xc::DOMElement*>(node.real);
    FUZZ_CHECK(CElement(element->getOwnerDocument(), element).get_attr(attributes) == XEC_OK);
    FUZZ_CHECK(Attributes(attributes.begin(), attributes.end()) == node.attributes);
    FUZZ_CHECK(attributes.size() == node.attributes.size());
  }

  // --- Slots ---

  Slot& any(Input& input) { return m_slots[input.below(kForeign + 1)]; }

  // Not the foreign one: it is an argument only.
  Slot& own(Input& input) { return m_slots[input.below(kSlots + 1)]; }

  void keep(Input& input, const CElement& handle, Node* node) {
    FUZZ_CHECK(element_of(handle) == node->real);
    Slot& slot = m_slots[input.below(kSlots)];
    slot.handle = handle;
    slot.node = node;
  }

  const Name& name(Input& input) { return kNames[input.below(std::size(kNames))]; }

  // --- Operations ---

  void move(Input& input) {
    const Slot& slot = own(input);
    const unsigned int way = input.below(8);
    const std::string& wanted = name(input).text;
    CElement out = world().foreign_root;
    if (way < 5) {
      const auto [code, found] = move_anywhere(slot, way, out);
      arrive(input, code, found, out,
             slot.node == nullptr ? XEC_NO_ELEMENT
             : way == 0           ? XEC_NO_PARENT
                                  : XEC_NOT_FOUND);
    } else {
      const auto [code, found] = move_by_name(slot, way - 5, wanted, out);
      arrive(input, code, found, out,
             slot.node == nullptr ? XEC_NO_ELEMENT
             : is_text(wanted)    ? XEC_NOT_FOUND
                                  : XEC_ENCODING);
    }
  }

  using Step = std::pair<unsigned int, Node*>;  // the result, and where it should lead

  static Step move_anywhere(const Slot& slot, unsigned int way, CElement& out) {
    const Node* const node = slot.node;
    switch (way) {
      case 0:
        return {slot.handle.get_parent_element(out), parent_element(node)};
      case 1:
        return {slot.handle.get_pre_element(out), sibling(node, -1)};
      case 2:
        return {slot.handle.get_next_element(out), sibling(node, 1)};
      case 3:
        return {slot.handle.get_first_child_element(out), first_child(node)};
      default:
        return {slot.handle.get_last_child_element(out), last_child(node)};
    }
  }

  static Step move_by_name(const Slot& slot, unsigned int way, const std::string& wanted,
                           CElement& out) {
    const Node* const node = slot.node;
    switch (way) {
      case 0:
        return {slot.handle.get_pre_element(wanted, out), sibling(node, -1, &wanted)};
      case 1:
        return {slot.handle.get_next_element(wanted, out), sibling(node, 1, &wanted)};
      default:
        return {slot.handle.get_first_child_element(wanted, out), first_child(node, &wanted)};
    }
  }

  void arrive(Input& input, unsigned int code, Node* expected, const CElement& out,
              unsigned int nowhere) {
    FUZZ_CHECK(code == (expected != nullptr ? unsigned{XEC_OK} : nowhere));
    if (expected != nullptr) {
      keep(input, out, expected);
    } else {
      FUZZ_CHECK(element_of(out) == element_of(world().foreign_root));
    }
  }

  void look(Input& input) {
    const Slot& slot = own(input);
    const std::string& wanted = name(input).text;
    const Node* const node = slot.node;
    FUZZ_CHECK(slot.handle.get_element_name() == (node != nullptr ? node->name : ""));
    FUZZ_CHECK(slot.handle.get_text() == (node != nullptr ? text_of(node) : ""));
    const unsigned int code = node == nullptr    ? XEC_NO_ELEMENT
                              : wanted.empty()   ? XEC_BAD_PARAM
                              : !is_text(wanted) ? XEC_ENCODING
                                                 : XEC_OK;
    look_at_children(slot, wanted, code);
    look_at_attribute(slot, wanted, code);
  }

  // code is what an operation gives that needs the element and the name.
  static void look_at_children(const Slot& slot, const std::string& wanted, unsigned int code) {
    const std::vector<Node*> named =
        code == XEC_OK ? child_elements(slot.node, &wanted) : std::vector<Node*>();
    std::vector<CElement> found;
    FUZZ_CHECK(slot.handle.get_child_element(wanted, found) == code);
    FUZZ_CHECK(are(found, named));
    FUZZ_CHECK(slot.handle.has_child_element(wanted) == !named.empty());
    FUZZ_CHECK(slot.handle.get_child_text(wanted) == (named.empty() ? "" : text_of(named.front())));
    found.clear();
    FUZZ_CHECK(slot.handle.get_all_child_element(found) ==
               (slot.node != nullptr ? XEC_OK : XEC_NO_ELEMENT));
    FUZZ_CHECK(are(found, child_elements(slot.node)));
  }

  static void look_at_attribute(const Slot& slot, const std::string& wanted, unsigned int code) {
    const bool exists = code == XEC_OK && slot.node->attributes.count(wanted) != 0;
    std::string value = "untouched";
    FUZZ_CHECK(slot.handle.has_attr(wanted) == exists);
    FUZZ_CHECK(slot.handle.get_attr(wanted, value) ==
               (code == XEC_OK && !exists ? unsigned{XEC_NO_ATTR} : code));
    FUZZ_CHECK(value == (exists ? slot.node->attributes.at(wanted) : "untouched"));
  }

  static bool are(const std::vector<CElement>& handles, const std::vector<Node*>& nodes) {
    bool same = handles.size() == nodes.size();
    for (std::size_t i = 0; same && i < nodes.size(); ++i) {
      same = element_of(handles[i]) == nodes[i]->real;
    }
    return same;
  }

  void change_text(Input& input) {
    const Slot& slot = own(input);
    Node* const node = slot.node;
    Node* const leading = node != nullptr ? node->leading_text() : nullptr;
    const unsigned int way = input.below(3);
    if (way == 2) {
      const unsigned int expected = node == nullptr      ? XEC_NO_ELEMENT
                                    : leading == nullptr ? XEC_OK
                                    : node->read_only    ? XEC_REMOVE_CHILD
                                                         : XEC_OK;
      FUZZ_CHECK(slot.handle.remove_text() == expected);
      if (expected == XEC_OK && leading != nullptr) leading->leave_parent();
      return;
    }
    const std::string text = input.text();
    const bool set = way == 0 && leading != nullptr;
    const unsigned int expected = node == nullptr    ? XEC_NO_ELEMENT
                                  : !is_text(text)   ? XEC_ENCODING
                                  : !node->read_only ? XEC_OK
                                  : set              ? XEC_SET_TEXT
                                                     : XEC_APPEND_TEXT;
    FUZZ_CHECK((way == 0 ? slot.handle.set_text(text) : slot.handle.insert_text(text)) == expected);
    if (expected != XEC_OK) return;
    if (set) {
      leading->value = text;
    } else {
      node->children.push_back(model(node->real->getLastChild(), node, false));
      FUZZ_CHECK(node->children.back()->is_text() && node->children.back()->value == text);
    }
  }

  // What setting (0), inserting (1) or removing (2) an attribute must give.
  static unsigned int attribute_code(const Node* node, unsigned int way, const Name& wanted,
                                     const std::string& value) {
    if (node == nullptr) return XEC_NO_ELEMENT;
    if (wanted.text.empty()) return XEC_BAD_PARAM;
    if (!is_text(wanted.text)) return XEC_ENCODING;
    if (way == 2) return node->read_only ? XEC_REMOVE_ATTR : XEC_OK;
    if (way == 1 && node->attributes.count(wanted.text) != 0) return XEC_ATTR_EXISTS;
    if (!is_text(value)) return XEC_ENCODING;
    if (way == 1 && !wanted.is_xml_name) return XEC_CREATE_ATTR;
    return node->read_only || !wanted.is_xml_name ? XEC_SET_ATTR : XEC_OK;
  }

  void change_attribute(Input& input) {
    const Slot& slot = own(input);
    Node* const node = slot.node;
    const unsigned int way = input.below(3);
    const Name& wanted = name(input);
    const std::string value = way < 2 ? input.text() : "";
    const unsigned int expected = attribute_code(node, way, wanted, value);
    const unsigned int code = way == 0   ? slot.handle.set_attr(wanted.text, value)
                              : way == 1 ? slot.handle.insert_attr(wanted.text, value)
                                         : slot.handle.remove_attr(wanted.text);
    FUZZ_CHECK(code == expected);
    if (code != XEC_OK) return;
    if (way < 2) {
      node->attributes[wanted.text] = value;
    } else {
      remove_attribute(*node, wanted.text);
    }
  }

  // One that the document declares with a default has that from then on.
  void remove_attribute(Node& node, const std::string& wanted) {
    const Attributes& defaults = m_defaults[node.name];
    const auto found = defaults.find(wanted);
    if (node.attributes.erase(wanted) != 0 && found != defaults.end())
      node.attributes.insert(*found);
  }

  // Inserts child into parent before ref, or behind all when ref is null; false when that is
  // refused.
  static bool insert_before(Node* parent, Node* child, Node* ref) {
    const bool allowed = child != nullptr && !is_or_is_below(parent, child) && !parent->read_only &&
                         (ref == nullptr || ref->parent == parent) &&
                         (child == ref || child->parent == nullptr || !child->parent->read_only);
    if (!allowed || child == ref) return allowed;
    child->leave_parent();
    parent->children.insert(
        parent->children.begin() + (ref != nullptr ? ref->place() : parent->children.size()),
        child);
    child->parent = parent;
    return true;
  }

  void insert(Input& input) {
    const Slot& slot = own(input);
    const Slot& ref = any(input);
    const Slot& child = any(input);
    Node* const node = slot.node;
    Node* const parent = node != nullptr && node->parent != nullptr && node->parent->is_element()
                             ? node->parent
                             : nullptr;
    const unsigned int no_parent = node == nullptr ? XEC_NO_ELEMENT : XEC_NO_PARENT;
    switch (input.below(6)) {
      case 0:
        expect(slot.handle.insert_pre_child_element(ref.handle, child.handle), node, XEC_NO_ELEMENT,
               ref.node != nullptr && node != nullptr && insert_before(node, child.node, ref.node),
               XEC_INSERT_BEFORE);
        break;
      case 1:
        expect(slot.handle.insert_next_child_element(ref.handle, child.handle), node,
               XEC_NO_ELEMENT,
               ref.node != nullptr && node != nullptr &&
                   insert_before(node, child.node, sibling(ref.node, 1)),
               XEC_INSERT_AFTER);
        break;
      case 2:
        expect(slot.handle.insert_pre_element(child.handle), parent, no_parent,
               parent != nullptr && insert_before(parent, child.node, node), XEC_INSERT_BEFORE);
        break;
      case 3:
        expect(slot.handle.insert_next_element(child.handle), parent, no_parent,
               parent != nullptr && insert_before(parent, child.node, sibling(node, 1)),
               XEC_INSERT_AFTER);
        break;
      case 4:
        expect(slot.handle.insert_front_child(child.handle), node, XEC_NO_ELEMENT,
               node != nullptr && insert_before(node, child.node, first_child(node)),
               XEC_INSERT_FRONT);
        break;
      default:
        expect(slot.handle.insert_back_child(child.handle), node, XEC_NO_ELEMENT,
               node != nullptr && insert_before(node, child.node, nullptr), XEC_INSERT_BACK);
    }
  }

  static void expect(unsigned int code, const Node* subject, unsigned int without_subject,
                     bool done, unsigned int refusal) {
    FUZZ_CHECK(code == (subject == nullptr ? without_subject : done ? unsigned{XEC_OK} : refusal));
  }

  void make_or_remove(Input& input) {
    switch (input.below(5)) {
      case 0:
        create(input);
        break;
      case 1:
      case 2:
        clone(input);
        break;
      case 3:
        remove(input, false);
        break;
      default:
        remove(input, true);
    }
  }

  void create(Input& input) {
    const Name& wanted = name(input);
    CElement out = m_slots[kForeign].handle;
    const bool made = wanted.is_xml_name;
    const unsigned int expected = made || wanted.text.empty() ? XEC_OK
                                  : !is_text(wanted.text)     ? XEC_ENCODING
                                                              : XEC_CREATE_ELEMENT;
    FUZZ_CHECK(m_document.create_element(wanted.text, out) == expected);
    FUZZ_CHECK(made == (element_of(out) != element_of(m_slots[kForeign].handle)));
    if (!made) return;
    Node* const node = model(element_of(out), nullptr, false);
    FUZZ_CHECK(node->name == wanted.text && node->attributes == m_defaults[wanted.text]);
    FUZZ_CHECK(node->children.empty());
    keep(input, out, node);
  }

  void clone(Input& input) {
    const Slot& slot = own(input);
    const bool deep = input.flag();
    CElement out;
    FUZZ_CHECK(slot.handle.clone(deep, out) == (slot.node != nullptr ? 0u : 9u));
    if (slot.node == nullptr || m_nodes.size() > kMaxNodes) return;
    Node* const copy = model(element_of(out), nullptr, false);
    FUZZ_CHECK(are_same(*copy, *slot.node, deep));
    keep(input, out, copy);
  }

  static bool are_same(const Node& left, const Node& right, bool deep) {
    bool same = left.type == right.type && left.name == right.name && left.value == right.value &&
                left.attributes == right.attributes &&
                left.children.size() == (deep ? right.children.size() : 0);
    for (std::size_t i = 0; same && i < left.children.size(); ++i) {
      same = are_same(*left.children[i], *right.children[i], true);
    }
    return same;
  }

  void remove(Input& input, bool discard) {
    const Slot& slot = own(input);
    const Slot& child = any(input);
    const bool is_child = slot.node != nullptr && child.node != nullptr &&
                          child.node->parent == slot.node && !slot.node->read_only;
    const unsigned int expected = slot.node == nullptr                  ? XEC_NO_ELEMENT
                                  : element_of(child.handle) == nullptr ? XEC_BAD_PARAM
                                  : is_child                            ? XEC_OK
                                                                        : XEC_REMOVE_CHILD;
    const unsigned int code = discard ? slot.handle.discard_child_element(child.handle)
                                      : slot.handle.remove_child_element(child.handle);
    FUZZ_CHECK(code == expected);
    if (code != XEC_OK) return;
    child.node->leave_parent();
    if (discard) forget(child.node);
  }

  // The handles on what is freed may not be used any more.
  void forget(Node* node) {
    for (Node* const child : node->children) forget(child);
    for (Slot& slot : m_slots) {
      if (slot.node == node) slot = Slot();
    }
    m_nodes.erase(node->real);
  }

  static constexpr std::size_t kMaxNodes = 2000;

  Document m_document;
  Slot m_slots[kForeign + 1];
  std::map<const xc::DOMNode*, std::unique_ptr<Node>> m_nodes;
  std::map<std::string, Attributes> m_defaults;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned int choice = input.byte();
  ElementRun run(choice);
  while (!input.at_end()) run.step(input);
  run.check_all();
  if (choice < 0x80) run.check_saving();
  return 0;
}
