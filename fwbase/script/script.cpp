// The engine's life cycle, the host's functions, and how hosts read and write variables: arguments
// are checked, then one lock covers the operation.
#include "fwbase/script/script.h"

#include <map>
#include <new>

#include "fwbase/runlog/runlog.h"
#include "support/cancellation_block.h"
#include "utility/xml/xml_platform.h"

namespace fwbase {

using script::Access;
using support::ReadGuard;
using support::WriteGuard;

// The XML platform counts its users, and a host may be one. Each engine is one user at most.
ec::EC CScript::init() {
  const support::CancellationBlock no_cancellation;
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  m_syntaxes.clear();
  ++m_registrations;
  drop_document();
  m_platform = m_platform || utility::start_xml_platform();
  if (!m_platform) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
  m_xml.init();
  return ec::SCRIPT_OK;
}

void CScript::release() {
  const support::CancellationBlock no_cancellation;
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  ++m_releases;
  m_syntaxes.clear();
  ++m_registrations;
  m_templates.clear();
  log_unknown_values(m_values);
  m_values = {};
  m_sections.clear();
  m_cur_section.clear();
  m_func_rules.clear();
  m_script_file.clear();
  drop_document();
  if (m_platform) {
    utility::stop_xml_platform();
    m_platform = false;
  }
}

void CScript::drop_document() {
  std::string().swap(m_bytes);
  m_xml.release();
}

void CScript::log_unknown(VType type) const {
  if (type != VT_INT && type != VT_STRING) {
    RUN_LOG(ERROR, "错误的类型，0x%x", type);
  }
}

template <typename Table>
void CScript::log_unknown_values(const Table& values) const {
  try {
    for (const VType type : values.unknown_types()) {
      log_unknown(type);
    }
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
  }
}

bool CScript::expand_syntax(ISyntax* syntax) {
  RUN_TRACE("");
  if (syntax == nullptr) {
    RUN_LOG(ERROR, "param is error: psyx=%x", addr32(syntax));
    return false;
  }
  const WriteGuard guard(m_lock);
  const int count = syntax->param_count();
  VType* const types = syntax->param_types();
  const char* const name = syntax->name();
  try {
    if (m_syntaxes.size() == m_syntaxes.capacity()) {
      m_syntaxes.reserve(2 * m_syntaxes.size() + 1);  // the next steps must not fail half-way
    }
    if (ec::failed(InsertFunRule(name, types, count))) {
      return false;
    }
    m_syntaxes.push_back(syntax);
    ++m_registrations;
    return true;
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return false;
  }
}

ec::EC CScript::InsertFunRule(const char* name, const VType* types, int count) {
  if (name == nullptr || (types == nullptr && count > 0)) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(types));
    return ec::SCRIPT_E_PARAM;
  }
  std::vector<VType> signature;
  if (count > 0) {
    signature.assign(types, types + count);
  }
  m_templates.insert_or_assign(name, std::move(signature));
  return ec::SCRIPT_OK;
}

void CScript::visit_functions(const FunctionVisitor& visit) const {
  const ReadGuard guard(m_lock);
  std::map<std::string_view, ISyntax*> latest;
  for (ISyntax* const syntax : m_syntaxes) {
    if (const char* const name = syntax->name(); name != nullptr) {  // it may have lost its name
      latest[name] = syntax;
    }
  }
  for (const auto& [name, types] : m_templates) {
    if (const auto found = latest.find(name); found != latest.end()) {
      visit(name, types, *found->second);
    }
  }
}

script::Signatures CScript::signatures() const {
  const ReadGuard guard(m_lock);
  return m_templates;
}

ec::EC CScript::get_value(const char* name, VType type, void* out) const {
  if (name == nullptr || out == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(out));
    return ec::SCRIPT_E_PARAM;
  }
  try {
    const ReadGuard guard(m_lock);
    return result_of(m_values.global().get(name, type, out), name, type, nullptr);
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
    m_values.global().set(name, type, data);
    m_modified = true;
    return ec::SCRIPT_OK;
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
  if (!m_values.global().remove(name)) {
    RUN_LOG(ERROR, "value is con`t find. vname=%s\n", name);
    return ec::SCRIPT_NOT_FOUND;
  }
  m_modified = true;
  return ec::SCRIPT_OK;
}

ec::EC CScript::get_value_env(const char* name, VType type, void* out, void* env) const {
  if (name == nullptr || out == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(out));
    return ec::SCRIPT_E_PARAM;
  }
  try {
    const ReadGuard guard(m_lock);
    return result_of(m_values.get(name, type, out, env), name, type, env);
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
  if (data == nullptr) {
    RUN_LOG(ERROR, "参数错误");
    return ec::SCRIPT_E_PARAM;
  }
  try {
    const WriteGuard guard(m_lock);
    log_unknown(m_values.set(name, type, data, env));
    return ec::SCRIPT_OK;
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

// The variables are freed without the lock: there may be many.
ec::EC CScript::drop_environment(void* env) {
  const support::CancellationBlock no_cancellation;
  std::optional<script::ValueTable> dropped;
  {
    const WriteGuard guard(m_lock);
    dropped = m_values.take(env);
  }
  if (!dropped.has_value()) {
    return ec::SCRIPT_NOT_FOUND;
  }
  log_unknown_values(*dropped);
  return ec::SCRIPT_OK;
}

ec::EC CScript::report(Access access, const char* name, VType type, const void* env) const {
  switch (access) {
    case Access::kNoTable:
      RUN_LOG(ERROR, "没有改环境对应的符号表, env[0x%x]", addr32(env));
      return ec::SCRIPT_NOT_FOUND;
    case Access::kNotFound:
      RUN_LOG(ERROR, "没有对应的变量,name[%s]\n", name);
      return ec::SCRIPT_NOT_FOUND;
    case Access::kOtherType:
      RUN_LOG(ERROR, "变量:(%s)类型不匹配", name);
      return ec::SCRIPT_BAD_PARAM;
    case Access::kOk:
    case Access::kNoValue:
      break;
  }
  RUN_LOG(ERROR, "value type error:%d", type);
  return ec::SCRIPT_BAD_PARAM;
}

}  // namespace fwbase
