// --print: what scripts may call, in the forms that people, scripts and editors read.
#ifndef FWCHECK_PRINTING_H
#define FWCHECK_PRINTING_H

#include <string>
#include <vector>

#include "functions.h"

namespace fwcheck {

/// A "template" element that declares all functions.
std::string template_text(const std::vector<Function>& functions);

/// An XML Schema of scripts that declare them so.
std::string schema_text(const std::vector<Function>& functions);

/// A page with a table of each function.
std::string markdown_text(const std::vector<Function>& functions);

/// Text as the value of an attribute, without the quotes.
std::string xml_value(const std::string& text);

}  // namespace fwcheck

#endif
