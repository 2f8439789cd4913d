// Saving: the global variables become the one "Data" element of the process in the document.
#include <new>
#include <vector>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "fwbase/runlog/runlog.h"
#include "fwbase/script/script.h"
#include "support/cancellation_block.h"
#include "utility/xml/xml_texts.h"

namespace fwbase {

using support::WriteGuard;
using utility::CElement;

namespace {

unsigned int insert_typed_value(CElement& var, const char* type, const std::string& value) {
  const unsigned int code = var.insert_attr("type", type);
  return code != 0 ? code : var.insert_attr("value", value);
}

}  // namespace

ec::EC CScript::save_script() {
  const support::CancellationBlock no_cancellation;
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
  make_document();
  CElement proc;
  ec::EC result = get_proc_element(proc);
  if (ec::succeeded(result)) {
    result = remove_proc_data(proc);
  }
  // Removed elements leave memory behind; each save would add some.
  if (ec::succeeded(result) && m_xml.compact()) {
    result = get_proc_element(proc);
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

// Makes the document from the bytes that were loaded: the file may have changed since.
void CScript::make_document() {
  if (m_bytes.empty()) {
    return;
  }
  if (utility::XmlTexts::load(m_xml, m_script_file, m_bytes) == utility::XEC_NO_MEMORY) {
    throw std::bad_alloc();
  }
  std::string().swap(m_bytes);
}

ec::EC CScript::get_proc_element(CElement& proc) {
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
    if (found.empty()) {
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
  for (const auto* const variable : m_values.global().sorted()) {
    CElement var;
    const ec::EC result = make_var_element(variable->first, variable->second, var);
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

ec::EC CScript::make_var_element(const std::string& name, const script::Value& value,
                                 CElement& var) {
  if (const unsigned int code = m_xml.create_element("var", var); code != 0) {
    RUN_LOG(ERROR, "创建节点出错, XEC[%d]\n", code);
    return ec::SCRIPT_E_CREATE_NODE;
  }
  unsigned int code = var.insert_attr("name", name);
  if (code == 0 && value.type == VT_INT) {
    code = insert_typed_value(var, "int", std::to_string(value.number));
  } else if (code == 0 && value.type == VT_STRING) {
    code = insert_typed_value(var, "string", value.text);
  }
  if (code != 0) {
    RUN_LOG(ERROR, "插入属性出错\n, XEC[%x]\n", code);
    return ec::SCRIPT_E_SET_ATTR;
  }
  return ec::SCRIPT_OK;
}

}  // namespace fwbase
