// What a script may call: the host's signatures and the file's declarations of functions.
#include <new>
#include <utility>
#include <vector>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"

namespace fwbase {

using support::addr32;
using support::WriteGuard;
using utility::CElement;

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
    std::list<ISyntax*> registered{syntax};
    if (ec::failed(InsertFunRule(name, types, count))) {
      return false;
    }
    m_syntaxes.splice(m_syntaxes.end(), registered);
    ++m_registrations;
    return true;
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return false;
  }
}

ec::EC CScript::InsertFunRule(const char* name, VType* types, int count) {
  if (name == nullptr || (types == nullptr && count > 0)) {
    RUN_LOG(ERROR, "param is error: vname=0x%x, pdata=0x%x\n", addr32(name), addr32(types));
    return ec::SCRIPT_E_PARAM;
  }
  std::list<VType> signature;
  if (count > 0) {
    signature.assign(types, types + count);
  }
  m_templates.insert_or_assign(name, std::move(signature));
  return ec::SCRIPT_OK;
}

ec::EC CScript::proc_template_element(CElement& element) {
  std::vector<CElement> funcs;
  if (const unsigned int code = element.get_child_element("Func", funcs); code != 0) {
    RUN_LOG(ERROR, "获得func节点出错，XEC[%0x]", code);
    return ec::SCRIPT_E_FORMAT;
  }
  ec::EC result = ec::SCRIPT_OK;
  for (CElement& func : funcs) {
    result = proc_func_element(func);
    if (ec::failed(result)) {
      break;
    }
  }
  return result;
}

ec::EC CScript::proc_func_element(CElement& func) {
  XmlFuncRule rule;
  if (const unsigned int code = func.get_attr("name", rule.name); code != 0) {
    RUN_LOG(ERROR, "获得func节点的name属性失败, XEC[%0x]\n", code);
    return ec::SCRIPT_E_ATTR;
  }
  std::vector<CElement> params;
  if (const unsigned int code = func.get_child_element("param", params); code != 0) {
    RUN_LOG(ERROR, "获得func的子节点失败, XEC[%0x]\n", code);
    return ec::SCRIPT_E_FORMAT;
  }
  XmlFuncParamRule param_rule;
  for (CElement& param : params) {
    const ec::EC result = proc_param_element(param, param_rule);
    if (ec::failed(result)) {
      return result;
    }
    rule.params.push_back(param_rule);
  }
  if (m_func_rules.contains(rule.name)) {
    RUN_LOG(ERROR, "同名函数已经存在，Func[%s]\n", rule.name.c_str());
    return ec::SCRIPT_FUNC_EXISTS;
  }
  std::string name = rule.name;
  m_func_rules.emplace(std::move(name), std::move(rule));
  return ec::SCRIPT_OK;
}

ec::EC CScript::proc_param_element(CElement& param, XmlFuncParamRule& rule) {
  if (const unsigned int code = param.get_attr("tag", rule.tag); code != 0) {
    RUN_LOG(ERROR, "获得param属性tag失败, XEC[%0x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  if (rule.tag == "params" || rule.tag == "ret") {
    RUN_LOG(ERROR, "tag的值[%s]不能与脚本关键字相同", rule.tag.c_str());
    return ec::SCRIPT_E_PARAM_TAG;
  }
  const ec::EC result = proc_param_type(param, rule);
  return ec::succeeded(result) ? proc_param_must(param, rule) : result;
}

ec::EC CScript::proc_param_type(CElement& param, XmlFuncParamRule& rule) {
  std::string type;
  if (const unsigned int code = param.get_attr("type", type); code != 0) {
    RUN_LOG(ERROR, "获得param属性type失败, XEC[%0x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  if (!script::type_of(type, rule.type)) {
    RUN_LOG(ERROR, "不能识别的参数类型，%s\n", type.c_str());
    return ec::SCRIPT_BAD_PARAM;
  }
  return ec::SCRIPT_OK;
}

ec::EC CScript::proc_param_must(CElement& param, XmlFuncParamRule& rule) {
  rule.must = true;
  if (!param.has_attr("must")) {
    return ec::SCRIPT_OK;
  }
  std::string must;
  if (const unsigned int code = param.get_attr("must", must); code != 0) {
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
  rule.must = false;
  return proc_param_default(param, rule);
}

ec::EC CScript::proc_param_default(CElement& param, XmlFuncParamRule& rule) {
  if (!param.has_attr("defaultval")) {
    rule.defaultval.clear();
    if (rule.type == VT_INT) {
      rule.defaultval.push_back('0');
    }
    return ec::SCRIPT_OK;
  }
  if (const unsigned int code = param.get_attr("defaultval", rule.defaultval); code != 0) {
    RUN_LOG(ERROR, "获得param属性defaultval失败, XEC[%0x]", code);
    return ec::SCRIPT_E_ATTR;
  }
  return ec::SCRIPT_OK;
}

}  // namespace fwbase
