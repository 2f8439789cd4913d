// What a script file says, as plain data.
#ifndef FWBASE_SCRIPT_PROGRAM_H
#define FWBASE_SCRIPT_PROGRAM_H

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

#include <fwbase/iscript.h>

#include "fwbase/script/place.h"

namespace fwbase::script {

/// A parameter that a file declares.
struct XmlFuncParamRule {
  std::string tag;  ///< name of the element that holds the argument in a call
  IScript::VType type = IScript::VT_INT;
  bool must = true;
  std::string defaultval;  ///< the argument's text where the element may be missing and is
  Place place;
};

/// A function that a file declares.
struct XmlFuncRule {
  std::string name;
  std::vector<XmlFuncParamRule> params;
  Place place;
};

/// An argument that is the value of a variable of the environment.
struct Reference {
  std::uint32_t argument;  ///< its place among the arguments of its call
  IScript::VType type;
  const char* name;
  std::uint32_t name_size;
  Place place;
};

/// A recorded call.
struct Fun {
  std::uint32_t function;         ///< which of Program::called
  std::uint32_t first_argument;   ///< in Program::arguments; as many as the function has parameters
  std::uint32_t first_reference;  ///< in Program::references
  std::uint32_t reference_count;
  const char* ret;  ///< variable that receives the result; null for none
  Place place;      ///< of the "params", or of the call without any
};

struct Section {
  std::string_view name;
  std::uint32_t first_call = 0;  ///< in Program::calls
  std::uint32_t call_count = 0;
  Place place;
};

/// A global variable.
struct Variable {
  std::string_view name;
  IScript::VType type;
  std::int32_t number;    ///< of a VT_INT
  std::string_view text;  ///< of a VT_STRING
  Place place;
};

/// Everything that one file says. It moves as a whole; its texts stay where they are. A section is
/// a run of calls, a call has runs of arguments and references, so that a program takes few blocks
/// of memory, whatever its size.
struct Program {
  Program() : texts(std::make_unique<std::pmr::monotonic_buffer_resource>()) {}

  /// A copy of a text among the program's, zero-terminated.
  std::string_view keep(std::string_view text);

  std::vector<std::shared_ptr<const XmlFuncRule>> functions;  ///< declared here
  std::vector<std::shared_ptr<const XmlFuncRule>> called;     ///< declared here or in other files
  std::vector<Variable> variables;                            ///< in order; later ones win
  std::vector<Section> sections;
  std::vector<Fun> calls;
  std::vector<IScript::VValue> arguments;  ///< ready to hand over, empty where a reference fills in
  std::vector<Reference> references;

 private:
  std::unique_ptr<std::pmr::monotonic_buffer_resource> texts;
};

/// The type that a type's text names ("int", "string"); false for any other text.
bool type_of(std::string_view text, IScript::VType& type);

/// The number at the start of a text, as stream extraction reads it: blanks are skipped, 0 where
/// there is no number, the nearest limit for a number that is out of range.
std::int32_t int_of(std::string_view text);

}  // namespace fwbase::script

#endif
