// Elements of XML documents, and the results of operations on them.
#ifndef UTILITY_ELEMENT_H
#define UTILITY_ELEMENT_H

#include <fwbase/export.h>

#include <string>
#include <utility>
#include <vector>
#include <xercesc/dom/DOM.hpp>

namespace utility {

/// Results of CElement and CXml. The operations return them as plain unsigned int; 0 is success.
enum XmlResult : unsigned int {
  XEC_OK = 0,              ///< success
  XEC_NO_MEMORY = 2,       ///< the parser could not be allocated, or memory ran out in it
  XEC_NO_TARGET = 3,       ///< memory for the output ran out
  XEC_PARSE = 4,           ///< the file is not well-formed, or exceeds the limits
  XEC_WRITE = 5,           ///< the document could not be written unharmed
  XEC_EMPTY_TAG = 6,       ///< empty tag name
  XEC_CREATE_ELEMENT = 7,  ///< the element could not be created
  XEC_NO_NODE_LIST = 8,    ///< the DOM gave no node list
  XEC_NO_ELEMENT = 9,      ///< the handle is empty, or the document has no root element
  XEC_BAD_PARAM = 10,      ///< empty name or path, or null node
  XEC_APPEND_TEXT = 11,    ///< appending a new text node failed
  XEC_INSERT_BEFORE = 13,  ///< inserting before an element failed
  XEC_INSERT_AFTER = 14,   ///< inserting after an element failed
  XEC_NO_PARENT = 15,      ///< no parent, or the parent is not an element
  XEC_NO_ATTR_MAP = 17,    ///< the element has no attribute map
  XEC_REMOVE_ATTR = 18,    ///< removing the attribute failed
  XEC_ATTR_EXISTS = 20,    ///< the attribute already exists
  XEC_SET_ATTR = 22,       ///< setting the attribute failed
  XEC_NO_TEXT = 24,        ///< the first child is missing or is not a text node
  XEC_SET_TEXT = 25,       ///< replacing the text failed
  XEC_XPATH_EMPTY = 26,    ///< the XPath selected no element, or its result cannot be read
  XEC_XPATH = 28,          ///< the XPath expression could not be evaluated
  XEC_REMOVE_CHILD = 29,   ///< removing the child failed
  XEC_INSERT_FRONT = 30,   ///< inserting as first child failed
  XEC_INSERT_BACK = 31,    ///< appending the child failed
  XEC_NO_DOCUMENT = 32,    ///< no document
  XEC_NOT_FOUND = 35,      ///< no such element
  XEC_NO_ATTR = 36,        ///< the attribute does not exist
  XEC_CREATE_ATTR = 37,    ///< creating the attribute or setting its value failed
  XEC_ENCODING = 38        ///< text cannot be converted between the document and the code page
};

/// A handle to one element of an XML document that a CXml holds.
///
/// Lifetime: a handle owns nothing. Copying it copies two pointers; several handles may refer to
///   the same element. A handle is valid until the CXml loads another document or is released;
///   later use is undefined. Removed and never attached elements live as long as the document, and
///   their handles stay valid.
/// Const:    as with a pointer, const concerns the handle: every operation may be called on a const
///   handle, even one that changes the element.
/// Threads:  not synchronised. Threads may share a document for the get_ and has_ operations; all
///   others, including clone(), need exclusive use of the document.
/// Strings:  names, texts and values are in the code page of the calling thread's locale (UTF-8 in
///   the "C" and "POSIX" locales). A name or value that is not valid text in that code page, or
///   holds a zero byte, gives XEC_ENCODING. So does text of the document that the code page cannot
///   express; nothing is ever replaced silently. Names are compared exactly, prefix included,
///   without namespace handling.
/// Failures: nothing is logged. Every operation that returns unsigned int gives a value of
///   XmlResult. An empty handle gives XEC_NO_ELEMENT (9), before any other check. On failure the
///   outputs and the document stay as they were, except that vectors keep what was appended before
///   the failure. DOM exceptions become codes; the only exception that leaves an operation is that
///   of exhausted memory.
class FWBASE_API CElement {
 public:
  /// An empty handle.
  CElement();

