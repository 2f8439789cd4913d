// The built-in script engine: what a host registers, loads, runs and saves, behind one lock.
//
// A load makes a program of a file (document.h, reader.h, program.h) and adds it to the engine. A
// run takes the program that has its section. After that it needs the lock only to read variables
// and to look up functions: it passes other arguments as the program has them. Saving makes a
// document of the file's bytes.
#ifndef FWBASE_SCRIPT_SCRIPT_H
#define FWBASE_SCRIPT_SCRIPT_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <fwbase/check.h>
#include <fwbase/iscript.h>
#include <utility/xml.h>

#include "fwbase/script/reader.h"
#include "fwbase/script/values.h"
#include "support/rw_lock.h"

namespace fwbase {

class CScript : public IScript {
 public:
  /// Destroying an engine that was not released leaks its document.
  CScript() = default;
  CScript(const CScript&) = delete;
  CScript& operator=(const CScript&) = delete;

  // script.cpp
  ec::EC init() override;
  void release() override;
  bool expand_syntax(ISyntax* syntax) override;
  ec::EC get_value(const char* name, VType type, void* out) const override;
  ec::EC set_value(const char* name, VType type, const void* data) override;
  ec::EC rm_value(const char* name) override;
  ec::EC get_value_env(const char* name, VType type, void* out, void* env) const override;
  ec::EC set_value_env(const char* name, VType type, const void* data, void* env) override;

  ec::EC load_script(const char* path) override;                 // script_load.cpp
  ec::EC save_script() override;                                 // script_save.cpp
  ec::EC execute(void* env) override;                            // script_run.cpp
  ec::EC exec_scommad(const char* section, void* env) override;  // script_run.cpp

  /// Calls the host function `name` that was registered last, with the environment of the innermost
  /// run of this engine on this thread (null outside of a run). The function runs without a lock.
  /// Returns the function's result, or SCRIPT_NO_FUNC (logged) when there is no such function.
  /// Throws what the function throws. In script_run.cpp.
  virtual ec::EC Call_Fun(const char* name, const VValue* args, const char* ret);

  /// Reads a script file, which replaces all loaded files. In script_reload.cpp; <fwbase/reload.h>
  /// describes it for hosts.
  ec::EC reload_script(const char* path, std::vector<Finding>* findings);

  /// Frees the variables of an environment. SCRIPT_OK, or SCRIPT_NOT_FOUND (not logged) when it
  /// has none. In script.cpp.
  ec::EC drop_environment(void* env);

  /// The state of each call of a section: 0 never run, 1 the last run succeeded, 2 it failed. Empty
  /// when there is no such section. In script_run.cpp.
  std::vector<int> states(const char* section) const;

  /// Passes each registered function to a visitor, in the order of the names; of several with one
  /// name only the latest. Holds the lock for reading meanwhile. In script.cpp.
  using FunctionVisitor = std::function<void(const std::string& name,
                                             const std::vector<VType>& types, ISyntax& function)>;
  void visit_functions(const FunctionVisitor& visit) const;

  /// A copy of the signatures that loading compares declarations with. In script.cpp.
  script::Signatures signatures() const;

 private:
  class Loaded;
  class Run;
  struct Binding;
  struct LoadedProgram;
  struct Replacement;

  // script.cpp
  ec::EC InsertFunRule(const char* name, const VType* types, int count) FWBASE_REQUIRES(m_lock);
  void drop_document() FWBASE_REQUIRES(m_lock);
  /// Logs that a value of an unknown type is removed.
  void log_unknown(VType type) const;
  /// The same for all values of unknown types in `values`.
  template <typename Table>
  void log_unknown_values(const Table& values) const;
  ec::EC result_of(script::Access access, const char* name, VType type, const void* env) const {
    return access == script::Access::kOk ? ec::SCRIPT_OK : report(access, name, type, env);
  }
  /// Logs why a variable could not be read, and returns the code for that.
  ec::EC report(script::Access access, const char* name, VType type, const void* env) const;

