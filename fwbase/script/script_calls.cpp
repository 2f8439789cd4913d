// Call elements of a section become recorded calls, their arguments read against the declaration.
#include <algorithm>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"

namespace fwbase {

using utility::CElement;

namespace {
constexpr std::size_t kUsualChildren = 8;  // of an argument set, at most

// Any order will do, so the cheaper comparison comes first.
bool goes_before(std::string_view a, std::string_view b) {
  return a.size() != b.size() ? a.size() < b.size() : a < b;
}
}  // namespace

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

bool CScript::children_by_name(const CElement& set, ChildrenByName& children) {
  children.reserve(kUsualChildren);
  CElement child;
  unsigned int code = set.get_first_child_element(child);
  while (code == utility::XEC_OK) {
    children.push_back({child.get_element_name(), children.size(), child});
    code = child.get_next_element(child);
  }
  std::sort(children.begin(), children.end(), [](const NamedChild& a, const NamedChild& b) {
    return a.name != b.name ? goes_before(a.name, b.name) : a.position < b.position;
  });
  return code == utility::XEC_NOT_FOUND;
}

std::span<CScript::NamedChild> CScript::children_named(ChildrenByName& children,
                                                       std::string_view name) {
  const auto first = std::lower_bound(
      children.begin(), children.end(), name,
      [](const NamedChild& child, std::string_view n) { return goes_before(child.name, n); });
  const auto last = std::find_if(first, children.end(),
                                 [name](const NamedChild& child) { return child.name != name; });
  return {first, last};
}

ec::EC CScript::proc_params_child(ChildrenByName& children, const std::string& function,
                                  const XmlFuncParamRule& rule, Parament& argument) {
  const std::span<NamedChild> found = children_named(children, rule.tag);
  if (found.size() > 1) {
    RUN_LOG(ERROR, "字节点[%s]有数目不对:%d\n", rule.tag.c_str(), static_cast<int>(found.size()));
    return ec::SCRIPT_E_PARAMS_CHILD;
  }
  if (!found.empty()) {
    return proc_function_param(found.front().element, rule.type, argument);
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
  const std::span<NamedChild> found = children_named(children, "ret");
  if (found.empty()) {
    return ec::SCRIPT_OK;
  }
  if (found.front().element.get_text(ret) != 0) {
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
  return set_literal(type, std::move(text), argument.data);
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

ec::EC CScript::set_literal(VType type, std::string text, Value::Data& data) {
  switch (type) {
    case VT_INT:
      data.int_value.reset(new (std::nothrow) std::int32_t(script::int_of(text)));
      break;
    case VT_STRING:
      data.string_value.reset(new (std::nothrow) std::string(std::move(text)));
      break;
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
