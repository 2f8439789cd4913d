// The three tables of an environment. Host code runs in the middle of an operation only when the
// tables are sound without what follows, so that it may throw.
#include "fwbase/global_env/global_env.h"

#include <cxxabi.h>

#include <exception>
#include <iterator>
#include <new>
#include <string_view>

#include "fwbase/runlog/runlog.h"

namespace fwbase {

using support::ReadGuard;
using support::WriteGuard;

namespace {

// What a look-up without a result refers to. Never destroyed: threads may ask while the process
// exits.
const std::string& empty_string() {
  static const std::string* const empty = new std::string;
  return *empty;
}

}  // namespace

ec::EC CGlobalEnvImpl::no_memory(const char* name) const {
  RUN_LOG(ERROR, "内存不足. name=%s", name);
  return ec::GENV_BAD_PARAM;
}

ec::EC CGlobalEnvImpl::no_copy(const char* name) const {
  RUN_LOG(ERROR, "对象的clone返回NULL:name=%s", name);
  return ec::GENV_BAD_PARAM;
}

ec::EC CGlobalEnvImpl::init() {
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  m_objects.clear();
  m_addresses.clear();
  m_strings.clear();
  return ec::GENV_OK;
}

void CGlobalEnvImpl::release() {
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  std::exception_ptr first_thrown;
  for (auto entry = m_objects.begin(); entry != m_objects.end(); ++entry) {
    try {
      entry->second->release();
    } catch (const abi::__forced_unwind&) {  // the thread ends: the rest has to wait
      m_objects.erase(m_objects.begin(), std::next(entry));
      throw;
    } catch (...) {
      if (!first_thrown) {
        first_thrown = std::current_exception();
      }
    }
  }
  m_objects.clear();
  m_addresses.clear();
  m_strings.clear();
  if (first_thrown) {
    std::rethrow_exception(first_thrown);
  }
}

ec::EC CGlobalEnvImpl::insert_str(const char* name, const char* val) {
  if (name == nullptr || val == nullptr) {
    RUN_LOG(ERROR, "参数不能为NULL. name=0x%x,val=0x%x", addr32(name), addr32(val));
    return ec::GENV_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  try {
    if (m_strings.emplace(name, val).second) {
      return ec::GENV_OK;
    }
  } catch (const std::bad_alloc&) {
    return no_memory(name);
  }
  RUN_LOG(ERROR, "同名字符串已存在. name=%s,val=%s", name, val);
  return ec::GENV_STR_EXISTS;
}

const std::string& CGlobalEnvImpl::get_str(const char* name) {
  if (name == nullptr) {
    return empty_string();
  }
  const std::string_view key(name);
  const ReadGuard guard(m_lock);
  const auto found = m_strings.find(key);
  if (found != m_strings.end()) {
    return found->second;
  }
  return m_parent != nullptr ? m_parent->get_str(name) : empty_string();
}

ec::EC CGlobalEnvImpl::get_str(const char* name, const char*& val) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "参数name不能为NULL");
    return ec::GENV_BAD_PARAM;
  }
  const std::string_view key(name);
  const ReadGuard guard(m_lock);
  const auto found = m_strings.find(key);
  if (found != m_strings.end()) {
    val = found->second.c_str();
    return ec::GENV_OK;
  }
  if (m_parent != nullptr) {
    return m_parent->get_str(name, val);
  }
  RUN_LOG(ERROR, "名为:(%s)的字符串不存在", name);
  return ec::GENV_STR_NOT_FOUND;
}

ec::EC CGlobalEnvImpl::mod_str(const char* name, const char* val) {
  if (name == nullptr || val == nullptr) {
    RUN_LOG(ERROR, "输入参数错误: name=0x%x,val=0x%x", addr32(name), addr32(val));
    return ec::GENV_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_strings.find(std::string_view(name));
  if (found == m_strings.end()) {
    RUN_LOG(ERROR, "名为:(%s)的字符串不存在", name);
    return ec::GENV_STR_NOT_FOUND;
  }
  try {
    found->second.assign(val);
  } catch (const std::bad_alloc&) {
    return no_memory(name);
  }
  return ec::GENV_OK;
}

ec::EC CGlobalEnvImpl::ex_str(const char* name, const char* nval, bool end) {
  if (name == nullptr || nval == nullptr) {
    RUN_LOG(ERROR, "输入参数错误: name=0x%x,nval=0x%x,end=%d", addr32(name), addr32(nval), end);
    return ec::GENV_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_strings.find(std::string_view(name));
  if (found == m_strings.end()) {
    RUN_LOG(ERROR, "名为:(%s)的字符串不存在", name);
    return ec::GENV_STR_NOT_FOUND;
  }
  try {
    std::string& value = found->second;
    value.insert(end ? value.size() : 0, nval);
  } catch (const std::bad_alloc&) {
    return no_memory(name);
  }
  return ec::GENV_OK;
}

void CGlobalEnvImpl::rm_str(const char* name) {
  if (name == nullptr) {
    return;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_strings.find(std::string_view(name));
  if (found != m_strings.end()) {
    m_strings.erase(found);
  }
}

ec::EC CGlobalEnvImpl::insert_addr(const char* name, void* val) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "参数name不能为NULL");
    return ec::GENV_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  try {
    if (m_addresses.emplace(name, val).second) {
      return ec::GENV_OK;
    }
  } catch (const std::bad_alloc&) {
    return no_memory(name);
  }
  RUN_LOG(ERROR, "名为:(%s)的地址已经存在", name);
  return ec::GENV_ADDR_EXISTS;
}

void* CGlobalEnvImpl::get_addr(const char* name) {
  if (name == nullptr) {
    return nullptr;
  }
  const std::string_view key(name);
  const ReadGuard guard(m_lock);
  const auto found = m_addresses.find(key);
  if (found != m_addresses.end()) {
    return found->second;
  }
  return m_parent != nullptr ? m_parent->get_addr(name) : nullptr;
}

ec::EC CGlobalEnvImpl::get_addr(const char* name, void*& val) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "参数name不能为NULL");
    return ec::GENV_BAD_PARAM;
  }
  const std::string_view key(name);
  const ReadGuard guard(m_lock);
  const auto found = m_addresses.find(key);
  if (found != m_addresses.end()) {
    val = found->second;
    return ec::GENV_OK;
  }
  if (m_parent != nullptr) {
    return m_parent->get_addr(name, val);
  }
  RUN_LOG(ERROR, "名为:(%s)的地址不存在", name);
  return ec::GENV_ADDR_NOT_FOUND;
}

