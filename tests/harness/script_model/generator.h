// Script files made from the bytes of an input: most are almost right.
#ifndef FWBASE_TESTS_HARNESS_SCRIPT_MODEL_GENERATOR_H
#define FWBASE_TESTS_HARNESS_SCRIPT_MODEL_GENERATOR_H

#include <array>
#include <memory>
#include <string>

#include "fuzz/harness/input.h"

namespace fwbase::script_model {

/// What generated scripts call their first sections, and their variables.
inline constexpr std::array kSectionNames = {"s", "t", "", "\xE8\x8A\x82", "two words"};
inline constexpr std::array kVariableNames = {"x", "y", "z", "\xE5\x8F\x98\xE9\x87\x8F",
                                              "\xF0\x9F\x98\x80"};

/// Makes files for one engine: a later one has other names than those before, and calls their
/// functions as well.
class ScriptGenerator {
 public:
  /// Takes its choices off the input, which must outlive it.
  explicit ScriptGenerator(fuzz::Input& input);
  ~ScriptGenerator();

  /// A small file with elements of every kind, in every form that the input's bytes choose, and
  /// with the few mistakes that they choose. Behind the end of the input everything is plain and
  /// right.
  std::string file();

 private:
  class Grammar;
  const std::unique_ptr<Grammar> m_grammar;
};

}  // namespace fwbase::script_model

#endif
