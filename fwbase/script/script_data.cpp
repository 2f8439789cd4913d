// The "Data" elements of a process: read into the global table, written back from it.
#include <new>
#include <vector>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"
#include "utility/cancellation_block.h"

namespace fwbase {

using support::WriteGuard;
using utility::CElement;

namespace {

unsigned int insert_typed_value(CElement& var, const char* type, const std::string& value) {
  const unsigned int code = var.insert_attr("type", type);
  return code != 0 ? code : var.insert_attr("value", value);
}

}  // namespace

ec::EC CScript::proc_data_element(CElement& data) {
  std::vector<CElement> vars;
  if (const unsigned int code = data.get_child_element("var", vars); code != 0) {
    RUN_LOG(ERROR, "获得子节点出错, XEC[%x]", code);
    return ec::SCRIPT_E_FORMAT;
  }
  for (CElement& var : vars) {
    const ec::EC result = proc_var_element(var);
    if (ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::proc_var_element(CElement& var) {
  std::string name;
  if (const unsigned int code = var.get_attr("name", name); code != 0) {
    RUN_LOG(ERROR, "获得节点的name属性失败，XEC[%x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  std::string value;
  if (const unsigned int code = var.get_attr("value", value); code != 0) {
    RUN_LOG(ERROR, "获得节点的value属性失败，XEC[%x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  std::string type_text;
  if (const unsigned int code = var.get_attr("type", type_text); code != 0) {
    RUN_LOG(ERROR, "获得节点的type属性失败，XEC[%x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  VType type{};
  if (!script::type_of(type_text, type)) {
    RUN_LOG(ERROR, "不能识别的参数类型，%s\n", type_text.c_str());
    return ec::SCRIPT_BAD_PARAM;
  }
  if (type == VT_STRING) {
    return SetValue(name, type, &value, false);
  }
  const std::int32_t number = script::int_of(value);
  return SetValue(name, type, &number, false);
}

ec::EC CScript::save_script() {
  const utility::CancellationBlock no_cancellation;
  const WriteGuard guard(m_lock);
  if (m_script_file.empty()) {
    RUN_LOG(ERROR, "脚本文件名为空，可能文件未被加载");
    return ec::SCRIPT_E_SAVE;
  }
  if (!m_modified) {
    return ec::SCRIPT_OK;
  }
  try {
    return save_script_data();
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  } catch (const xercesc::OutOfMemoryException&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

ec::EC CScript::save_script_data() {
  CElement proc;
  ec::EC result = get_proc_element(m_proc_name, proc);
  if (ec::succeeded(result)) {
    result = remove_proc_data(proc);
  }
  // Removed elements leave memory behind; each save would add some.
  if (ec::succeeded(result) && m_xml.compact()) {
    result = get_proc_element(m_proc_name, proc);
  }
  if (ec::succeeded(result)) {
    result = insert_proc_data(proc);
  }
  if (ec::failed(result)) {
    return result;
  }
  if (const unsigned int code = m_xml.save(); code != 0) {
    RUN_LOG(ERROR, "保存脚本失败, XEC[%x]", code);
    return ec::SCRIPT_E_SAVE_XML;
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::get_proc_element(const std::string& name, CElement& proc) {
  CElement root;
  std::vector<CElement> processes;
  if (m_xml.get_root_element(root) != 0 || root.get_child_element("Process", processes) != 0) {
    RUN_LOG(ERROR, "获得根节点失败\n");
    return ec::SCRIPT_E_FORMAT;
  }
  for (CElement& process : processes) {
    std::string found;
    if (process.get_attr("name", found) != 0) {
      return ec::SCRIPT_NO_PROCESS;
    }
    if (found == name) {
      proc = process;
      return ec::SCRIPT_OK;
    }
  }
  return ec::SCRIPT_NO_PROCESS;
}

ec::EC CScript::remove_proc_data(CElement& proc) {
  std::vector<CElement> old;
  if (const unsigned int code = proc.get_child_element("Data", old); code != 0) {
    RUN_LOG(ERROR, "获得子节点出错, XEC[%x]", code);
    return ec::SCRIPT_E_FORMAT;
  }
  for (CElement& data : old) {
    if (proc.discard_child_element(data) != 0) {
      RUN_LOG(ERROR, "删除节点失败");
      return ec::SCRIPT_E_REMOVE;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::insert_proc_data(CElement& proc) {
  CElement data;
  if (const unsigned int code = m_xml.create_element("Data", data); code != 0) {
    RUN_LOG(ERROR, "创建元素节点失败, XEC[%d]\n", code);
    return ec::SCRIPT_E_CREATE_NODE;
  }
  if (const unsigned int code = proc.insert_front_child(data); code != 0) {
    RUN_LOG(ERROR, "插入子节点出错, XEC[%x]", code);
    return ec::SCRIPT_E_INSERT_NODE;
  }
  return insert_data_var(data);
}

ec::EC CScript::insert_data_var(CElement& data) {
  for (const auto& [name, value] : m_values) {
    CElement var;
    const ec::EC result = make_var_element(name, value, var);
    if (ec::failed(result)) {
      return result;
    }
    if (const unsigned int code = data.insert_back_child(var); code != 0) {
      RUN_LOG(ERROR, "插入子节点出错, XEC[%x]", code);
      return ec::SCRIPT_E_INSERT_NODE;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::make_var_element(const std::string& name, const Value& value, CElement& var) {
  if (const unsigned int code = m_xml.create_element("var", var); code != 0) {
    RUN_LOG(ERROR, "创建节点出错, XEC[%d]\n", code);
    return ec::SCRIPT_E_CREATE_NODE;
  }
  unsigned int code = var.insert_attr("name", name);
  if (code == 0 && value.type == VT_INT) {
    code = insert_typed_value(var, "int", std::to_string(*value.data.int_value));
  } else if (code == 0 && value.type == VT_STRING) {
    code = insert_typed_value(var, "string", *value.data.string_value);
  }
  if (code != 0) {
    RUN_LOG(ERROR, "插入属性出错\n, XEC[%x]\n", code);
    return ec::SCRIPT_E_SET_ATTR;
  }
  return ec::SCRIPT_OK;
}

}  // namespace fwbase
