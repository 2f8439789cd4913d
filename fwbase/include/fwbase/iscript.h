// The script engine: XML scripts that call host functions, with typed variables.
#ifndef FWBASE_ISCRIPT_H
#define FWBASE_ISCRIPT_H

#include <cstdint>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// Runs sections of a script: lists of calls of functions that the host offers.
///
/// A host registers its functions (expand_syntax), loads a script file (load_script), and runs the
/// file's sections by name (exec_scommad). Functions and host share variables: the global ones,
/// which the file's "Data" elements bring and save_script writes back, and those of environments.
///
/// Environments: an environment is any address that the host chooses. The engine never follows it;
///   it is the key of a table of variables and is handed to each function that a run calls. Null is
///   an environment like any other. Global variables and the variables of each environment are
///   separate: a read in one table never falls back to another.
/// Names:     zero-terminated, compared byte by byte, copied by the engine.
/// Data:      `data` and `out` point to a std::int32_t for VT_INT and to a std::string (never to
///   characters) for VT_STRING. Data is copied in and out; the engine keeps no pointer to it.
/// Code page: names and texts of the script file are converted to the code page of the calling
///   thread's locale. Text that the code page cannot express makes the load fail.
/// Threads:   every operation may be called from any thread; one reader-writer lock guards the
///   engine. Runs proceed side by side, and beside loads and all other operations: a run works on
///   what was loaded when it began, and takes the lock only for moments, for reading (see
///   exec_scommad()). Only init() and release() require that no section runs (see there).
/// Results:   failures come as codes and are logged once, at ERROR, unless said otherwise. When
///   memory runs out, the code is SCRIPT_NO_MEMORY (in the parser SCRIPT_E_LOAD, while writing the
///   file SCRIPT_E_SAVE_XML). Records are written while the lock is held: a run log that the host
///   installs must not call the engine from write(), and must not throw. The only exceptions that
///   leave an operation are those of host functions.
struct FWBASE_API IScript {
  /// The type of a variable, a parameter or an argument.
  enum VType : int {
    VT_INT = 0,    ///< signed 32-bit integer, "int" in a script file
    VT_STRING = 1  ///< string of bytes, "string" in a script file
  };

  /// One argument of a call: 8 bytes; unused bytes are zero.
  union VValue {
    std::int32_t int_value;    ///< a VT_INT argument
    const char* string_value;  ///< a VT_STRING argument, zero-terminated, never null
  };

  /// A function that the host offers to scripts. The engine keeps a pointer to the object from
  /// expand_syntax() to release() or init(), and never frees it. name(), param_types() and
  /// param_count() may be called with the engine's lock held and must not call the engine.
  struct FWBASE_API ISyntax {
    /// The function's name. The text must stay valid while the object is registered: it is compared
    /// at every call. After a rename, calls to the old name no longer reach the object; calls to
    /// the new name do, at the latest after the next registration. Several threads may call name()
    /// at once.
    virtual const char* name() = 0;

    /// The parameters' types in order, param_count() of them; read during registration only. May
    /// be null when there are none.
    virtual VType* param_types() = 0;

    /// The number of parameters; zero and less mean none.
    virtual int param_count() = 0;

    /// Runs the function, on the thread that runs the section, without the engine's lock.
    /// args  one per parameter, in order; must not be changed. They and their texts may be gone
    ///       when the call returns
    /// env   the environment of the run
    /// ret   name of the variable for the result, or null when the script wants no result; gone
    ///       when the call returns. The function itself sets that variable, usually with
    ///       set_value_env(ret, ..., env).
    ///
    /// Returns any code. A failure ends the section and becomes the result of the run. An exception
    /// ends the section, too, and reaches the caller of the run; the engine stays usable.
    FWBASE_RESULT virtual ec::EC call(const VValue* args, void* env, const char* ret) = 0;

    virtual ~ISyntax() {}
  };

  /// Brings the engine into service: forgets registered functions and the loaded document, if any,
  /// and initialises the XML platform (Xerces-C) unless this engine has done so already. Variables,
  /// sections, and the signatures of functions stay. Calls of a function that was registered before
  /// end with SCRIPT_NO_FUNC until the function is registered again.
  ///
  /// No section may be running. A section that runs nevertheless ends with SCRIPT_NO_FUNC at its
  /// next call, unless that function has been registered again.
  ///
  /// Returns SCRIPT_OK, or SCRIPT_NO_MEMORY: then call init() again when there is memory. In one
  /// place, while the converter for the code page is made, memory must not run out: if it
  /// does, the XML platform can neither be started nor ended, and each later init() in the process
  /// gives SCRIPT_NO_MEMORY. Traced. Takes the lock for writing.
  FWBASE_RESULT virtual ec::EC init() = 0;

