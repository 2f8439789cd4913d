// What loading accepts, but hardly anybody means.
#ifndef FWBASE_SCRIPT_WARNINGS_H
#define FWBASE_SCRIPT_WARNINGS_H

#include <string>
#include <vector>

#include "fwbase/script/document.h"
#include "fwbase/script/reader.h"

namespace fwbase::script {

/// Finds what a document holds that nothing reads, numbers that are cut, and names that nothing
/// gives. Where the reader has found a mistake, what depends on it is passed over.
/// signatures    the host's functions; null when the declarations are to be believed
/// environment   the variables that the host sets in the environments of sections
/// Throws std::bad_alloc.
std::vector<Finding> find_warnings(const Document& document, const Signatures* signatures,
                                   const std::vector<std::string>& environment);

/// Whether an int's text is a whole number in the range of 32 bits, blanks around it aside: what
/// int_of() reads all of.
bool is_whole_number(std::string_view text);

}  // namespace fwbase::script

#endif
