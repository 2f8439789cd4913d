// Walks over DOM trees. None of them recurses, so that no depth of nesting can exhaust the stack.
#ifndef UTILITY_XML_DOM_WALK_H
#define UTILITY_XML_DOM_WALK_H

#include "utility/text_codec.h"
#include "utility/xml/xc.h"

#include <cstddef>
#include <xercesc/dom/DOM.hpp>

namespace utility {

/// The text of first and of what follows it: text and CDATA siblings, entity references expanded,
/// up to the first element, comment or processing instruction. DOMText::getWholeText() is not
/// used: it runs past the end of the parent element.
DomText whole_text(const xc::DOMText& first);

/// Whether elements and entity references are nested deeper than limit under and with top.
bool is_deeper_than(std::size_t limit, const xc::DOMNode& top);

/// Frees an element that is in no tree, with its attributes and everything below it. The library
/// alone would keep the attributes as long as the document.
void free_detached(xc::DOMElement* element);

/// A copy of element, attributes included, with everything below it.
xc::DOMElement* deep_copy(const xc::DOMElement& element);

/// Whether two documents have the same content: the same elements, attributes, comments,
/// processing instructions, entity references and document type names in the same places, and
/// the same text between them, in whatever pieces and whether CDATA or not.
bool have_same_content(const xc::DOMDocument& left, const xc::DOMDocument& right);

}  // namespace utility

#endif