  /// A handle to element, which document owns. Both pointers are stored as they are.
  CElement(XERCES_CPP_NAMESPACE::DOMDocument* document, XERCES_CPP_NAMESPACE::DOMElement* element);

  /// Another handle to the same element.
  CElement(const CElement& other);

  /// Refers to the element of the other handle from now on.
  CElement& operator=(const CElement& other);

  /// Forgets both pointers; the element stays where it is.
  ~CElement();

  // Moving. Each operation sets out on success only. Sibling and child elements are direct ones;
  // text, comments and other nodes are skipped.

  /// The parent: XEC_OK, or XEC_NO_PARENT (15) when there is none or it is not an element (the
  /// root's parent is the document).
  unsigned int get_parent_element(CElement& out) const;

  /// The nearest sibling element before this one: XEC_OK, or XEC_NOT_FOUND (35).
  unsigned int get_pre_element(CElement& out) const;

  /// The nearest sibling element after this one: XEC_OK, or XEC_NOT_FOUND (35).
  unsigned int get_next_element(CElement& out) const;

  /// The first child element: XEC_OK, or XEC_NOT_FOUND (35).
  unsigned int get_first_child_element(CElement& out) const;

  /// The last child element: XEC_OK, or XEC_NOT_FOUND (35).
  unsigned int get_last_child_element(CElement& out) const;

  /// The nearest sibling element called name before this one: XEC_OK, XEC_NOT_FOUND (35; also for
  /// an empty name), or XEC_ENCODING (38).
  unsigned int get_pre_element(const std::string& name, CElement& out) const;

  /// The nearest sibling element called name after this one, with the same results.
  unsigned int get_next_element(const std::string& name, CElement& out) const;

  /// The first child element called name, with the same results.
  unsigned int get_first_child_element(const std::string& name, CElement& out) const;

  /// Appends every child element called name to out, in document order; out is not cleared.
  /// XEC_OK also when there is none; XEC_BAD_PARAM (10) for an empty name; XEC_ENCODING (38).
  unsigned int get_child_element(const std::string& name, std::vector<CElement>& out) const;

  /// Appends every child element to out, in document order; out is not cleared. XEC_OK.
  unsigned int get_all_child_element(std::vector<CElement>& out) const;

  /// Whether a child element is called name; false for an empty handle, an empty name, and a name
  /// that cannot be converted.
  bool has_child_element(const std::string& name) const;

  /// The tag name, with its prefix if any; empty for an empty handle and for a name that the
  /// code page cannot express.
  std::string get_element_name() const;

  /// Makes out refer to a copy of this element with its attributes and, when deep, everything below
  /// it. The copy belongs to the same document and is not attached to the tree. XEC_OK.
  unsigned int clone(bool deep, CElement& out) const;

  // Text.

  /// The element's text, white space trimmed at both ends as CStr::trim() does. The text is that of
  /// the first child node, if this is a text node, and of the text, CDATA and expanded entity
  /// references that follow, up to the next element, comment or processing instruction. Empty when
  /// the first child is anything else (a comment, say, or a CDATA section), for an empty handle,
  /// and for text that the code page cannot express.
  std::string get_text() const;

  /// As get_text(), with a code: sets text, to the empty string when the element has no text.
  /// XEC_OK, or XEC_ENCODING (38) when the code page cannot express it.
  unsigned int get_text(std::string& text) const;

  /// get_text() of the first child element called name; empty when there is no such child.
  std::string get_child_text(const std::string& name) const;

  /// Sets the text: replaces the content of the first child node if this is a text node, else does
  /// what insert_text() does. XEC_OK, XEC_ENCODING (38), XEC_SET_TEXT (25), or what insert_text()
  /// gives.
  unsigned int set_text(const std::string& text) const;

  /// Appends a new text node after all children; existing text stays. XEC_OK, XEC_NO_DOCUMENT (32)
  /// for a handle without document, XEC_ENCODING (38), or XEC_APPEND_TEXT (11).
  unsigned int insert_text(const std::string& text) const;

  /// Removes the first child node if this is a text node, else does nothing. XEC_OK, or
  /// XEC_REMOVE_CHILD (29).
  unsigned int remove_text() const;

  // Attributes.

