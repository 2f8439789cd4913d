// Checks a script without loading it, and lists the functions that scripts may call.
#ifndef FWBASE_CHECK_H
#define FWBASE_CHECK_H

#include <string>
#include <vector>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// One finding about a script: an error or a warning.
struct Finding {
  bool error;        ///< the script does not load; else a warning: it loads
  int line;          ///< from 1
  int column;        ///< from 1, in characters: a tab is one, a byte order mark none
  std::string rule;  ///< a word for the kind, such as "missing-argument"; docs/fwcheck.md has all
  std::string message;  ///< a sentence in English, UTF-8
  ec::EC code;          ///< what loading gives for an error; 0 for a warning
};

/// What a check assumes.
struct CheckOptions {
  /// Accept the script's own "Func" elements without comparing them with registered functions.
  bool any_function = false;

  /// Variables that the host sets in the environments of its runs.
  std::vector<std::string> environment;
};

/// Finds all errors and warnings of a script in one pass, ordered by line, column and rule. The
/// check imitates a load into an empty engine that has the functions of the facade's built-in
/// engine: it finds an error if and only if that load would fail, and the code of one of the errors
/// is the code of that load. As for loading, the code page is that of the calling thread's locale.
///
/// Loads and changes nothing, and logs nothing, not even at TRACE. Null and "" give the finding
/// "unreadable" with SCRIPT_E_PARAM. Without IFWBase::init() every script is "unreadable", as it is
/// for loading. Any thread. Takes the engine's lock for reading while it reads the functions.
/// Throws std::bad_alloc.
FWBASE_NODISCARD FWBASE_API std::vector<Finding> check_script(const char* path);
/// The same with other assumptions than the defaults of CheckOptions.
FWBASE_NODISCARD FWBASE_API std::vector<Finding> check_script(const char* path,
                                                              const CheckOptions& options);

/// The functions that are registered with the facade's built-in engine at this moment, as the JSON
/// text that `fwcheck --print catalogue` prints and `fwcheck --catalogue` reads. With this text, a
/// host's scripts can be checked on a machine without the host.
///
///   {"functions": [{"name": "greet", "module": "./host", "description": "Greets somebody.",
///     "parameters": [{"tag": "who", "type": "string", "must": true, "description": ""}]}]}
///
/// Ordered by name; UTF-8; the same text for the same functions. Functions that do not describe
/// themselves (see IFunctionDescription) have the tags "arg1", "arg2" and so on. The module is the
/// path of the library or program that contains the function. Any thread. Takes the engine's lock
/// for reading, and asks the functions for their descriptions under that lock. Throws
/// std::bad_alloc.
FWBASE_NODISCARD FWBASE_API std::string catalogue();

}  // namespace fwbase

#endif
