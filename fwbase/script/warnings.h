// Warnings about content that loading accepts although it is hardly meant.
#ifndef FWBASE_SCRIPT_WARNINGS_H
#define FWBASE_SCRIPT_WARNINGS_H

#include <string>
#include <vector>

#include "fwbase/script/document.h"
#include "fwbase/script/reader.h"

namespace fwbase::script {

/// Finds content that nothing reads, numbers that are cut, and references to variables that nothing
/// sets. Leaves out warnings that depend on a mistake which the reader has found.
///
/// signatures    the host's functions; null when the declarations are to be believed
/// environment   the variables that the host sets in the environments of sections
///
/// Throws std::bad_alloc.
std::vector<Finding> find_warnings(const Document& document, const Signatures* signatures,
                                   const std::vector<std::string>& environment);

/// Whether all of a text is one whole number in the range of 32 bits, with blanks around it or not:
/// then int_of() reads it without a loss.
bool is_whole_number(std::string_view text);

}  // namespace fwbase::script

#endif
