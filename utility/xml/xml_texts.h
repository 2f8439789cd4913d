// Loading a document without its file.
#ifndef UTILITY_XML_XML_TEXTS_H
#define UTILITY_XML_XML_TEXTS_H

#include <utility/xml.h>

#include <string>
#include <string_view>

namespace utility {

/// Documents from bytes that have been read already.
struct XmlTexts {
  /// CXml::load() of a file with these bytes, which is not looked at: the same codes and state, but
  /// for XEC_NO_DOCUMENT.
  static unsigned int load(CXml& xml, const std::string& path, std::string_view bytes);
};

}  // namespace utility

#endif