  /// Empties the engine: functions, variables of all tables, sections, the document and its path;
  /// ends the use of the XML platform, if this engine initialised it. The host's functions are not
  /// freed. When memory runs out, the XML platform stays in use until the engine is initialised and
  /// released again. Harmless without init() and when called twice; init() makes the engine ready
  /// again. The engine still remembers that global variables were changed: save_script() then
  /// writes the next script.
  ///
  /// No section may be running. A section that runs nevertheless ends with SCRIPT_E_SECTION as soon
  /// as its present function returns. Traced. Takes the lock for writing.
  virtual void release() = 0;

  /// Registers a function. Its signature replaces that of an earlier function of the same name.
  /// Calls go to the object registered last, in running sections from their next call on. Earlier
  /// objects stay registered.
  /// syntax  the host's; must live until release() or init()
  ///
  /// Returns true, or false with an ERROR record when syntax or its name() is null, its
  /// param_types() is null with a positive param_count(), or memory ran out; nothing changes then.
  /// Traced. Takes the lock for writing.
  FWBASE_RESULT virtual bool expand_syntax(ISyntax* syntax) = 0;

  /// Loads a script file and adds its content to what the engine holds.
  ///
  /// The file's root is "korvid"; below it "template" elements declare functions and "Process"
  /// elements with an empty name hold variables ("Data") and sections ("Exec"). Every function
  /// that a section calls must be registered, with the types that the file declares. Loading is
  /// linear in the size of the file.
  /// path  the file, which save_script() writes back
  ///
  /// Returns
  ///   SCRIPT_OK              loaded
  ///   SCRIPT_E_PARAM         path is null or empty; nothing changed
  ///   SCRIPT_E_LOAD          the file does not exist, cannot be read, is not well-formed, or
  ///                          exceeds the limits in utility/xml.h; or init() has not been called
  ///   SCRIPT_E_ROOT_NAME     the root element is not "korvid"
  ///   SCRIPT_NO_PROCESS      there is no "Process" element
  ///   SCRIPT_E_ATTR          a required attribute is missing, or cannot be converted to the code
  ///                          page
  ///   SCRIPT_E_FORMAT        the children or the text of an element cannot be read or converted
  ///   SCRIPT_FUNC_EXISTS     a function is declared twice, in one file or in several
  ///   SCRIPT_E_SECTION_DUP   a section exists already, from this file or another
  ///   SCRIPT_E_PARAM_TAG     a parameter's tag is "params" or "ret"
  ///   SCRIPT_BAD_PARAM       an unknown type, or a "must" that is neither "true" nor "false"
  ///   SCRIPT_NO_RULE         a call of a function that no "Func" declares, or that is not
  ///                          registered
  ///   SCRIPT_PARAM_COUNT     a called function's declaration has more or fewer parameters than
  ///                          the registered function
  ///   SCRIPT_PARAM_TYPE      a parameter in that declaration has another type
  ///   SCRIPT_E_PARAMS_CHILD  an argument is given twice, or a required one is missing
  ///   SCRIPT_EMPTY_NAME      a "ref" or "ret" without a name
  ///   SCRIPT_SECTION_NESTED  an earlier load ran out of memory at the start of a section;
  ///                          release() is needed
  ///   SCRIPT_NO_MEMORY       memory ran out
  ///
  /// The first failure ends the load. What was read before it stays: functions, variables and
  /// sections, the last of which may lack calls. After any failure but SCRIPT_E_PARAM, path is the
  /// engine's path; after SCRIPT_E_LOAD the engine has no document. A file loaded twice fails at
  /// its first declaration with SCRIPT_FUNC_EXISTS. An argument that takes its default is logged at
  /// DEBUG. Takes the lock for writing.
  FWBASE_RESULT virtual ec::EC load_script(const char* path) = 0;

