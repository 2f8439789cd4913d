// The model's loading: a walk over the document, element by element. The first failure ends it;
// what was read until then stays.
#include <limits>
#include <locale>
#include <sstream>
#include <utility>

#include "fwbase/runlog/runlog.h"
#include "tests/harness/script_model/model.h"

namespace fwbase::script_model {

namespace {

std::vector<utility::CElement> children(const utility::CElement& parent, const char* name) {
  std::vector<utility::CElement> found;
  parent.get_child_element(name, found);  // fails for no name that is plain and not empty
  return found;
}

bool type_of(const std::string& text, IScript::VType& type) {
  type = text == "int" ? IScript::VT_INT : IScript::VT_STRING;
  return text == "int" || text == "string";
}

std::int32_t number_of(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  std::int32_t number = 0;
  in >> number;
  return number;
}

}  // namespace

ec::EC ModelEngine::load_script(const char* path) {
  if (path == nullptr || *path == '\0') {
    RUN_LOG(ERROR, "脚本名错误: czName=%x\n", addr32(path));
    return ec::SCRIPT_E_PARAM;
  }
  m_path = path;
  if (const unsigned int code = m_document.load(path); code != 0) {
    RUN_LOG(ERROR, "加载脚本出错, File[%s], Xec[%d]\n", path, code);
    return ec::SCRIPT_E_LOAD;
  }
  Element root;
  m_document.get_root_element(root);  // a document that was loaded has one
  if (const std::string name = root.get_element_name(); name != "korvid") {
    RUN_LOG(ERROR, "XML 根节点不是指定的节点，[%s]\n", name.c_str());
    return ec::SCRIPT_E_ROOT_NAME;
  }
  return load_elements(root);
}

ec::EC ModelEngine::load_elements(const Element& root) {
  for (const Element& element : children(root, "template")) {
    if (const ec::EC result = load_template(element); ec::failed(result)) {
      return result;
    }
  }
  const Elements processes = children(root, "Process");
  if (processes.empty()) {
    RUN_LOG(ERROR, "进程节点数目不能为0\n");
    return ec::SCRIPT_NO_PROCESS;
  }
  for (const Element& process : processes) {
    if (const ec::EC result = load_process(process); ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

// --- Declarations ---

ec::EC ModelEngine::load_template(const Element& element) {
  for (const Element& func : children(element, "Func")) {
    if (const ec::EC result = load_function(func); ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::load_function(const Element& element) {
  Function function;
  if (const unsigned int code = element.get_attr("name", function.name); code != 0) {
    RUN_LOG(ERROR, "获得func节点的name属性失败, XEC[%0x]\n", code);
    return ec::SCRIPT_E_ATTR;
  }
  for (const Element& child : children(element, "param")) {
    Param param;
    if (const ec::EC result = read_param(child, param); ec::failed(result)) {
      return result;
    }
    function.params.push_back(param);
  }
  if (m_functions.count(function.name) != 0) {
    RUN_LOG(ERROR, "同名函数已经存在，Func[%s]\n", function.name.c_str());
    return ec::SCRIPT_FUNC_EXISTS;
  }
  m_functions[function.name] = function;
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::read_param(const Element& element, Param& param) {
  if (const unsigned int code = element.get_attr("tag", param.tag); code != 0) {
    RUN_LOG(ERROR, "获得param属性tag失败, XEC[%0x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  if (param.tag == "params" || param.tag == "ret") {
    RUN_LOG(ERROR, "tag的值[%s]不能与脚本关键字相同", param.tag.c_str());
    return ec::SCRIPT_E_PARAM_TAG;
  }
  const ec::EC result = read_param_type(element, param);
  return ec::succeeded(result) ? read_param_must(element, param) : result;
}

ec::EC ModelEngine::read_param_type(const Element& element, Param& param) {
  std::string type;
  if (const unsigned int code = element.get_attr("type", type); code != 0) {
    RUN_LOG(ERROR, "获得param属性type失败, XEC[%0x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  if (!type_of(type, param.type)) {
    RUN_LOG(ERROR, "不能识别的参数类型，%s\n", type.c_str());
    return ec::SCRIPT_BAD_PARAM;
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::read_param_must(const Element& element, Param& param) {
  if (!element.has_attr("must")) {
    return ec::SCRIPT_OK;
  }
  std::string must;
  if (const unsigned int code = element.get_attr("must", must); code != 0) {
    RUN_LOG(ERROR, "获得param属性must失败, XEC[%0x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  if (must == "true") {
    return ec::SCRIPT_OK;
  }
  if (must != "false") {
    RUN_LOG(ERROR, "不能识别的must属性[%s]%s\n", must.c_str(), "");
    return ec::SCRIPT_BAD_PARAM;
  }
  param.must = false;
  return read_param_default(element, param);
}

ec::EC ModelEngine::read_param_default(const Element& element, Param& param) {
  param.default_text = param.type == VT_INT ? "0" : "";
  if (!element.has_attr("defaultval")) {
    return ec::SCRIPT_OK;
  }
  if (const unsigned int code = element.get_attr("defaultval", param.default_text); code != 0) {
    RUN_LOG(ERROR, "获得param属性defaultval失败, XEC[%0x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  return ec::SCRIPT_OK;
}

// --- Processes: variables and sections ---

ec::EC ModelEngine::load_process(const Element& process) {
  std::string name;
  if (const unsigned int code = process.get_attr("name", name); code != 0) {
    RUN_LOG(ERROR, "获得进程name属性失败, XEC[%x]\n", code);
    return ec::SCRIPT_E_ATTR;
  }
  if (!name.empty()) {
    return ec::SCRIPT_OK;
  }
  for (const Element& data : children(process, "Data")) {
    if (const ec::EC result = load_data(data); ec::failed(result)) {
      return result;
    }
  }
  for (const Element& exec : children(process, "Exec")) {
    if (const ec::EC result = load_exec(exec); ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::load_data(const Element& data) {
  for (const Element& var : children(data, "var")) {
    if (const ec::EC result = load_variable(var); ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::load_variable(const Element& var) {
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
  if (!type_of(type_text, type)) {
    RUN_LOG(ERROR, "不能识别的参数类型，%s\n", type_text.c_str());
    return ec::SCRIPT_BAD_PARAM;
  }
  m_values[name] = type == VT_INT ? Value{type, number_of(value)} : Value{type, 0, value};
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::load_exec(const Element& exec) {
  for (const Element& section : children(exec, "section")) {
    if (const ec::EC result = load_section(section); ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::load_section(const Element& section) {
  std::string name;
  if (section.get_attr("name", name) != 0) {
    RUN_LOG(ERROR, "获得section节点的name属性失败\n");
    return ec::SCRIPT_E_ATTR;
  }
  if (m_sections.count(name) != 0) {
    RUN_LOG(ERROR, "名字为[%s]的section已经存在\n", name.c_str());
    return ec::SCRIPT_E_SECTION_DUP;
  }
  Calls& calls = m_sections[name];
  Elements elements;
  section.get_all_child_element(elements);
  for (const Element& call : elements) {
    if (const ec::EC result = load_call(call, calls); ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

// --- Calls ---

ec::EC ModelEngine::load_call(const Element& call, Calls& calls) {
  const std::string name = call.get_element_name();
  const auto declared = m_functions.find(name);
  // The name is empty when the code page cannot express it.
  if (declared == m_functions.end() || name.empty()) {
    RUN_LOG(ERROR, "函数[%s]没有在模板中定义\n", name.c_str());
    return ec::SCRIPT_NO_RULE;
  }
  const Function& function = declared->second;
  if (const ec::EC result = compare_with_registered(function); ec::failed(result)) {
    return result;
  }
  Elements sets = children(call, "params");
  if (sets.empty()) {
    sets.push_back(call);
  }
  for (const Element& set : sets) {
    if (const ec::EC result = load_argument_set(set, function, calls); ec::failed(result)) {
      return result;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::compare_with_registered(const Function& function) const {
  const auto found = m_signatures.find(function.name);
  if (found == m_signatures.end()) {
    RUN_LOG(ERROR, "没有找到模板[%s]", function.name.c_str());
    return ec::SCRIPT_NO_RULE;
  }
  const std::vector<VType>& signature = found->second;
  if (signature.size() != function.params.size()) {
    RUN_LOG(ERROR, "模版参数与扩展函数参数不一样\n");
    return ec::SCRIPT_PARAM_COUNT;
  }
  for (std::size_t i = 0; i < signature.size(); ++i) {
    if (signature[i] != function.params[i].type) {
      RUN_LOG(ERROR, "参数类型错误,[0x%x][0x%x]\n", signature[i], function.params[i].type);
      return ec::SCRIPT_PARAM_TYPE;
    }
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::load_argument_set(const Element& set, const Function& function, Calls& calls) {
  Elements elements;
  set.get_all_child_element(elements);
  std::map<std::string, Elements> by_name;
  for (const Element& element : elements) {
    by_name[element.get_element_name()].push_back(element);
  }
  Call call{function.name, {}, ""};
  for (const Param& param : function.params) {
    if (param.tag.empty()) {
      RUN_LOG(ERROR, "获得子节点失败[%s]\n", param.tag.c_str());
      return ec::SCRIPT_E_FORMAT;
    }
    Argument argument;
    const ec::EC result = read_argument(by_name[param.tag], function, param, argument);
    if (ec::failed(result)) {
      return result;
    }
    call.arguments.push_back(argument);
  }
  if (const ec::EC result = read_ret(by_name["ret"], call.ret); ec::failed(result)) {
    return result;
  }
  calls.push_back(call);
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::read_argument(const Elements& found, const Function& function,
                                  const Param& param, Argument& argument) {
  if (found.size() > 1) {
    RUN_LOG(ERROR, "字节点[%s]有数目不对:%d\n", param.tag.c_str(), static_cast<int>(found.size()));
    return ec::SCRIPT_E_PARAMS_CHILD;
  }
  argument.literal.type = param.type;
  if (!found.empty()) {
    return read_given_argument(found.front(), argument);
  }
  if (param.must) {
    RUN_LOG(ERROR, "节点[%s->%s]必须存在\n", function.name.c_str(), param.tag.c_str());
    return ec::SCRIPT_E_PARAMS_CHILD;
  }
  RUN_LOG(DEBUG, "没有[%s]节点，采用默认值[%s]\n", param.tag.c_str(), param.default_text.c_str());
  argument.literal.text = param.default_text;
  argument.literal.number = number_of(param.default_text);
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::read_given_argument(const Element& element, Argument& argument) {
  const Elements refs = children(element, "ref");
  if (!refs.empty()) {
    return read_ref(refs.front(), argument);
  }
  if (const unsigned int code = element.get_text(argument.literal.text); code != 0) {
    RUN_LOG(ERROR, "获得[%s]节点出错，XEC[%0x]", element.get_element_name().c_str(), code);
    return ec::SCRIPT_E_FORMAT;
  }
  argument.literal.number = number_of(argument.literal.text);
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::read_ref(const Element& element, Argument& argument) {
  if (const unsigned int code = element.get_text(argument.ref); code != 0) {
    RUN_LOG(ERROR, "获得[%s]节点出错，XEC[%0x]", "ref", code);
    return ec::SCRIPT_E_FORMAT;
  }
  if (argument.ref.empty()) {
    RUN_LOG(ERROR, "引用变量名不能为空\n");
    return ec::SCRIPT_EMPTY_NAME;
  }
  return ec::SCRIPT_OK;
}

ec::EC ModelEngine::read_ret(const Elements& found, std::string& ret) {
  if (found.empty()) {
    return ec::SCRIPT_OK;
  }
  if (found.front().get_text(ret) != 0) {
    RUN_LOG(ERROR, "获得子节点失败[%s]\n", "ret");
    return ec::SCRIPT_E_FORMAT;
  }
  if (ret.empty()) {
    RUN_LOG(ERROR, "返回值名不能为空\n");
    return ec::SCRIPT_EMPTY_NAME;
  }
  return ec::SCRIPT_OK;
}

}  // namespace fwbase::script_model
