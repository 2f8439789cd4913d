// The built-in script engine.
//
// Loading turns the script file into tables (variables, declared functions, sections of recorded
// calls); running a section walks its calls and looks at no XML. The members below are in the
// order of the source files, one per concern. Hosts see IScript only: everything here is open to
// the tests.
#ifndef FWBASE_SCRIPT_SCRIPT_H
#define FWBASE_SCRIPT_SCRIPT_H

#include <fwbase/iscript.h>
#include <utility/xml.h>

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fwbase/script/script_types.h"
#include "fwbase/support/rw_lock.h"

namespace fwbase {

class CScript : public IScript {
 public:
  using Value = script::Value;
  using ValueTable = script::ValueTable;
  using XmlFuncParamRule = script::XmlFuncParamRule;
  using XmlFuncRule = script::XmlFuncRule;
  using Parament = script::Parament;
  using Fun = script::Fun;

  // script.cpp: life cycle. Destroying an engine that was not released leaks its document.
  CScript() = default;
  CScript(const CScript&) = delete;
  CScript& operator=(const CScript&) = delete;
  ec::EC init() override;
  void release() override;
  void drop_values(ValueTable& table);
  void drop_sections() FWBASE_REQUIRES(m_lock);

  /// For the facade, when the process forks.
  support::RwLock& lock() { return m_lock; }

  // The other operations of IScript, by the file that holds them.
  bool expand_syntax(ISyntax* syntax) override;                               // script_rules.cpp
  ec::EC load_script(const char* path) override;                              // script_load.cpp
  ec::EC save_script() override;                                              // script_data.cpp
  ec::EC execute(void* env) override;                                         // script_exec.cpp
  ec::EC exec_scommad(const char* section, void* env) override;               // script_exec.cpp
  ec::EC get_value(const char* name, VType type, void* out) const override;   // script_access.cpp
  ec::EC set_value(const char* name, VType type, const void* data) override;  // script_access.cpp
  ec::EC rm_value(const char* name) override;                                 // script_access.cpp
  ec::EC get_value_env(const char* name, VType type, void* out,
                       void* env) const override;  // script_access.cpp
  ec::EC set_value_env(const char* name, VType type, const void* data,
                       void* env) override;  // script_access.cpp

  /// Hands one call to the host function of that name that was registered last, with m_lock given
  /// up while it runs. m_env is the same before and after, also when other runs had it meanwhile.
  /// SCRIPT_NO_FUNC (logged) without such a function, otherwise what the function returns; an
  /// exception of the function passes. In script_exec.cpp.
  virtual ec::EC Call_Fun(const char* name, const VValue* args, const char* ret)
      FWBASE_REQUIRES(m_lock);

  /// What Call_Fun does once the function is found; SCRIPT_NO_FUNC for null.
  ec::EC call_function(ISyntax* function, const VValue* args, const char* ret)
      FWBASE_REQUIRES(m_lock);

  // script_values.cpp: storage and the two kinds of table. Writers change nothing when they fail;
  // they and the readers throw std::bad_alloc where a copy of a text or a table's node fails.

  /// Frees a value's storage. SCRIPT_BAD_PARAM (logged) for an unknown type, which has none.
  ec::EC DelData(VType type, Value::Data& data);

  /// Writes a global variable; `modified` says that the script file must learn of it.
  ec::EC SetValue(const std::string& name, VType type, const void* data, bool modified)
      FWBASE_REQUIRES(m_lock);

  /// Writes a variable of an environment, whose table is made by the first write.
  ec::EC SetValueEnv(const std::string& name, VType type, const void* data, void* env)
      FWBASE_REQUIRES(m_lock);

  /// Reads a variable of an environment, never the global one. `*out` is set on success only, and
  /// `*place` to the value itself, which stays there until release().
  ec::EC GetValueEnv(std::string_view name, VType type, void* out, void* env,
                     const Value** place = nullptr) const FWBASE_REQUIRES_SHARED(m_lock);

  /// Assigns a value to the caller's int or string; false for an unknown type.
  static bool copy_out(const Value& value, void* out);

  /// Puts a value under a name, in place of the one that it has.
  void put_value(ValueTable& table, const std::string& name, Value&& value);

  // script_rules.cpp: host signatures and the functions that the file declares.

  /// Stores a host function's parameter types, in place of earlier ones of that name.
  ec::EC InsertFunRule(const char* name, VType* types, int count) FWBASE_REQUIRES(m_lock);
  ec::EC proc_template_element(utility::CElement& element) FWBASE_REQUIRES(m_lock);
  ec::EC proc_func_element(utility::CElement& func) FWBASE_REQUIRES(m_lock);
  ec::EC proc_param_element(utility::CElement& param, XmlFuncParamRule& rule);
  ec::EC proc_param_type(utility::CElement& param, XmlFuncParamRule& rule);
  ec::EC proc_param_must(utility::CElement& param, XmlFuncParamRule& rule);
  ec::EC proc_param_default(utility::CElement& param, XmlFuncParamRule& rule);

  // script_calls.cpp: call elements become recorded calls.

  /// A child of an argument set.
  struct NamedChild {
    std::string name;
    std::size_t position;
    utility::CElement element;
  };
  /// The children of an argument set, by name and then in their order, so that finding an argument
  /// does not take a walk through all of them.
  using ChildrenByName = std::vector<NamedChild>;

