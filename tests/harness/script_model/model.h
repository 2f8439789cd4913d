// The script engine written for reading: a model that the engine is compared with.
//
// It does what iscript.h promises in the plainest way: a load walks the document, a run looks up
// every name, and a save changes the document that was loaded. Codes, records, calls and files are
// those of the engine, to the byte. There is no lock, and memory is not expected to run out. It
// uses none of the engine's sources.
#ifndef FWBASE_TESTS_HARNESS_SCRIPT_MODEL_MODEL_H
#define FWBASE_TESTS_HARNESS_SCRIPT_MODEL_MODEL_H

#include <fwbase/iscript.h>
#include <utility/xml.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace fwbase::script_model {

/// Records go to the facade's run log, as the engine's do. The XML platform must be initialised.
/// Only release() frees the document.
class ModelEngine : public IScript {
 public:
  ModelEngine() = default;
  ModelEngine(const ModelEngine&) = delete;
  ModelEngine& operator=(const ModelEngine&) = delete;

  ec::EC init() override;
  void release() override;
  bool expand_syntax(ISyntax* syntax) override;
  ec::EC load_script(const char* path) override;
  ec::EC save_script() override;
  ec::EC execute(void* env) override;
  ec::EC exec_scommad(const char* section, void* env) override;
  ec::EC get_value(const char* name, VType type, void* out) const override;
  ec::EC set_value(const char* name, VType type, const void* data) override;
  ec::EC rm_value(const char* name) override;
  ec::EC get_value_env(const char* name, VType type, void* out, void* env) const override;
  ec::EC set_value_env(const char* name, VType type, const void* data, void* env) override;

 private:
  using Element = utility::CElement;
  using Elements = std::vector<Element>;

  /// A variable, or a literal argument. The member that the type names holds the value.
  struct Value {
    VType type = VT_INT;
    std::int32_t number = 0;
    std::string text = {};
  };
  using Values = std::map<std::string, Value>;

  struct Param {
    std::string tag;
    VType type = VT_INT;
    bool must = true;
    std::string default_text;
  };

  struct Function {
    std::string name;
    std::vector<Param> params;
  };

  struct Argument {
    Value literal;
    std::string ref;  ///< the variable that it is, or empty
  };

  struct Call {
    std::string function;
    std::vector<Argument> arguments;
    std::string ret;
  };
  using Calls = std::vector<Call>;

  // model_load.cpp
  ec::EC load_elements(const Element& root);
  ec::EC load_template(const Element& element);
  ec::EC load_function(const Element& element);
  ec::EC read_param(const Element& element, Param& param);
  ec::EC read_param_type(const Element& element, Param& param);
  ec::EC read_param_must(const Element& element, Param& param);
  ec::EC read_param_default(const Element& element, Param& param);
  ec::EC load_process(const Element& process);
  ec::EC load_data(const Element& data);
  ec::EC load_variable(const Element& var);
  ec::EC load_exec(const Element& exec);
  ec::EC load_section(const Element& section);
  ec::EC load_call(const Element& call, Calls& calls);
  ec::EC compare_with_registered(const Function& function) const;
  ec::EC load_argument_set(const Element& set, const Function& function, Calls& calls);
  ec::EC read_argument(const Elements& found, const Function& function, const Param& param,
                       Argument& argument);
  ec::EC read_given_argument(const Element& element, Argument& argument);
  ec::EC read_ref(const Element& element, Argument& argument);
  ec::EC read_ret(const Elements& found, std::string& ret);

  // model_run.cpp
  Value value_of(const Argument& argument, void* env) const;
  ISyntax* registered(const std::string& name) const;
  void drop(const Value& value);
  ec::EC read(const Values& values, const char* name, VType type, void* out) const;

  // model_save.cpp
  ec::EC find_process(Element& process) const;
  ec::EC remove_data(const Element& process) const;
  ec::EC insert_data(const Element& process) const;
  ec::EC make_variable(const std::string& name, const Value& value, Element& var) const;

  std::vector<ISyntax*> m_registered;
  std::map<std::string, std::vector<VType>> m_signatures;

  utility::CXml m_document;
  std::string m_path;
  std::map<std::string, Function> m_functions;
  std::map<std::string, Calls> m_sections;

  Values m_values;
  std::map<void*, Values> m_env_values;
  bool m_modified = false;
  unsigned int m_releases = 0;
};

}  // namespace fwbase::script_model

#endif
