// The functions as docs/functions.md describes them, so that the tests hold the text to its word.
#ifndef FWSTD_TESTS_DOCUMENTED_FUNCTIONS_H
#define FWSTD_TESTS_DOCUMENTED_FUNCTIONS_H

#include <optional>
#include <string>
#include <vector>

namespace fwstd::test {

struct DocumentedParameter {
  std::string tag;
  std::string type;
  std::optional<std::string> default_value;
};

struct DocumentedFunction {
  std::string name;
  std::string does;
  std::vector<DocumentedParameter> parameters;
};

/// The rows of the table.
std::vector<DocumentedFunction> documented_functions();

/// A "template" element that declares them all.
std::string documented_template();

}  // namespace fwstd::test

#endif
