// Converts texts between the locale's code page, the DOM's UTF-16 and UTF-8.
#ifndef UTILITY_TEXT_CODEC_H
#define UTILITY_TEXT_CODEC_H

#include <string>
#include <string_view>
#include <xercesc/util/XercesDefs.hpp>

namespace utility {

/// Text as the DOM holds it: UTF-16.
using DomText = std::basic_string<XMLCh>;

// Conversions between the code page of the calling thread's locale and the DOM's UTF-16. The XML
// library's own transcoder is not used: as Debian builds it, it takes narrow strings for UTF-8 in
// every locale, and it replaces what it cannot convert.
//
// "C" and "POSIX" locales count as UTF-8. False when the text cannot be converted exactly, or
// holds a zero character (which a DOM string cannot); out is undefined then. Thread-safe.

bool to_dom_text(std::string_view narrow, DomText& out);
bool to_narrow_text(std::basic_string_view<XMLCh> text, std::string& out);

/// Text that the XML library has read (a lone surrogate cannot be in it) as UTF-8.
std::string to_utf8_text(std::basic_string_view<XMLCh> text);

/// Narrow text as UTF-8, for people: what cannot be converted stays as it is.
std::string to_utf8_text(const std::string& narrow);

/// For the thread that is about to fork: makes what its first conversions would make, for its
/// present locale, since that takes a lock of the C library that a child may find held for ever.
void prepare_conversions() noexcept;

}  // namespace utility

#endif
