// Storage of values, and the two kinds of table: the global one and one per environment.
#include <algorithm>
#include <charconv>
#include <limits>
#include <new>
#include <system_error>
#include <utility>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"

namespace fwbase {

using support::addr32;

namespace {

// Copies a caller's datum into fresh storage; none is made for an unknown type. False when memory
// ran out.
bool copy_in(IScript::VType type, const void* source, script::Value::Data& made) {
  switch (type) {
    case IScript::VT_INT:
      made.int_value.reset(new (std::nothrow)
                               std::int32_t(*static_cast<const std::int32_t*>(source)));
      return made.int_value != nullptr;
    case IScript::VT_STRING: {
      std::string copy(*static_cast<const std::string*>(source));
      made.string_value.reset(new (std::nothrow) std::string(std::move(copy)));
      return made.string_value != nullptr;
    }
  }
  return true;
}

}  // namespace

bool script::type_of(const std::string& text, IScript::VType& type) {
  if (text == "int") {
    type = IScript::VT_INT;
    return true;
  }
  if (text == "string") {
    type = IScript::VT_STRING;
    return true;
  }
  return false;
}

std::int32_t script::int_of(const std::string& text) {
  const char* const end = text.data() + text.size();
  const char* first = text.data() + std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  if (first != end && *first == '+' && first + 1 != end && first[1] != '-') {
    ++first;  // std::from_chars knows the minus only
  }
  std::int32_t number = 0;
  if (std::from_chars(first, end, number).ec == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<std::int32_t>;
    number = *first == '-' ? Limits::min() : Limits::max();
  }
  return number;
}

ec::EC CScript::DelData(VType type, Value::Data& data) {
  switch (type) {
    case VT_INT:
      data.int_value.reset();
      return ec::SCRIPT_OK;
    case VT_STRING:
      data.string_value.reset();
      return ec::SCRIPT_OK;
  }
  RUN_LOG(ERROR, "错误的类型，0x%x", type);
  return ec::SCRIPT_BAD_PARAM;
}

ec::EC CScript::SetValue(const std::string& name, VType type, const void* data, bool modified) {
  if (data == nullptr) {
    RUN_LOG(ERROR, "参数错误");
    return ec::SCRIPT_E_PARAM;
  }
  Value value{type, {}};
  if (!copy_in(type, data, value.data)) {
    if (type == VT_INT) {
      RUN_LOG(ERROR, "申请内存失败\n");
    } else {
      RUN_LOG(ERROR, "申请内存失败");
    }
    return ec::SCRIPT_NO_MEMORY;
  }
  put_value(m_values, name, std::move(value));
  m_modified = m_modified || modified;
  return ec::SCRIPT_OK;
}

ec::EC CScript::SetValueEnv(const std::string& name, VType type, const void* data, void* env) {
  if (data == nullptr) {
    RUN_LOG(ERROR, "参数错误");
    return ec::SCRIPT_E_PARAM;
  }
  Value value{type, {}};
  if (!copy_in(type, data, value.data)) {
    if (type == VT_INT) {
      RUN_LOG(ERROR, "申请内存失败\n");
    } else {
      RUN_LOG(ERROR, "申请内存失败");
    }
    return ec::SCRIPT_NO_MEMORY;
  }
  const auto found = m_env_values.find(env);
  if (found != m_env_values.end()) {
    put_value(*found->second, name, std::move(value));
    return ec::SCRIPT_OK;
  }
  std::unique_ptr<ValueTable> table(new (std::nothrow) ValueTable);
  if (!table) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
  // Filled before it is published, so that a failure leaves no empty table.
  put_value(*table, name, std::move(value));
  m_env_values.emplace(env, std::move(table));
  return ec::SCRIPT_OK;
}

ec::EC CScript::GetValueEnv(std::string_view name, VType type, void* out, void* env,
                            const Value** place) const {
  const auto table = m_env_values.find(env);
  if (table == m_env_values.end()) {
    RUN_LOG(ERROR, "没有改环境对应的符号表, env[0x%x]", addr32(env));
    return ec::SCRIPT_NOT_FOUND;
  }
  const auto found = table->second->find(name);
  if (found == table->second->end()) {
    RUN_LOG(ERROR, "没有对应的变量,name[%.*s]\n", static_cast<int>(name.size()), name.data());
    return ec::SCRIPT_NOT_FOUND;
  }
  const Value& value = found->second;
  if (value.type != type) {
    RUN_LOG(ERROR, "变量:(%.*s)类型不匹配", static_cast<int>(name.size()), name.data());
    return ec::SCRIPT_BAD_PARAM;
  }
  if (!copy_out(value, out)) {
    RUN_LOG(ERROR, "value type error:%d", type);
    return ec::SCRIPT_BAD_PARAM;
  }
  if (place != nullptr) {
    *place = &value;
  }
  return ec::SCRIPT_OK;
}

bool CScript::copy_out(const Value& value, void* out) {
  switch (value.type) {
    case VT_INT:
      *static_cast<std::int32_t*>(out) = *value.data.int_value;
      return true;
    case VT_STRING:
      *static_cast<std::string*>(out) = *value.data.string_value;
      return true;
  }
  return false;
}

// The entry stays where it is: references remember it.
void CScript::put_value(ValueTable& table, const std::string& name, Value&& value) {
  const auto [entry, added] = table.try_emplace(name);
  if (!added) {
    DelData(entry->second.type, entry->second.data);
  }
  entry->second = std::move(value);
}

}  // namespace fwbase
