// The model's life cycle, its runs of sections, and its variables.
#include <algorithm>
#include <cstring>

#include "fwbase/runlog/runlog.h"
#include "tests/harness/script_model/model.h"

namespace fwbase::script_model {

ec::EC ModelEngine::init() {
  m_registered.clear();
  m_document.release();
  return ec::SCRIPT_OK;
}

void ModelEngine::release() {
  ++m_releases;
  m_registered.clear();
  m_signatures.clear();
  m_document.release();
  m_path.clear();
  m_functions.clear();
  m_sections.clear();
  m_values.clear();
  for (const auto& [env, values] : m_env_values) {
    for (const auto& [name, value] : values) {
      drop(value);
    }
  }
  m_env_values.clear();
}

bool ModelEngine::expand_syntax(ISyntax* syntax) {
  if (syntax == nullptr) {
    RUN_LOG(ERROR, "param is error: psyx=%x", addr32(syntax));
    return false;
  }
  const int count = syntax->param_count();
  const VType* const types = syntax->param_types();
  const char* const name = syntax->name();
  if (name == nullptr || (types == nullptr && count > 0)) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(types));
    return false;
  }
  m_signatures[name].assign(types, types + std::max(count, 0));
  m_registered.push_back(syntax);
  return true;
}

// --- Runs ---

ec::EC ModelEngine::execute(void*) { return ec::SCRIPT_OK; }

ec::EC ModelEngine::exec_scommad(const char* section, void* env) {
  if (section == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=%x", addr32(section));
    return ec::SCRIPT_E_PARAM;
  }
  const auto found = m_sections.find(section);
  if (found == m_sections.end()) {
    return ec::SCRIPT_E_SECTION;
  }
  const unsigned int releases = m_releases;
  ec::EC result = ec::SCRIPT_OK;
  const Calls calls = found->second;  // functions may release the engine
  for (const Call& call : calls) {
    std::vector<Value> values;
    for (const Argument& argument : call.arguments) {
      values.push_back(value_of(argument, env));
    }
    std::vector<VValue> slots(values.size(), VValue{.string_value = nullptr});
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (values[i].type == VT_INT) {
        slots[i].int_value = values[i].number;
      } else {
        slots[i].string_value = values[i].text.c_str();
      }
    }
    ISyntax* const function = registered(call.function);
    if (function == nullptr) {
      return ec::SCRIPT_NO_FUNC;
    }
    result = function->call(slots.data(), env, call.ret.empty() ? nullptr : call.ret.c_str());
    if (m_releases != releases) {
      return ec::SCRIPT_E_SECTION;
    }
    if (ec::failed(result)) {
      return result;
    }
  }
  return result;
}

// A variable that cannot be read has been logged; the call is made with 0 or nothing.
ModelEngine::Value ModelEngine::value_of(const Argument& argument, void* env) const {
  Value value = argument.literal;
  if (!argument.ref.empty()) {
    void* const out = value.type == VT_INT ? static_cast<void*>(&value.number) : &value.text;
    get_value_env(argument.ref.c_str(), value.type, out, env);
  }
  return value;
}

IScript::ISyntax* ModelEngine::registered(const std::string& name) const {
  const auto found = std::find_if(m_registered.rbegin(), m_registered.rend(),
                                  [&](ISyntax* syntax) { return name == syntax->name(); });
  if (found == m_registered.rend()) {
    RUN_LOG(ERROR, "不存在的脚本函数:(%s)", name.c_str());
    return nullptr;
  }
  return *found;
}

// --- Variables ---

// Only set_value_env() makes values of other types.
void ModelEngine::drop(const Value& value) {
  if (value.type != VT_INT && value.type != VT_STRING) {
    RUN_LOG(ERROR, "错误的类型，0x%x", value.type);
  }
}

ec::EC ModelEngine::read(const Values& values, const char* name, VType type, void* out) const {
  const auto found = values.find(name);
  if (found == values.end()) {
    RUN_LOG(ERROR, "没有对应的变量,name[%s]\n", name);
    return ec::SCRIPT_NOT_FOUND;
  }
  const Value& value = found->second;
  if (value.type != type) {
    RUN_LOG(ERROR, "变量:(%s)类型不匹配", name);
    return ec::SCRIPT_BAD_PARAM;
  }
  switch (type) {
    case VT_INT:
      *static_cast<std::int32_t*>(out) = value.number;
      return ec::SCRIPT_OK;
    case VT_STRING:
      *static_cast<std::string*>(out) = value.text;
      return ec::SCRIPT_OK;
  }
  RUN_LOG(ERROR, "value type error:%d", type);
  return ec::SCRIPT_BAD_PARAM;
}

ec::EC ModelEngine::get_value(const char* name, VType type, void* out) const {
  if (name == nullptr || out == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(out));
    return ec::SCRIPT_E_PARAM;
  }
  return read(m_values, name, type, out);
}

ec::EC ModelEngine::get_value_env(const char* name, VType type, void* out, void* env) const {
  if (name == nullptr || out == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(out));
    return ec::SCRIPT_E_PARAM;
  }
  const auto values = m_env_values.find(env);
  if (values == m_env_values.end()) {
    RUN_LOG(ERROR, "没有改环境对应的符号表, env[0x%x]", addr32(env));
    return ec::SCRIPT_NOT_FOUND;
  }
  return read(values->second, name, type, out);
}

ec::EC ModelEngine::set_value(const char* name, VType type, const void* data) {
  if (name == nullptr || data == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(data));
    return ec::SCRIPT_E_PARAM;
  }
  if (type != VT_INT && type != VT_STRING) {
    RUN_LOG(ERROR, "value type error:%d", type);
    return ec::SCRIPT_BAD_PARAM;
  }
  m_values[name] = type == VT_INT ? Value{type, *static_cast<const std::int32_t*>(data)}
                                  : Value{type, 0, *static_cast<const std::string*>(data)};
  m_modified = true;
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::set_value_env(const char* name, VType type, const void* data, void* env) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(data));
    return ec::SCRIPT_E_PARAM;
  }
  if (data == nullptr) {
    RUN_LOG(ERROR, "参数错误");
    return ec::SCRIPT_E_PARAM;
  }
  Value value{type};
  if (type == VT_INT) {
    value.number = *static_cast<const std::int32_t*>(data);
  } else if (type == VT_STRING) {
    value.text = *static_cast<const std::string*>(data);
  }
  Values& values = m_env_values[env];
  if (const auto old = values.find(name); old != values.end()) {
    drop(old->second);
  }
  values[name] = value;
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::rm_value(const char* name) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=%x", addr32(name));
    return ec::SCRIPT_E_PARAM;
  }
  if (m_values.erase(name) == 0) {
    RUN_LOG(ERROR, "value is con`t find. vname=%s\n", name);
    return ec::SCRIPT_NOT_FOUND;
  }
  m_modified = true;
  return ec::SCRIPT_OK;
}

}  // namespace fwbase::script_model
