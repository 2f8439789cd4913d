#ifndef UTILITY_DOM_TEXT_H
#define UTILITY_DOM_TEXT_H

#include "utility/text_codec.h"

#include <xercesc/dom/DOM.hpp>

namespace utility {

/// The text of first and of what follows it: text and CDATA siblings, entity references expanded,
/// up to the first element, comment or processing instruction. DOMText::getWholeText() is not
/// used: it runs past the end of the parent element.
DomText whole_text(const XERCES_CPP_NAMESPACE::DOMText& first);

}  // namespace utility

#endif
