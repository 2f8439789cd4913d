// Checking a script: what the reader finds, and what loading accepts but hardly anybody means.
#include <fwbase/check.h>

#include "fwbase/cfwbase.h"
#include "fwbase/script/findings.h"

namespace fwbase {

std::vector<Finding> check_script(const char* path) { return check_script(path, {}); }

std::vector<Finding> check_script(const char* path, const CheckOptions& options) {
  if (path == nullptr || *path == '\0') {
    return {script::nameless()};
  }
  script::Document document;
  std::string bytes;
  const unsigned int code = document.load(path, bytes);
  const script::Signatures registered =
      static_cast<CFWBase*>(IFWBase::instance())->built_in_script().signatures();
  return script::findings_of(path, document, code, options.any_function ? nullptr : &registered,
                             options.environment);
}

}  // namespace fwbase
