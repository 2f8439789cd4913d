// The findings that a host gets for a script file which it checks without loading it.
#ifndef FWBASE_SCRIPT_FINDINGS_H
#define FWBASE_SCRIPT_FINDINGS_H

#include <string>
#include <vector>

#include <fwbase/check.h>

#include "fwbase/script/document.h"
#include "fwbase/script/reader.h"

namespace fwbase::script {

/// An engine with functions and nothing else.
class EmptyEngine : public Surroundings {
 public:
  /// signatures   the functions; null when the declarations are to be believed
  explicit EmptyEngine(const Signatures* signatures) : m_signatures(signatures) {}

  const Signatures* signatures() const override { return m_signatures; }

 private:
  const Signatures* m_signatures;
};

/// All mistakes and warnings of a file that an empty engine loads, in the order of the places.
///
/// document     the result of reading the file
/// code         the code of reading the file
/// signatures   the functions; null when the declarations are to be believed
/// environment  the variables that the host sets in the environments of sections
///
/// Throws std::bad_alloc, also when reading the file ran out of memory.
std::vector<fwbase::Finding> findings_of(const char* path, const Document& document,
                                         unsigned int code, const Signatures* signatures,
                                         const std::vector<std::string>& environment);

/// The finding for a null or empty path.
fwbase::Finding nameless();

}  // namespace fwbase::script

#endif