  /// Whether the element has the attribute; false for an empty handle, an empty name and a name
  /// that cannot be converted.
  bool has_attr(const std::string& name) const;

  /// Sets value to the attribute's value. XEC_OK, XEC_BAD_PARAM (10) for an empty name,
  /// XEC_NO_ATTR (36), or XEC_ENCODING (38) for the name or the value.
  unsigned int get_attr(const std::string& name, std::string& value) const;

  /// Appends (name, value) for every attribute, in the order of the DOM's map; attrs is not
  /// cleared. XEC_OK also when there is none; XEC_NO_ATTR_MAP (17); XEC_ENCODING (38).
  unsigned int get_attr(std::vector<std::pair<std::string, std::string>>& attrs) const;

  /// Creates or overwrites the attribute. XEC_OK, XEC_BAD_PARAM (10) for an empty name,
  /// XEC_ENCODING (38), or XEC_SET_ATTR (22), for example for a name that XML does not allow.
  unsigned int set_attr(const std::string& name, const std::string& value) const;

  /// Adds an attribute that does not exist yet. In this order: XEC_NO_DOCUMENT (32) for a handle
  /// without document, XEC_BAD_PARAM (10) for an empty name, XEC_ENCODING (38) for the name,
  /// XEC_ATTR_EXISTS (20), XEC_ENCODING (38) for the value, XEC_CREATE_ATTR (37), for example for a
  /// name that XML does not allow, XEC_SET_ATTR (22), or XEC_OK.
  unsigned int insert_attr(const std::string& name, const std::string& value) const;

  /// Removes the attribute; a missing attribute is a success. XEC_OK, XEC_BAD_PARAM (10) for an
  /// empty name, XEC_ENCODING (38), or XEC_REMOVE_ATTR (18).
  unsigned int remove_attr(const std::string& name) const;

  // Inserting and removing. An inserted element leaves its former place in the tree, if any. Empty
  // handles, elements of another document, and inserting an element into or below itself are
  // refused with the operation's code; nothing changes then.

  /// Inserts child immediately before ref, a child of this element. XEC_OK, or
  /// XEC_INSERT_BEFORE (13), also when ref is not a child of this element.
  unsigned int insert_pre_child_element(const CElement& ref, const CElement& child) const;

  /// Inserts child before the element that follows ref, or after all children when none follows; so
  /// text and comments after ref stay before child. XEC_OK, or XEC_INSERT_AFTER (14), also when the
  /// element that follows ref is not a child of this element.
  unsigned int insert_next_child_element(const CElement& ref, const CElement& child) const;

  /// Inserts elem immediately before this element, as insert_pre_child_element() does on the parent
  /// with this element as ref. Its codes, or XEC_NO_PARENT (15).
  unsigned int insert_pre_element(const CElement& elem) const;

  /// Inserts elem as this element's next sibling, as insert_next_child_element() does on the parent
  /// with this element as ref. Its codes, or XEC_NO_PARENT (15).
  unsigned int insert_next_element(const CElement& elem) const;

  /// Inserts child before the first child element, or after all children when there is none; text
  /// before the first child element stays in front. XEC_OK, or XEC_INSERT_FRONT (30).
  unsigned int insert_front_child(const CElement& child) const;

  /// Appends child after all children. XEC_OK, or XEC_INSERT_BACK (31).
  unsigned int insert_back_child(const CElement& child) const;

  /// Removes node, a direct child. The node is not freed: the document still owns it, and it may be
  /// inserted again. XEC_OK, XEC_BAD_PARAM (10) for null, or XEC_REMOVE_CHILD (29), also for a node
  /// that is not a child of this element.
  unsigned int remove_child_node(XERCES_CPP_NAMESPACE::DOMNode* node) const;

  /// remove_child_node() for an element; an empty handle gives XEC_BAD_PARAM (10).
  unsigned int remove_child_element(const CElement& child) const;

  /// remove_child_element() that also frees the child and everything below it: their handles must
  /// not be used any more. For trees that change again and again.
  unsigned int discard_child_element(const CElement& child) const;

 private:
  XERCES_CPP_NAMESPACE::DOMElement* m_element;
  XERCES_CPP_NAMESPACE::DOMDocument* m_document;
};

}  // namespace utility

#endif
