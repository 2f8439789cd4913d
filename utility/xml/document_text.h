// Writes a document as XML text, and checks that the text gives the same document.
#ifndef UTILITY_XML_DOCUMENT_TEXT_H
#define UTILITY_XML_DOCUMENT_TEXT_H

#include "utility/xml/document_parser.h"
#include "utility/xml/xc.h"

#include <string>

namespace utility {

/// Writes the document that parser holds, as it is now, as XML in the encoding that it was loaded
/// in, to text. False when that cannot be done unharmed: the text is parsed again and must give
/// the same document. Throws when memory runs out.
bool to_document_text(const DocumentParser& parser, const xc::DOMDocument& document,
                      std::string& text);

}  // namespace utility

#endif
