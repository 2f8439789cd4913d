// Makes a program of a document: checks the content of each element, and describes the mistakes.
// The reader knows no engine and writes no log.
#ifndef FWBASE_SCRIPT_READER_H
#define FWBASE_SCRIPT_READER_H

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <fwbase/ec.h>

#include "fwbase/script/document.h"
#include "fwbase/script/outline.h"
#include "fwbase/script/program.h"

namespace fwbase::script {

/// The name of the root of every script.
inline constexpr std::string_view kRootElement = "korvid";

/// The parameter types of the functions that a host has registered, by function name.
using Signatures = std::map<std::string, std::vector<IScript::VType>, std::less<>>;

/// The functions and sections that a file is checked against.
class Surroundings {
 public:
  /// The host's functions; null when the declarations are to be believed.
  virtual const Signatures* signatures() const { return nullptr; }

  /// The functions and sections of earlier files.
  virtual std::shared_ptr<const XmlFuncRule> declared(std::string_view) const { return nullptr; }
  virtual bool has_section(std::string_view) const { return false; }
  /// Whether an earlier load is still inside a section.
  virtual bool is_in_section() const { return false; }

  /// Called for each argument that takes its default.
  virtual void default_taken(const XmlFuncParamRule&) {}

  virtual ~Surroundings() = default;
};

/// The mistakes that a file can have, in the order in which elements are read.
enum class Mistake {
  kNone,
  kRootName,  // text: the name
  kFuncName,  // number: the code of the XML operation; so for all without a remark
  kParamTag,
  kReservedTag,  // text: the tag
  kParamType,
  kUnknownType,  // text: the type, of a parameter or a variable
  kParamMust,
  kUnknownMust,  // text: the attribute
  kParamDefault,
  kFunctionExists,  // text: the name
  kNoProcess,
  kProcessName,
  kVarName,
  kVarValue,
  kVarType,
  kSectionName,
  kSectionExists,  // text: the name
  kSectionNested,
  kSectionMemory,  // text: the name; there is no section then
  kUndeclared,     // text: the function
  kUnregistered,   // text: the function
  kParameterCount,
  kParameterType,     // number: the host's type, number2: the declared one
  kUnreadableChild,   // text: the tag
  kRepeatedArgument,  // text: the tag, number: how many
  kMissingArgument,   // text: the tag, text2: the function
  kUnreadableText,    // text: the element
  kEmptyRef,
  kEmptyRet,
  kNoMemory
};

struct Finding {
  bool is_error;
  Place place;
  const char* rule;
  std::string message;
  ec::EC code;  ///< the result of loading; 0 for a warning
};

/// The mistake that ended a load, the first in the order of reading, with the details for the log.
struct Failure {
  Mistake mistake = Mistake::kNone;
  ec::EC code = ec::SCRIPT_OK;
  std::string text;
  std::string text2;
  unsigned int number = 0;
  unsigned int number2 = 0;
};

/// Reads a document up to the first mistake, as a load does. Running out of memory is a mistake
/// like others: `program` has all that was read before.
Failure read_program(const Document& document, Surroundings& surroundings, Program& program);

/// Finds all mistakes of a document; there is none if and only if loading succeeds.
/// Throws std::bad_alloc.
std::vector<Finding> find_mistakes(const Document& document, Surroundings& surroundings);

/// The content of a document as it stands; empty when its root is not that of a script.
/// Throws std::bad_alloc.
Outline read_outline(const Document& document);

}  // namespace fwbase::script

#endif
