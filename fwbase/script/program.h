// The content of a script file, as plain data.
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
  std::string defaultval;  ///< the argument's text when an optional element is missing
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
  std::uint32_t function;         ///< in Program::called
  std::uint32_t first_argument;   ///< in Program::arguments; as many as the function has parameters
  std::uint32_t first_reference;  ///< in Program::references
  std::uint32_t reference_count;
  const char* ret;  ///< variable that receives the result; null for none
  Place place;      ///< of the "params"; of the call when it has none
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

/// The content of one file. When a program is moved, its texts keep their addresses. A section is a
/// range of calls, and a call has ranges of arguments and references: so a program takes few blocks
/// of memory, whatever its size.
struct Program {
  Program() : texts(std::make_unique<std::pmr::monotonic_buffer_resource>()) {}

  /// Copies a text into the program's memory, zero-terminated.
  std::string_view keep(std::string_view text);

  std::vector<std::shared_ptr<const XmlFuncRule>> functions;  ///< declared here
  std::vector<std::shared_ptr<const XmlFuncRule>> called;     ///< declared here or in other files
  std::vector<Variable> variables;                            ///< in order; later ones win
  std::vector<Section> sections;
  std::vector<Fun> calls;
  std::vector<IScript::VValue> arguments;  ///< ready to pass; empty where a reference has its place
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
