// What the script engine's tables hold: variables, declared functions, recorded calls.
#ifndef FWBASE_SCRIPT_SCRIPT_TYPES_H
#define FWBASE_SCRIPT_SCRIPT_TYPES_H

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>

#include <fwbase/iscript.h>

namespace fwbase::script {

/// A variable's value. It owns its storage, which it shares with nobody: data is copied in and out.
struct Value {
  /// The storage: the member that the type names, or none for a type that is neither.
  struct Data {
    std::unique_ptr<std::int32_t> int_value;
    std::unique_ptr<std::string> string_value;
  };

  IScript::VType type = IScript::VT_INT;
  Data data;
};

/// Variables by name. The comparison is transparent, so that a lookup makes no string.
using ValueTable = std::map<std::string, Value, std::less<>>;

/// A parameter that the script file declares.
struct XmlFuncParamRule {
  std::string tag;  ///< name of the element that holds the argument in a call
  IScript::VType type = IScript::VT_INT;
  bool must = true;
  std::string defaultval;  ///< the argument's text where the element may be missing and is
};

/// A function that the script file declares.
struct XmlFuncRule {
  std::string name;
  std::list<XmlFuncParamRule> params;

  /// The host's function that a call found, good while registrations is the engine's count.
  IScript::ISyntax* function = nullptr;
  std::uint64_t registrations = 0;
};

/// An argument of a recorded call: a literal, or a reference to a variable of the environment.
struct Parament {
  IScript::VType type = IScript::VT_INT;
  Value::Data data;      ///< the literal; nothing for a reference
  std::string ref_name;  ///< the variable referred to; empty for a literal

  /// The variable that the last run found, good for runs in its environment.
  const Value* found = nullptr;
  void* found_in = nullptr;
};

/// A recorded call.
struct Fun {
  std::int32_t state =
      0;  ///< 0 never run, 1 the last run succeeded, 2 it failed or has not returned
  std::string name;
  std::list<Parament> params;  ///< one per declared parameter, in their order
  std::string ret;             ///< variable that receives the result; empty for none

  /// The declaration, which stays where it is as long as the call.
  XmlFuncRule* rule = nullptr;
};

/// The type that a type's text names ("int", "string"); false for any other text.
bool type_of(const std::string& text, IScript::VType& type);

/// The number at the start of a text, as stream extraction reads it: blanks are skipped, 0 where
/// there is no number, the nearest limit for a number that is out of range.
std::int32_t int_of(const std::string& text);

}  // namespace fwbase::script

#endif
