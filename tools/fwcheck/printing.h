// --print: the functions that scripts may call, in forms for people, scripts and editors.
#ifndef FWCHECK_PRINTING_H
#define FWCHECK_PRINTING_H

#include <string>
#include <vector>

#include "functions.h"

namespace fwcheck {

/// A "template" element that declares all functions.
std::string template_text(const std::vector<Function>& functions);

/// An XML Schema of scripts that declare them in this way.
std::string schema_text(const std::vector<Function>& functions);

/// A page with a table of each function.
std::string markdown_text(const std::vector<Function>& functions);

/// Text as the value of an attribute, without quotes around it.
std::string xml_value(const std::string& text);

}  // namespace fwcheck

#endif
