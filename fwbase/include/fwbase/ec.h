// Result codes of every component.
//
// A code is 32 bits: bit 31 tells success, bits 18 to 30 name the facility (the component), bits 0
// to 17 the reason, numbered per facility and zero in a success. Test codes with succeeded() and
// failed() only: a component may pass on the success code of another one, and 0x80000000 is a
// success although its facility is 0.
#ifndef FWBASE_EC_H
#define FWBASE_EC_H

#include <cstdint>

/// Result codes, their names and texts. Inside fwbase the namespace has the same name.
namespace ec {

/// A result code.
typedef std::uint32_t EC;

constexpr EC FAC_GENV = 0;    ///< global environment
constexpr EC FAC_MM = 1;      ///< module manager
constexpr EC FAC_SCRIPT = 2;  ///< script engine
constexpr EC FAC_LOG = 3;     ///< run log
constexpr EC FAC_FW = 4;      ///< framework facade
constexpr EC FAC_DB = 5;      ///< data blocks

// clang-format off
/// The one list of the codes that the library itself returns: X(name, value, text).
#define FWBASE_EC_TABLE(X)                                                                        \
  X(GENV_OK, 0x80000000u, "global environment: success")                                          \
  X(GENV_BAD_PARAM, 0x00000001u, "a name, value or object argument is null")                      \
  X(GENV_STR_EXISTS, 0x00000002u, "a string of that name already exists")                         \
  X(GENV_STR_NOT_FOUND, 0x00000003u, "no string of that name (here or in the parent environment)") \
  X(GENV_ADDR_EXISTS, 0x00000004u, "an address of that name already exists")                      \
  X(GENV_ADDR_NOT_FOUND, 0x00000005u, "no address of that name")                                  \
  X(GENV_OBJ_EXISTS, 0x00000006u, "an object of that name already exists")                        \
  X(GENV_OBJ_NOT_FOUND, 0x00000007u, "no object of that name")                                    \
  X(MM_OK, 0x80040000u, "module manager: success")                                                \
  X(MM_BAD_PARAM, 0x00040001u,                                                                    \
    "bad argument (null path, function name or factory), or the module's creation function is null") \
  X(MM_LOAD_FAILED, 0x00040002u,                                                                  \
    "the library object for a module's library file could not be allocated")                      \
  X(MM_BAD_FACTORY, 0x00040003u, "the given factory is not a valid module")                       \
  X(MM_FACTORY_FAILED, 0x00040004u, "the factory failed to create the module")                    \
  X(MM_INIT_FAILED, 0x00040006u, "the module's creation function returned no instance")           \
  X(SCRIPT_OK, 0x80080000u, "script engine: success")                                             \
  X(SCRIPT_E_SECTION, 0x00080002u, "no section of that name to execute")                          \
  X(SCRIPT_BAD_PARAM, 0x00080003u,                                                                \
    "wrong or unrecognised type or value: a variable of another type, a value type that is "      \
    "neither integer nor string, an unknown parameter type, an unknown must value")               \
  X(SCRIPT_NOT_FOUND, 0x00080004u, "no such variable, or no symbol table for the given environment") \
  X(SCRIPT_NO_RULE, 0x00080005u,                                                                  \
    "no template registered for a function, or a call of a function that no function declaration names") \
  X(SCRIPT_SECTION_NESTED, 0x0008000au, "a section nested inside a section")                      \
  X(SCRIPT_E_PARAM, 0x0008000bu,                                                                  \
    "bad argument to a public value or load operation (also an empty script file name)")          \
  X(SCRIPT_NO_FUNC, 0x0008000du, "call of a script function for which no syntax extension exists") \
  X(SCRIPT_E_ROOT_NAME, 0x0008000eu, "the script document's root element is not the required one") \
  X(SCRIPT_E_LOAD, 0x0008000fu, "the script document could not be loaded")                        \
  X(SCRIPT_NO_PROCESS, 0x00080010u, "the script has no process element")                          \
  X(SCRIPT_E_FORMAT, 0x00080011u, "the root or a child element of the script document cannot be read") \
  X(SCRIPT_E_ATTR, 0x00080012u, "an attribute of a script element cannot be read or is invalid")  \
  X(SCRIPT_E_SECTION_DUP, 0x00080013u, "a section of that name already exists")                   \
  X(SCRIPT_E_PARAM_TAG, 0x00080014u, "a parameter's tag equals a script keyword")                 \
  X(SCRIPT_NO_MEMORY, 0x00080015u, "memory allocation failed")                                    \
  X(SCRIPT_PARAM_COUNT, 0x00080016u,                                                              \
    "a function declares another number of parameters than its template")                         \
  X(SCRIPT_PARAM_TYPE, 0x00080017u, "a parameter's type differs from the template")               \
  X(SCRIPT_E_PARAMS_CHILD, 0x00080018u,                                                           \
    "a parameter tag occurs more than once, or a required one is missing")                        \
  X(SCRIPT_EMPTY_NAME, 0x00080019u, "an empty reference or return variable name")                 \
  X(SCRIPT_E_SAVE, 0x0008001au, "the script cannot be saved (no file loaded)")                    \
  X(SCRIPT_E_SAVE_XML, 0x0008001bu, "writing the script document failed")                         \
  X(SCRIPT_E_REMOVE, 0x0008001cu, "removing a data element failed")                               \
  X(SCRIPT_E_CREATE_NODE, 0x0008001du, "creating an element failed")                              \
  X(SCRIPT_E_SET_ATTR, 0x0008001eu, "setting an attribute failed")                                \
  X(SCRIPT_E_INSERT_NODE, 0x0008001fu, "inserting a child element failed")                        \
  X(SCRIPT_FUNC_EXISTS, 0x00080020u, "a function of that name already exists")                    \
  X(LOG_OK, 0x800c0000u, "run log: success")                                                      \
  X(LOG_BAD_PARAM, 0x000c0001u, "null log file name")                                             \
  X(LOG_THREAD_FAILED, 0x000c0004u, "the writer thread could not be started")                     \
  X(LOG_OPEN_FAILED, 0x000c0005u, "the log file could not be opened")                             \
  X(LOG_NO_MEMORY, 0x000c0006u, "the file stream could not be allocated")                         \
  X(FW_OK, 0x80100000u, "framework facade: success")                                              \
  X(FW_ENV_EXISTS, 0x00100001u, "an environment is already registered for that key")              \
  X(FW_NO_MEMORY, 0x00100002u, "a new environment could not be allocated")                        \
  X(DB_OK, 0x80140000u, "data blocks: success")                                                   \
  X(DB_NO_MEMORY, 0x00140001u, "the data block or its buffer could not be allocated")
// clang-format on

#define FWBASE_EC_CONSTANT(code, value, meaning) constexpr EC code = value; /**< meaning */
FWBASE_EC_TABLE(FWBASE_EC_CONSTANT)
#undef FWBASE_EC_CONSTANT

/// True when `code` is a success: bit 31 is set, whatever the other bits are.
constexpr bool succeeded(EC code) { return (code & 0x80000000u) != 0; }

/// True when `code` is a failure. A host component may return 0, which is a failure.
constexpr bool failed(EC code) { return !succeeded(code); }

/// The name of a code as written in source, such as "SCRIPT_E_SECTION", or "UNKNOWN" for a value
/// that the library does not define. The text is static. Callable from any thread.
inline const char* name(EC code) {
#define FWBASE_EC_NAME(id, value, meaning) \
  case id:                                 \
    return #id;
  switch (code) {
    FWBASE_EC_TABLE(FWBASE_EC_NAME)
    default:
      return "UNKNOWN";
  }
#undef FWBASE_EC_NAME
}

/// One line of English that says what a code means. For a value that the library does not define,
/// the line says whether the value is a success or a failure. The text is static. Callable from any
/// thread.
inline const char* text(EC code) {
#define FWBASE_EC_TEXT(id, value, meaning) \
  case id:                                 \
    return meaning;
  switch (code) {
    FWBASE_EC_TABLE(FWBASE_EC_TEXT)
    default:
      return succeeded(code) ? "a success code that is not the library's own"
                             : "a failure code that is not the library's own";
  }
#undef FWBASE_EC_TEXT
}

}  // namespace ec

namespace fwbase {
namespace ec = ::ec;
}  // namespace fwbase

#endif