  ec::EC proc_function(utility::CElement& call) FWBASE_REQUIRES(m_lock);
  /// Compares a declaration with the host's signature.
  ec::EC Test_XmlFunRule(XmlFuncRule& rule) FWBASE_REQUIRES_SHARED(m_lock);
  /// Reads one argument set and appends the call to the section being loaded.
  ec::EC proc_params_element(utility::CElement& set, XmlFuncRule& rule) FWBASE_REQUIRES(m_lock);
  /// False when the set cannot be read.
  static bool children_by_name(const utility::CElement& set, ChildrenByName& children);
  /// Those of one name.
  static std::span<NamedChild> children_named(ChildrenByName& children, std::string_view name);
  ec::EC proc_params_child(ChildrenByName& children, const std::string& function,
                           const XmlFuncParamRule& rule, Parament& argument);
  ec::EC proc_ret_child(ChildrenByName& children, std::string& ret);
  ec::EC proc_function_param(utility::CElement& element, VType type, Parament& argument);
  ec::EC proc_ref_element(utility::CElement& ref, Parament& argument);
  /// Stores a text as the literal value of an argument.
  ec::EC set_literal(VType type, std::string text, Value::Data& data);

  // script_data.cpp: "Data" elements, in and out.
  ec::EC proc_data_element(utility::CElement& data) FWBASE_REQUIRES(m_lock);
  ec::EC proc_var_element(utility::CElement& var) FWBASE_REQUIRES(m_lock);
  ec::EC save_script_data() FWBASE_REQUIRES(m_lock);
  ec::EC get_proc_element(const std::string& name, utility::CElement& proc) FWBASE_REQUIRES(m_lock);
  ec::EC remove_proc_data(utility::CElement& proc) FWBASE_REQUIRES(m_lock);
  ec::EC insert_proc_data(utility::CElement& proc) FWBASE_REQUIRES(m_lock);
  ec::EC insert_data_var(utility::CElement& data) FWBASE_REQUIRES(m_lock);
  ec::EC make_var_element(const std::string& name, const Value& value, utility::CElement& var)
      FWBASE_REQUIRES(m_lock);

  // script_load.cpp: the walk of the document.
  ec::EC load_script_document(const char* path) FWBASE_REQUIRES(m_lock);
  ec::EC load_script_elements(utility::CElement& root) FWBASE_REQUIRES(m_lock);
  ec::EC proc_proc_element(utility::CElement& process) FWBASE_REQUIRES(m_lock);
  ec::EC proc_exec_element(utility::CElement& exec) FWBASE_REQUIRES(m_lock);
  ec::EC proc_section_element(utility::CElement& section) FWBASE_REQUIRES(m_lock);
  ec::EC proc_section_calls(utility::CElement& section) FWBASE_REQUIRES(m_lock);

  // script_exec.cpp: running a section.
  class CallArguments;

  /// The host function of that name that was registered last; null (logged) when there is none.
  ISyntax* find_function(const char* name) const FWBASE_REQUIRES_SHARED(m_lock);
  /// The same for the function of a recorded call, which is remembered with its declaration: what
  /// a call costs must not grow with the number of functions.
  ISyntax* function_of(XmlFuncRule& rule) FWBASE_REQUIRES(m_lock);
  /// Runs a section in the environment m_env.
  ec::EC exec_section(const char* section) FWBASE_REQUIRES(m_lock);
  /// Resolves a call's arguments; false when memory ran out.
  bool make_arguments(Fun& call, CallArguments& arguments) const FWBASE_REQUIRES(m_lock);
  std::int32_t int_argument(Parament& param) const FWBASE_REQUIRES(m_lock);
  bool set_text_argument(Parament& param, std::size_t index, CallArguments& arguments) const
      FWBASE_REQUIRES(m_lock);
  /// Reads the variable that an argument refers to.
  void read_reference(Parament& param, void* out) const FWBASE_REQUIRES(m_lock);
  /// Frees the arguments' data and empties the list.
  void ClearParam(std::list<Parament>& params);

  mutable support::RwLock m_lock;

  // What the host registered; the objects are the host's.
  std::list<ISyntax*> m_syntaxes FWBASE_GUARDED_BY(m_lock);
  std::uint64_t m_registrations FWBASE_GUARDED_BY(m_lock) = 1;  ///< counts changes of m_syntaxes
  std::map<std::string, std::list<VType>, std::less<>> m_templates FWBASE_GUARDED_BY(m_lock);

  // What the file brought.
  utility::CXml m_xml FWBASE_GUARDED_BY(m_lock);
  std::string m_script_file FWBASE_GUARDED_BY(m_lock);  ///< also after a load that failed
  std::string m_proc_name FWBASE_GUARDED_BY(m_lock);    ///< selects processes; nothing sets it
  std::map<std::string, XmlFuncRule, std::less<>> m_func_rules FWBASE_GUARDED_BY(m_lock);
  std::map<std::string, std::unique_ptr<std::list<Fun>>, std::less<>> m_sections
      FWBASE_GUARDED_BY(m_lock);
  std::string m_cur_section FWBASE_GUARDED_BY(m_lock);  ///< the one being loaded, else empty

  // Variables.
  ValueTable m_values FWBASE_GUARDED_BY(m_lock);
  std::map<void*, std::unique_ptr<ValueTable>> m_env_values FWBASE_GUARDED_BY(m_lock);
  bool m_modified FWBASE_GUARDED_BY(m_lock) = false;  ///< never cleared: saving then always writes

  void* m_env FWBASE_GUARDED_BY(m_lock) = nullptr;  ///< of the run that has, or gave up, the lock
  unsigned int m_releases FWBASE_GUARDED_BY(m_lock) = 0;  ///< tells a run that its tables are gone
  bool m_platform FWBASE_GUARDED_BY(m_lock) = false;  ///< this engine initialised the XML platform
};

}  // namespace fwbase

#endif