  /// Writes all global variables into the script file, as the one "Data" element of its process,
  /// sorted by name. Until a set_value() or rm_value() has succeeded, nothing is written; after the
  /// first success, every save writes.
  ///
  /// Returns
  ///   SCRIPT_OK             saved, or nothing to save
  ///   SCRIPT_E_SAVE         load_script() has not been called
  ///   SCRIPT_E_FORMAT       there is no document, as after SCRIPT_E_LOAD. After any other failed
  ///                         load there is a document, and saving drops the variables that were not
  ///                         read
  ///   SCRIPT_NO_PROCESS     the document has no process with an empty name; not logged
  ///   SCRIPT_E_REMOVE, SCRIPT_E_CREATE_NODE, SCRIPT_E_SET_ATTR, SCRIPT_E_INSERT_NODE
  ///                         the document cannot be changed; SCRIPT_E_SET_ATTR also for a name or a
  ///                         string that is not valid text in the code page
  ///   SCRIPT_E_SAVE_XML     the file cannot be written, or a variable holds what XML cannot
  ///                         express, such as a control character
  ///   SCRIPT_NO_MEMORY      memory ran out
  ///
  /// A failure leaves the file as it was. The next save that succeeds writes everything. Takes the
  /// lock for writing.
  FWBASE_RESULT virtual ec::EC save_script() = 0;

  /// Does nothing. Returns SCRIPT_OK.
  FWBASE_RESULT virtual ec::EC execute(void* env) = 0;

  /// Runs a section: its calls in order, up to the first that fails. Arguments are literals of the
  /// script, or values of variables of env, read anew for each call. A variable that is missing or
  /// has another type is logged and passed as 0 or ""; the call is still made.
  /// section  name of the section
  /// env      the environment; handed to every function of this run, whatever else runs at the same
  ///          time
  ///
  /// Returns
  ///   SCRIPT_OK         the section is empty
  ///   SCRIPT_E_PARAM    section is null
  ///   SCRIPT_E_SECTION  no such section, which is not logged; or the engine was released during
  ///                     the run
  ///   SCRIPT_NO_FUNC    a called function is not registered
  ///   SCRIPT_NO_MEMORY  memory for arguments ran out; the call was not made
  ///   any other code    the result of the last function called
  /// What earlier calls did is not undone.
  ///
  /// Takes the lock for reading, for a moment: to begin, to look up a function, and for a call with
  /// variables among its arguments. Functions may use every operation except init() and release(),
  /// and may run sections. All threads that run sections may call a function at the same time.
  FWBASE_RESULT virtual ec::EC exec_scommad(const char* section, void* env) = 0;

  /// Reads a global variable into *out.
  ///
  /// Returns
  ///   SCRIPT_OK         *out is the value
  ///   SCRIPT_E_PARAM    name or out is null
  ///   SCRIPT_NOT_FOUND  no such variable
  ///   SCRIPT_BAD_PARAM  the variable has another type
  ///   SCRIPT_NO_MEMORY  no memory for the copy of the string
  /// On failure *out stays as it was. Takes the lock for reading.
  FWBASE_RESULT virtual ec::EC get_value(const char* name, VType type, void* out) const = 0;

  /// Creates a global variable, or replaces one together with its type.
  ///
  /// Returns
  ///   SCRIPT_OK         set; save_script() will write it
  ///   SCRIPT_E_PARAM    name or data is null
  ///   SCRIPT_BAD_PARAM  type is neither VT_INT nor VT_STRING
  ///   SCRIPT_NO_MEMORY  memory ran out
  /// A failure changes nothing. Takes the lock for writing, after the arguments are checked.
  FWBASE_RESULT virtual ec::EC set_value(const char* name, VType type, const void* data) = 0;

  /// Removes a global variable.
  ///
  /// Returns
  ///   SCRIPT_OK         removed; no longer in the file after save_script()
  ///   SCRIPT_E_PARAM    name is null
  ///   SCRIPT_NOT_FOUND  no such variable; nothing changed
  /// Takes the lock for writing.
  FWBASE_RESULT virtual ec::EC rm_value(const char* name) = 0;

  /// Reads a variable of an environment into *out: as get_value(), with SCRIPT_NOT_FOUND also when
  /// the environment has no variables. Takes the lock for reading, shared with other reads.
  FWBASE_RESULT virtual ec::EC get_value_env(const char* name, VType type, void* out,
                                             void* env) const = 0;

  /// Creates or replaces a variable of an environment. The variables stay until release(), or until
  /// drop_environment() in <fwbase/values.h>. Never saved.
  /// type  VT_INT or VT_STRING. The range is not checked: any other type makes a variable without a
  ///       value, which cannot be read.
  ///
  /// Returns
  ///   SCRIPT_OK         set
  ///   SCRIPT_E_PARAM    name or data is null
  ///   SCRIPT_NO_MEMORY  memory ran out
  /// A failure changes nothing. Takes the lock for writing.
  FWBASE_RESULT virtual ec::EC set_value_env(const char* name, VType type, const void* data,
                                             void* env) = 0;

  virtual ~IScript() {}
};

}  // namespace fwbase

#endif
