// How hosts read and write variables: arguments are checked, then one lock covers the operation.
#include <new>
#include <string_view>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"

namespace fwbase {

using support::addr32;
using support::ReadGuard;
using support::WriteGuard;

ec::EC CScript::get_value(const char* name, VType type, void* out) const {
  if (name == nullptr || out == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(out));
    return ec::SCRIPT_E_PARAM;
  }
  try {
    const ReadGuard guard(m_lock);
    const auto found = m_values.find(std::string_view(name));
    if (found == m_values.end()) {
      RUN_LOG(ERROR, "没有对应的变量,name[%s]\n", name);
      return ec::SCRIPT_NOT_FOUND;
    }
    const Value& value = found->second;
    if (value.type != type) {
      RUN_LOG(ERROR, "变量:(%s)类型不匹配", name);
      return ec::SCRIPT_BAD_PARAM;
    }
    if (!copy_out(value, out)) {
      RUN_LOG(ERROR, "value type error:%d", type);
      return ec::SCRIPT_BAD_PARAM;
    }
    return ec::SCRIPT_OK;
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

ec::EC CScript::set_value(const char* name, VType type, const void* data) {
  if (name == nullptr || data == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(data));
    return ec::SCRIPT_E_PARAM;
  }
  if (type != VT_INT && type != VT_STRING) {
    RUN_LOG(ERROR, "value type error:%d", type);
    return ec::SCRIPT_BAD_PARAM;
  }
  try {
    const WriteGuard guard(m_lock);
    return SetValue(name, type, data, true);
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

ec::EC CScript::rm_value(const char* name) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=%x", addr32(name));
    return ec::SCRIPT_E_PARAM;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_values.find(std::string_view(name));
  if (found == m_values.end()) {
    RUN_LOG(ERROR, "value is con`t find. vname=%s\n", name);
    return ec::SCRIPT_NOT_FOUND;
  }
  m_values.erase(found);
  m_modified = true;
  return ec::SCRIPT_OK;
}

// Takes the lock for writing although it only reads: an access to an environment's variables
// excludes every other access.
ec::EC CScript::get_value_env(const char* name, VType type, void* out, void* env) const {
  if (name == nullptr || out == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(out));
    return ec::SCRIPT_E_PARAM;
  }
  try {
    const WriteGuard guard(m_lock);
    return GetValueEnv(name, type, out, env);
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

ec::EC CScript::set_value_env(const char* name, VType type, const void* data, void* env) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(data));
    return ec::SCRIPT_E_PARAM;
  }
  try {
    const WriteGuard guard(m_lock);
    return SetValueEnv(name, type, data, env);
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

}  // namespace fwbase
