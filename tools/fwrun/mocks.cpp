// A mock is made from its declaration in the script.
#include "mocks.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <set>
#include <string>
#include <utility>

#include <fwbase/ifwbase.h>
#include <fwbase/module.h>

#include "command_line/charset.h"
#include "command_line/text.h"
#include "listing.h"
#include "output.h"

namespace fwrun {

using fwbase::IFWBase;
using fwbase::IScript;

class Mocks::Mock : public IScript::ISyntax {
 public:
  explicit Mock(Function declared) : m_declared(std::move(declared)) {
    for (const Parameter& parameter : m_declared.parameters) {
      m_types.push_back(parameter.type == "int" ? IScript::VT_INT : IScript::VT_STRING);
    }
  }

  const char* name() override { return m_declared.name.c_str(); }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }

  ec::EC call(const IScript::VValue* args, void*, const char* ret) override {
    try {
      return print(args, ret != nullptr ? ret : "");
    } catch (const std::bad_alloc&) {
      return ec::SCRIPT_NO_MEMORY;
    }
  }

 private:
  ec::EC print(const IScript::VValue* args, const std::string& result) {
    std::vector<std::string> arguments;
    for (std::size_t i = 0; i < m_types.size(); ++i) {
      const Parameter& parameter = m_declared.parameters[i];
      arguments.push_back(tools::shown_name(parameter.tag) + "=" +
                          (m_types[i] == IScript::VT_INT
                               ? std::to_string(args[i].int_value)
                               : literal(parameter.type, args[i].string_value)));
    }
    if (tools::write_text(call_text(m_declared.name, arguments, result) + "\n")) {
      return ec::SCRIPT_OK;
    }
    const char* const reason = std::strerror(errno);
    FWBASE_LOG(ERROR, "%s: cannot write to standard output: %s",
               tools::gbk_of(m_declared.name).c_str(), reason);
    return ec::SCRIPT_BAD_PARAM;
  }

  Function m_declared;
  std::vector<IScript::VType> m_types;
};

Mocks::Mocks() = default;
Mocks::~Mocks() = default;

bool Mocks::add(const Options& options, const ScriptFile& script, const CallWatch& provided) {
  // A set: a name that is given twice is mocked once.
  for (const std::string& name : std::set(options.mocks.begin(), options.mocks.end())) {
    if (!add(name, options, script, provided)) {
      return false;
    }
  }
  if (options.mock_missing) {
    for (const Function& function : script.functions) {
      if (provided.find(function.name) == nullptr && !add(function)) {
        return false;
      }
    }
  }
  return true;
}

bool Mocks::add(const std::string& name, const Options& options, const ScriptFile& script,
                const CallWatch& provided) {
  const Function* const declared = script.functions.find(name);
  if (declared == nullptr) {
    std::vector<std::string> names;
    for (const Function& function : script.functions) {
      names.push_back(function.name);
    }
    complain({"--mock: '{1}' declares no function '{2}'; it declares: {3}",
              "--mock：“{1}”没有声明函数“{2}”；它声明了：{3}"},
             {options.script, name, names.empty() ? "none" : tools::joined(names)});
    return false;
  }
  if (provided.find(name) != nullptr) {
    complain({"--mock: a module provides '{1}', which needs no mock",
              "--mock：模块提供了“{1}”，不需要代替"},
             {name});
    return false;
  }
  return add(*declared);
}

bool Mocks::add(const Function& declared) {
  Mock& mock = *m_mocks.emplace_back(std::make_unique<Mock>(declared));
  if (IFWBase::instance()->script()->expand_syntax(&mock)) {
    return true;
  }
  complain({"cannot mock '{1}': the script engine refuses it", "无法代替“{1}”：脚本引擎拒绝它"},
           {declared.name});
  return false;
}

}  // namespace fwrun
