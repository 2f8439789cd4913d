// Call elements of a section become recorded calls, their arguments read against the declaration.
#include <new>
#include <utility>
#include <vector>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"

namespace fwbase {

using utility::CElement;

ec::EC CScript::proc_function(CElement& call) {
  const std::string name = call.get_element_name();
  const auto found = m_func_rules.find(name);
  // The name is empty when the code page cannot express it.
  if (found == m_func_rules.end() || name.empty()) {
    RUN_LOG(ERROR, "函数[%s]没有在模板中定义\n", name.c_str());
    return ec::SCRIPT_NO_RULE;
  }
  XmlFuncRule& rule = found->second;
  ec::EC result = Test_XmlFunRule(rule);
  if (ec::failed(result)) {
    return result;
  }
  std::vector<CElement> sets;
  if (const unsigned int code = call.get_child_element("params", sets); code != 0) {
    RUN_LOG(ERROR, "获得子节点失败,XEC[%x]\n", code);
    return ec::SCRIPT_E_FORMAT;
  }
  if (sets.empty()) {
    return proc_params_element(call, rule);
  }
  for (CElement& set : sets) {
    result = proc_params_element(set, rule);
    if (ec::failed(result)) {
      break;
    }
  }
  return result;
}

ec::EC CScript::Test_XmlFunRule(XmlFuncRule& rule) {
  const auto found = m_templates.find(rule.name);
  if (found == m_templates.end()) {
    RUN_LOG(ERROR, "没有找到模板[%s]", rule.name.c_str());
    return ec::SCRIPT_NO_RULE;
  }
  const std::list<VType>& signature = found->second;
  if (signature.size() != rule.params.size()) {
    RUN_LOG(ERROR, "模版参数与扩展函数参数不一样\n");
    return ec::SCRIPT_PARAM_COUNT;
  }
  auto expected = signature.begin();
  for (const XmlFuncParamRule& declared : rule.params) {
    if (*expected != declared.type) {
      RUN_LOG(ERROR, "参数类型错误,[0x%x][0x%x]\n", *expected, declared.type);
      return ec::SCRIPT_PARAM_TYPE;
    }
    ++expected;
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::proc_params_element(CElement& set, XmlFuncRule& rule) {
  Fun call;
  call.name = rule.name;
  call.rule = &rule;
  ChildrenByName children;
  const bool readable = children_by_name(set, children);
  for (const XmlFuncParamRule& declared : rule.params) {
    // An element without a name cannot be looked for.
    if (!readable || declared.tag.empty()) {
      RUN_LOG(ERROR, "获得子节点失败[%s]\n", declared.tag.c_str());
      return ec::SCRIPT_E_FORMAT;
    }
    Parament argument;
    const ec::EC result = proc_params_child(children, rule.name, declared, argument);
    if (ec::failed(result)) {
      return result;
    }
    call.params.push_back(std::move(argument));
  }
  if (!readable) {
    RUN_LOG(ERROR, "获得子节点失败[%s]\n", "ret");
    return ec::SCRIPT_E_FORMAT;
  }
  const ec::EC result = proc_ret_child(children, call.ret);
  if (ec::succeeded(result)) {
    m_sections.find(m_cur_section)->second->push_back(std::move(call));
  }
  return result;
}

bool CScript::children_by_name(CElement& set, ChildrenByName& children) {
  std::vector<CElement> all;
  if (set.get_all_child_element(all) != 0) {
    return false;
  }
  for (CElement& child : all) {
    NamedChildren& named = children[child.get_element_name()];
    if (named.count++ == 0) {
      named.first = child;
    }
  }
  return true;
}

ec::EC CScript::proc_params_child(ChildrenByName& children, const std::string& function,
                                  const XmlFuncParamRule& rule, Parament& argument) {
  const auto found = children.find(rule.tag);
  if (found != children.end()) {
    if (found->second.count > 1) {
      RUN_LOG(ERROR, "字节点[%s]有数目不对:%d\n", rule.tag.c_str(), found->second.count);
      return ec::SCRIPT_E_PARAMS_CHILD;
    }
    return proc_function_param(found->second.first, rule.type, argument);
  }
  if (rule.must) {
    RUN_LOG(ERROR, "节点[%s->%s]必须存在\n", function.c_str(), rule.tag.c_str());
    return ec::SCRIPT_E_PARAMS_CHILD;
  }
  RUN_LOG(DEBUG, "没有[%s]节点，采用默认值[%s]\n", rule.tag.c_str(), rule.defaultval.c_str());
  argument.type = rule.type;
  return set_literal(rule.type, rule.defaultval, argument.data);
}

ec::EC CScript::proc_ret_child(ChildrenByName& children, std::string& ret) {
  const auto found = children.find("ret");
  if (found == children.end()) {
    return ec::SCRIPT_OK;
  }
  if (found->second.first.get_text(ret) != 0) {
    RUN_LOG(ERROR, "获得子节点失败[%s]\n", "ret");
    return ec::SCRIPT_E_FORMAT;
  }
  if (ret.empty()) {
    RUN_LOG(ERROR, "返回值名不能为空\n");
    return ec::SCRIPT_EMPTY_NAME;
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::proc_function_param(CElement& element, VType type, Parament& argument) {
  argument.data = {};
  std::vector<CElement> refs;
  if (const unsigned int code = element.get_child_element("ref", refs); code != 0) {
    RUN_LOG(ERROR, "获得[%s]节点出错，XEC[%0x]", "ref", code);
    return ec::SCRIPT_E_FORMAT;
  }
  argument.type = type;
  if (!refs.empty()) {
    return proc_ref_element(refs.front(), argument);
  }
  argument.ref_name.clear();
  std::string text;
  if (const unsigned int code = element.get_text(text); code != 0) {
    RUN_LOG(ERROR, "获得[%s]节点出错，XEC[%0x]", element.get_element_name().c_str(), code);
    return ec::SCRIPT_E_FORMAT;
  }
  return set_literal(type, text, argument.data);
}

ec::EC CScript::proc_ref_element(CElement& ref, Parament& argument) {
  if (const unsigned int code = ref.get_text(argument.ref_name); code != 0) {
    RUN_LOG(ERROR, "获得[%s]节点出错，XEC[%0x]", "ref", code);
    return ec::SCRIPT_E_FORMAT;
  }
  if (argument.ref_name.empty()) {
    RUN_LOG(ERROR, "引用变量名不能为空\n");
    return ec::SCRIPT_EMPTY_NAME;
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::set_literal(VType type, const std::string& text, Value::Data& data) {
  switch (type) {
    case VT_INT:
      data.int_value.reset(new (std::nothrow) std::int32_t(script::int_of(text)));
      break;
    case VT_STRING: {
      std::string copy(text);
      data.string_value.reset(new (std::nothrow) std::string(std::move(copy)));
      break;
    }
    default:
      RUN_LOG(ERROR, "错误的值类型\n");
      return ec::SCRIPT_BAD_PARAM;
  }
  if (!data.int_value && !data.string_value) {
    RUN_LOG(ERROR, "申请内存失败\n");
    return ec::SCRIPT_NO_MEMORY;
  }
  return ec::SCRIPT_OK;
}

}  // namespace fwbase