ec::EC CGlobalEnvImpl::mod_addr(const char* name, void* val) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "参数name不能为NULL");
    return ec::GENV_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_addresses.find(std::string_view(name));
  if (found == m_addresses.end()) {
    RUN_LOG(ERROR, "名为:(%s)的地址不存在", name);
    return ec::GENV_ADDR_NOT_FOUND;
  }
  found->second = val;
  return ec::GENV_OK;
}

void CGlobalEnvImpl::rm_addr(const char* name) {
  if (name == nullptr) {
    return;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_addresses.find(std::string_view(name));
  if (found != m_addresses.end()) {
    m_addresses.erase(found);
  }
}

ec::EC CGlobalEnvImpl::insert_obj(const char* name, const IObject* object) {
  RUN_TRACE("");
  if (name == nullptr || object == nullptr) {
    RUN_LOG(ERROR, "输入参数错误: name=0x%x,object=0x%x", addr32(name), addr32(object));
    return ec::GENV_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  if (m_objects.find(std::string_view(name)) != m_objects.end()) {
    RUN_LOG(ERROR, "同名对象已存在,无法重复插入:name=%s", name);
    return ec::GENV_OBJ_EXISTS;
  }
  // The entry is made beside the table and takes the copy in, so that a copy always has an owner.
  ObjectTable made;
  try {
    made.emplace(name, nullptr);
  } catch (const std::bad_alloc&) {
    return no_memory(name);
  }
  IObject* const copy = object->clone();
  if (copy == nullptr) {
    return no_copy(name);
  }
  made.begin()->second = copy;
  m_objects.merge(made);
  RUN_LOG(DEBUG, "在全局环境中插入对象: name=%s, object=0x%x", name, addr32(object));
  return ec::GENV_OK;
}

ec::EC CGlobalEnvImpl::get_obj(const char* name, IObject** object) {
  RUN_TRACE("");
  if (name == nullptr || object == nullptr) {
    RUN_LOG(ERROR, "输入参数错误: name=0x%x,object=0x%x", addr32(name), addr32(object));
    return ec::GENV_BAD_PARAM;
  }
  const ReadGuard guard(m_lock);
  const auto found = m_objects.find(std::string_view(name));
  if (found != m_objects.end()) {
    IObject* const copy = found->second->clone();
    if (copy == nullptr) {
      return no_copy(name);
    }
    *object = copy;
    return ec::GENV_OK;
  }
  if (m_parent != nullptr) {
    return m_parent->get_obj(name, object);
  }
  RUN_LOG(ERROR, "对象不存在,无法取得:name=%s", name);
  return ec::GENV_OBJ_NOT_FOUND;
}

ec::EC CGlobalEnvImpl::mod_obj(const char* name, const IObject* object) {
  RUN_TRACE("");
  if (name == nullptr || object == nullptr) {
    RUN_LOG(ERROR, "输入参数错误: name=0x%x,object=0x%x", addr32(name), addr32(object));
    return ec::GENV_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_objects.find(std::string_view(name));
  if (found == m_objects.end()) {
    RUN_LOG(ERROR, "对象不存在,无法修改:name=%s", name);
    return ec::GENV_OBJ_NOT_FOUND;
  }
  // Out of the table while it refers to a released object.
  ObjectTable::node_type entry = m_objects.extract(found);
  entry.mapped()->release();
  IObject* const copy = object->clone();
  if (copy == nullptr) {
    return no_copy(name);
  }
  entry.mapped() = copy;
  m_objects.insert(std::move(entry));
  return ec::GENV_OK;
}

void CGlobalEnvImpl::rm_obj(const char* name) {
  RUN_TRACE("");
  if (name == nullptr) {
    RUN_LOG(WARN, "输入参数错误: name=%x", addr32(name));
    return;
  }
  const WriteGuard guard(m_lock);
  const auto found = m_objects.find(std::string_view(name));
  if (found == m_objects.end()) {
    RUN_LOG(WARN, "对象不存在,无法删除:name=%s", name);
    return;
  }
  IObject* const removed = found->second;
  m_objects.erase(found);
  removed->release();
  RUN_LOG(DEBUG, "从全局环境中删除对象:name=%s", name);
}

}  // namespace fwbase
