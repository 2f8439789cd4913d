// The model's saving: the variables replace the "Data" elements of the document that was loaded.
#include "fwbase/runlog/runlog.h"
#include "tests/harness/script_model/model.h"

namespace fwbase::script_model {

ec::EC ModelEngine::save_script() {
  if (m_path.empty()) {
    RUN_LOG(ERROR, "脚本文件名为空，可能文件未被加载");
    return ec::SCRIPT_E_SAVE;
  }
  if (!m_modified) {
    return ec::SCRIPT_OK;
  }
  Element process;
  ec::EC result = find_process(process);
  if (ec::succeeded(result)) {
    result = remove_data(process);
  }
  if (ec::succeeded(result)) {
    result = insert_data(process);
  }
  if (ec::failed(result)) {
    return result;
  }
  if (const unsigned int code = m_document.save(); code != 0) {
    RUN_LOG(ERROR, "保存脚本失败, XEC[%x]", code);
    return ec::SCRIPT_E_SAVE_XML;
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::find_process(Element& process) const {
  Element root;
  Elements processes;
  if (m_document.get_root_element(root) != 0 || root.get_child_element("Process", processes) != 0) {
    RUN_LOG(ERROR, "获得根节点失败\n");
    return ec::SCRIPT_E_FORMAT;
  }
  for (const Element& element : processes) {
    std::string name;
    if (element.get_attr("name", name) != 0) {
      return ec::SCRIPT_NO_PROCESS;
    }
    if (name.empty()) {
      process = element;
      return ec::SCRIPT_OK;
    }
  }
  return ec::SCRIPT_NO_PROCESS;
}

ec::EC ModelEngine::remove_data(const Element& process) const {
  Elements old;
  if (const unsigned int code = process.get_child_element("Data", old); code != 0) {
    RUN_LOG(ERROR, "获得子节点出错, XEC[%x]", code);
    return ec::SCRIPT_E_FORMAT;
  }
  for (const Element& data : old) {
    if (process.remove_child_element(data) != 0) {
      RUN_LOG(ERROR, "删除节点失败");
      return ec::SCRIPT_E_REMOVE;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::insert_data(const Element& process) const {
  Element data;
  if (const unsigned int code = m_document.create_element("Data", data); code != 0) {
    RUN_LOG(ERROR, "创建元素节点失败, XEC[%d]\n", code);
    return ec::SCRIPT_E_CREATE_NODE;
  }
  if (const unsigned int code = process.insert_front_child(data); code != 0) {
    RUN_LOG(ERROR, "插入子节点出错, XEC[%x]", code);
    return ec::SCRIPT_E_INSERT_NODE;
  }
  for (const auto& [name, value] : m_values) {
    Element var;
    if (const ec::EC result = make_variable(name, value, var); ec::failed(result)) {
      return result;
    }
    if (const unsigned int code = data.insert_back_child(var); code != 0) {
      RUN_LOG(ERROR, "插入子节点出错, XEC[%x]", code);
      return ec::SCRIPT_E_INSERT_NODE;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::make_variable(const std::string& name, const Value& value, Element& var) const {
  if (const unsigned int code = m_document.create_element("var", var); code != 0) {
    RUN_LOG(ERROR, "创建节点出错, XEC[%d]\n", code);
    return ec::SCRIPT_E_CREATE_NODE;
  }
  const bool is_int = value.type == VT_INT;
  unsigned int code = var.insert_attr("name", name);
  if (code == 0) {
    code = var.insert_attr("type", is_int ? "int" : "string");
  }
  if (code == 0) {
    code = var.insert_attr("value", is_int ? std::to_string(value.number) : value.text);
  }
  if (code != 0) {
    RUN_LOG(ERROR, "插入属性出错\n, XEC[%x]\n", code);
    return ec::SCRIPT_E_SET_ATTR;
  }
  return ec::SCRIPT_OK;
}

}  // namespace fwbase::script_model
