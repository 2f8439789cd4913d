// What is wrong with a script, and where, without loading it; and what scripts may call.
#ifndef FWBASE_CHECK_H
#define FWBASE_CHECK_H

#include <string>
#include <vector>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// One thing that is wrong with a script.
struct Finding {
  bool error;        ///< the script does not load; else a warning: it loads
  int line;          ///< from 1
  int column;        ///< from 1, in characters: a tab is one, a byte order mark none
  std::string rule;  ///< a word for the kind, such as "missing-argument"; docs/fwcheck.md has all
  std::string message;  ///< a sentence in English, UTF-8
  ec::EC code;          ///< what loading gives for an error; 0 for a warning
};

/// What a check takes for granted.
struct CheckOptions {
  /// Believe what the script's own "Func" elements declare, and compare it with no function.
  bool any_function = false;

  /// Variables that the host sets in the environments that it runs sections in.
  std::vector<std::string> environment;
};

/// Finds all that is wrong with a script in one pass, ordered by line, column and rule. The result
/// is as if an empty engine loaded it that has the functions of the facade's built-in engine: there
/// is no error if and only if that load would succeed, and the code of one of the errors is what it
/// would give. The code page is that of the calling thread's locale, as for loading.
///
/// Loads, changes and logs nothing, TRACE included. Null and "" give the finding "unreadable" with
/// SCRIPT_E_PARAM. Without IFWBase::init() every script is "unreadable", as it is for loading.
/// Any thread; takes the engine's lock for reading while it looks at the functions.
/// Throws std::bad_alloc.
FWBASE_NODISCARD FWBASE_API std::vector<Finding> check_script(const char* path);
FWBASE_NODISCARD FWBASE_API std::vector<Finding> check_script(const char* path,
                                                              const CheckOptions& options);

/// The functions that are registered with the facade's built-in engine now, as the JSON text that
/// `fwcheck --print catalogue` prints and `fwcheck --catalogue` reads: with it, a host's scripts
/// are checked where the host is not.
///
///   {"functions": [{"name": "greet", "module": "./host", "description": "Greets somebody.",
///     "parameters": [{"tag": "who", "type": "string", "must": true, "description": ""}]}]}
///
/// Ordered by name; UTF-8; the same text for the same functions. Functions that do not describe
/// themselves (see IFunctionDescription) have the tags "arg1", "arg2" and so on. The module is the
/// path of the library or program that the function lies in.
/// Any thread; takes the engine's lock for reading and asks the functions while it has it. Throws
/// std::bad_alloc.
FWBASE_NODISCARD FWBASE_API std::string catalogue();

}  // namespace fwbase

#endif
