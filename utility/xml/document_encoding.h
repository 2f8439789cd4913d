// Finds damaged bytes that the XML library reads as if they were good.
#ifndef UTILITY_XML_DOCUMENT_ENCODING_H
#define UTILITY_XML_DOCUMENT_ENCODING_H

#include "utility/xml/xc.h"

#include <string_view>
#include <xercesc/framework/MemoryManager.hpp>

namespace utility {

/// Whether all bytes of a document that the XML library has parsed are characters of its encoding.
/// The library reads some damaged texts as if they were good ones, and a save would keep the
/// damage:
/// - a character that is cut off at the end of the file is left out;
/// - zeros behind the root element count as the end of the text;
/// - a surrogate without its other half passes at the end of an attribute;
/// - in UTF-8, bytes for numbers from 0x140000 on become two such surrogates;
/// - in encodings that the library has from ICU, bytes that are no character become U+FFFD. So in
///   those a document that holds this character is refused as well.
/// encoding is the one that the library has used (getInputEncoding() of a DOM document, the last
/// argument of XMLDocumentHandler::XMLDecl()), null for UTF-8.
///
/// Throws when memory runs out.
bool is_whole(std::string_view text, const XMLCh* encoding, xc::MemoryManager& memory);

}  // namespace utility

#endif