  // script_load.cpp
  ec::EC load_script_document(const char* path) FWBASE_REQUIRES(m_lock);
  void add(script::Program program) FWBASE_REQUIRES(m_lock);
  void log_default(const script::XmlFuncParamRule& rule);
  void log_mistake(const script::Failure& failure);

  // script_reload.cpp
  ec::EC read_replacement(const char* path, Replacement& next, std::vector<Finding>* findings);
  /// False, and nothing has changed, when functions were registered since `next` was read.
  bool replace(Replacement& next);

  // script_run.cpp
  struct FoundSection {
    std::shared_ptr<LoadedProgram> program;
    const script::Section* section = nullptr;
  };
  /// The section, and in `releases` the number of releases at that moment. Has no program when
  /// there is no such section.
  FoundSection find_section(const char* name, unsigned int& releases) const;
  ec::EC exec_section(const FoundSection& found, unsigned int releases, void* env);
  /// The host function of that name that was registered last; null (logged) when there is none.
  ISyntax* find_function(const char* name) const FWBASE_REQUIRES_SHARED(m_lock);
  /// The same for a function that a program calls. The binding remembers the function, so that the
  /// cost of a call does not grow with the number of functions.
  ISyntax* function_of(const script::XmlFuncRule& rule, Binding& binding) const;

  // script_save.cpp
  ec::EC save_script_data() FWBASE_REQUIRES(m_lock);
  void make_document() FWBASE_REQUIRES(m_lock);
  ec::EC get_proc_element(utility::CElement& proc) FWBASE_REQUIRES(m_lock);
  ec::EC remove_proc_data(utility::CElement& proc) FWBASE_REQUIRES(m_lock);
  ec::EC insert_proc_data(utility::CElement& proc) FWBASE_REQUIRES(m_lock);
  ec::EC insert_data_var(utility::CElement& data) FWBASE_REQUIRES(m_lock);
  ec::EC make_var_element(const std::string& name, const script::Value& value,
                          utility::CElement& var) FWBASE_REQUIRES(m_lock);

  mutable support::RwLock m_lock{support::LockRank::kScript};

  // The functions that the host registered. The host owns the objects. The counts change with the
  // lock held for writing, and are read without it.
  std::vector<ISyntax*> m_syntaxes FWBASE_GUARDED_BY(m_lock);
  std::atomic<std::uint64_t> m_registrations = 1;  ///< counts changes of m_syntaxes
  script::Signatures m_templates FWBASE_GUARDED_BY(m_lock);

  // The content of the loaded files. Names point into the programs.
  using FuncRules =
      std::unordered_map<std::string_view, std::shared_ptr<const script::XmlFuncRule>>;
  using Sections = std::unordered_map<std::string_view, FoundSection>;
  FuncRules m_func_rules FWBASE_GUARDED_BY(m_lock);
  Sections m_sections FWBASE_GUARDED_BY(m_lock);
  std::string m_cur_section FWBASE_GUARDED_BY(m_lock);  ///< a section that found no memory

  // The file that saving writes: its document, made when saving first needs it, or its bytes.
  std::string m_script_file FWBASE_GUARDED_BY(m_lock);  ///< also after a load that failed
  std::string m_bytes FWBASE_GUARDED_BY(m_lock);
  utility::CXml m_xml FWBASE_GUARDED_BY(m_lock);

  script::Values m_values FWBASE_GUARDED_BY(m_lock);
  bool m_modified FWBASE_GUARDED_BY(m_lock) = false;  ///< never cleared: saving then always writes

  std::atomic<unsigned int> m_releases = 0;  ///< tells a run that its engine has been released
  bool m_platform FWBASE_GUARDED_BY(m_lock) = false;  ///< this engine initialised the XML platform
};

}  // namespace fwbase

#endif
