// Loading: the walk of the document, element by element. The first failure ends it; what was read
// until then stays in the tables.
#include <new>
#include <utility>
#include <vector>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"
#include "utility/cancellation_block.h"

namespace fwbase {

using support::addr32;
using support::WriteGuard;
using utility::CElement;

ec::EC CScript::load_script(const char* path) {
  const utility::CancellationBlock no_cancellation;
  if (path == nullptr || *path == '\0') {
    RUN_LOG(ERROR, "脚本名错误: czName=%x\n", addr32(path));
    return ec::SCRIPT_E_PARAM;
  }
  const WriteGuard guard(m_lock);
  try {
    return load_script_document(path);
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  } catch (const xercesc::OutOfMemoryException&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

ec::EC CScript::load_script_document(const char* path) {
  m_script_file = path;
  if (const unsigned int code = m_xml.load(path); code != 0) {
    RUN_LOG(ERROR, "加载脚本出错, File[%s], Xec[%d]\n", path, code);
    return ec::SCRIPT_E_LOAD;
  }
  CElement root;
  if (const unsigned int code = m_xml.get_root_element(root); code != 0) {
    RUN_LOG(ERROR, "获得根节点出错, xec[%d]\n", code);
    return ec::SCRIPT_E_FORMAT;
  }
  if (const std::string name = root.get_element_name(); name != "korvid") {
    RUN_LOG(ERROR, "XML 根节点不是指定的节点，[%s]\n", name.c_str());
    return ec::SCRIPT_E_ROOT_NAME;
  }
  return load_script_elements(root);
}

ec::EC CScript::load_script_elements(CElement& root) {
  std::vector<CElement> templates;
  if (const unsigned int code = root.get_child_element("template", templates); code != 0) {
    RUN_LOG(ERROR, "获得子节点[%s]出错, XEC[%x]\n", "template", code);
    return ec::SCRIPT_E_FORMAT;
  }
  ec::EC result = ec::SCRIPT_OK;
  for (CElement& element : templates) {
    result = proc_template_element(element);
    if (ec::failed(result)) {
      return result;
    }
  }
  std::vector<CElement> processes;
  root.get_child_element("Process", processes);  // a failure leaves none, which is told below
  if (processes.empty()) {
    RUN_LOG(ERROR, "进程节点数目不能为0\n");
    return ec::SCRIPT_NO_PROCESS;
  }
  for (CElement& process : processes) {
    result = proc_proc_element(process);
    if (ec::failed(result)) {
      break;
    }
  }
  return result;
}

ec::EC CScript::proc_proc_element(CElement& process) {
  std::string name;
  if (const unsigned int code = process.get_attr("name", name); code != 0) {
    RUN_LOG(ERROR, "获得进程name属性失败, XEC[%x]\n", code);
    return ec::SCRIPT_E_ATTR;
  }
  if (!name.empty() && name != m_proc_name) {
    return ec::SCRIPT_OK;
  }
  std::vector<CElement> elements;
  if (const unsigned int code = process.get_child_element("Data", elements); code != 0) {
    RUN_LOG(ERROR, "获得子节点出错, XEC[%x]", code);
    return ec::SCRIPT_E_FORMAT;
  }
  ec::EC result = ec::SCRIPT_OK;
  for (CElement& data : elements) {
    result = proc_data_element(data);
    if (ec::failed(result)) {
      return result;
    }
  }
  elements.clear();
  if (const unsigned int code = process.get_child_element("Exec", elements); code != 0) {
    RUN_LOG(ERROR, "获得子节点出错, XEC[%x]", code);
    return ec::SCRIPT_E_FORMAT;
  }
  for (CElement& exec : elements) {
    result = proc_exec_element(exec);
    if (ec::failed(result)) {
      break;
    }
  }
  return result;
}

ec::EC CScript::proc_exec_element(CElement& exec) {
  std::vector<CElement> sections;
  if (const unsigned int code = exec.get_child_element("section", sections); code != 0) {
    RUN_LOG(ERROR, "获得子节点出错, XEC[%x]\n", code);
    return ec::SCRIPT_E_FORMAT;
  }
  ec::EC result = ec::SCRIPT_OK;
  for (CElement& section : sections) {
    result = proc_section_element(section);
    if (ec::failed(result)) {
      break;
    }
  }
  return result;
}

ec::EC CScript::proc_section_element(CElement& section) {
  std::string name;
  if (section.get_attr("name", name) != 0) {
    RUN_LOG(ERROR, "获得section节点的name属性失败\n");
    return ec::SCRIPT_E_ATTR;
  }
  if (m_sections.contains(name)) {
    RUN_LOG(ERROR, "名字为[%s]的section已经存在\n", name.c_str());
    return ec::SCRIPT_E_SECTION_DUP;
  }
  if (!m_cur_section.empty()) {
    RUN_LOG(ERROR, "section不允许嵌套\n");
    return ec::SCRIPT_SECTION_NESTED;
  }
  std::unique_ptr<std::list<Fun>>& calls = m_sections[name];
  m_cur_section = std::move(name);
  calls.reset(new (std::nothrow) std::list<Fun>);
  if (!calls) {
    RUN_LOG(ERROR, "申请内存失败\n");
    return ec::SCRIPT_NO_MEMORY;
  }
  // From here on no way out leaves the engine inside a section.
  const std::unique_ptr<std::string, void (*)(std::string*)> leave(
      &m_cur_section, [](std::string* current) { current->clear(); });
  return proc_section_calls(section);
}

// One call after the other, while its elements are still in the processor's cache.
ec::EC CScript::proc_section_calls(CElement& section) {
  CElement call;
  unsigned int code = section.get_first_child_element(call);
  while (code == utility::XEC_OK) {
    if (const ec::EC result = proc_function(call); ec::failed(result)) {
      return result;
    }
    code = call.get_next_element(call);
  }
  if (code != utility::XEC_NOT_FOUND) {
    RUN_LOG(ERROR, "获得子节点出错, XEC[%x]\n", code);
    return ec::SCRIPT_E_FORMAT;
  }
  return ec::SCRIPT_OK;
}

}  // namespace fwbase
