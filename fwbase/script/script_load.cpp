// Loading: makes a document of a file and a program of the document, and adds the program to the
// engine. The first mistake ends the load; everything that was read before it stays.
#include <new>
#include <utility>

#include "fwbase/runlog/runlog.h"
#include "fwbase/script/document.h"
#include "fwbase/script/loaded_program.h"
#include "support/cancellation_block.h"

namespace fwbase {

using script::Failure;
using script::Mistake;
using script::Program;
using support::WriteGuard;

/// The functions and sections of the engine when a load begins. Valid while the load holds the
/// lock.
class CScript::Loaded final : public script::Surroundings {
 public:
  explicit Loaded(CScript& engine) FWBASE_REQUIRES(engine.m_lock)
      : m_engine(engine),
        m_templates(engine.m_templates),
        m_func_rules(engine.m_func_rules),
        m_sections(engine.m_sections),
        m_is_in_section(!engine.m_cur_section.empty()) {}

  const script::Signatures* signatures() const override { return &m_templates; }
  std::shared_ptr<const script::XmlFuncRule> declared(std::string_view name) const override {
    const auto found = m_func_rules.find(name);
    return found != m_func_rules.end() ? found->second : nullptr;
  }
  bool has_section(std::string_view name) const override { return m_sections.contains(name); }
  bool is_in_section() const override { return m_is_in_section; }
  void default_taken(const script::XmlFuncParamRule& rule) override { m_engine.log_default(rule); }

 private:
  CScript& m_engine;
  const script::Signatures& m_templates;
  const FuncRules& m_func_rules;
  const Sections& m_sections;
  const bool m_is_in_section;
};

ec::EC CScript::load_script(const char* path) {
  const support::CancellationBlock no_cancellation;
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
  }
}

ec::EC CScript::load_script_document(const char* path) {
  m_script_file = path;
  std::string bytes;
  script::Document document;
  if (const unsigned int code = document.load(path, bytes); code != 0) {
    drop_document();
    RUN_LOG(ERROR, "加载脚本出错, File[%s], Xec[%d]\n", path, code);
    return ec::SCRIPT_E_LOAD;
  }
  Loaded loaded(*this);
  Program program;
  const Failure failure = script::read_program(document, loaded, program);
  drop_document();
  m_bytes = std::move(bytes);
  add(std::move(program));
  if (failure.mistake == Mistake::kSectionMemory) {
    m_cur_section = failure.text;
    m_sections.try_emplace(m_cur_section);
  }
  if (failure.mistake != Mistake::kNone) {
    log_mistake(failure);
  }
  return failure.code;
}

// Adds in the order of the file: when memory runs out, everything that was added before stays.
void CScript::add(Program program) {
  const auto loaded = std::make_shared<LoadedProgram>(std::move(program));
  for (const auto& function : loaded->program.functions) {
    m_func_rules.emplace(function->name, function);
  }
  for (const script::Variable& variable : loaded->program.variables) {
    m_values.global().bring(variable.name, script::value_of(variable));
  }
  for (const script::Section& section : loaded->program.sections) {
    m_sections.emplace(section.name, FoundSection{loaded, &section});
  }
}

void CScript::log_default(const script::XmlFuncParamRule& rule) {
  RUN_LOG(DEBUG, "没有[%s]节点，采用默认值[%s]\n", rule.tag.c_str(), rule.defaultval.c_str());
}

void CScript::log_mistake(const Failure& failure) {
  const char* const text = failure.text.c_str();
  switch (failure.mistake) {
    case Mistake::kNone:
      break;
    case Mistake::kRootName:
      RUN_LOG(ERROR, "XML 根节点不是指定的节点，[%s]\n", text);
      break;
    case Mistake::kFuncName:
      RUN_LOG(ERROR, "获得func节点的name属性失败, XEC[%0x]\n", failure.number);
      break;
    case Mistake::kParamTag:
      RUN_LOG(ERROR, "获得param属性tag失败, XEC[%0x]", failure.number);
      break;
    case Mistake::kReservedTag:
      RUN_LOG(ERROR, "tag的值[%s]不能与脚本关键字相同", text);
      break;
    case Mistake::kParamType:
      RUN_LOG(ERROR, "获得param属性type失败, XEC[%0x]", failure.number);
      break;
    case Mistake::kUnknownType:
      RUN_LOG(ERROR, "不能识别的参数类型，%s\n", text);
      break;
    case Mistake::kParamMust:
      RUN_LOG(ERROR, "获得param属性must失败, XEC[%0x]", failure.number);
      break;
    case Mistake::kUnknownMust:
      RUN_LOG(ERROR, "不能识别的must属性[%s]%s\n", text, "");
      break;
    case Mistake::kParamDefault:
      RUN_LOG(ERROR, "获得param属性defaultval失败, XEC[%0x]", failure.number);
      break;
    case Mistake::kFunctionExists:
      RUN_LOG(ERROR, "同名函数已经存在，Func[%s]\n", text);
      break;
    case Mistake::kNoProcess:
      RUN_LOG(ERROR, "进程节点数目不能为0\n");
      break;
    case Mistake::kProcessName:
      RUN_LOG(ERROR, "获得进程name属性失败, XEC[%x]\n", failure.number);
      break;
    case Mistake::kVarName:
      RUN_LOG(ERROR, "获得节点的name属性失败，XEC[%x]", failure.number);
      break;
    case Mistake::kVarValue:
      RUN_LOG(ERROR, "获得节点的value属性失败，XEC[%x]", failure.number);
      break;
    case Mistake::kVarType:
      RUN_LOG(ERROR, "获得节点的type属性失败，XEC[%x]", failure.number);
      break;
    case Mistake::kSectionName:
      RUN_LOG(ERROR, "获得section节点的name属性失败\n");
      break;
    case Mistake::kSectionExists:
      RUN_LOG(ERROR, "名字为[%s]的section已经存在\n", text);
      break;
    case Mistake::kSectionNested:
      RUN_LOG(ERROR, "section不允许嵌套\n");
      break;
    case Mistake::kSectionMemory:
      RUN_LOG(ERROR, "申请内存失败\n");
      break;
    case Mistake::kUndeclared:
      RUN_LOG(ERROR, "函数[%s]没有在模板中定义\n", text);
      break;
    case Mistake::kUnregistered:
      RUN_LOG(ERROR, "没有找到模板[%s]", text);
      break;
    case Mistake::kParameterCount:
      RUN_LOG(ERROR, "模版参数与扩展函数参数不一样\n");
      break;
    case Mistake::kParameterType:
      RUN_LOG(ERROR, "参数类型错误,[0x%x][0x%x]\n", failure.number, failure.number2);
      break;
    case Mistake::kUnreadableChild:
      RUN_LOG(ERROR, "获得子节点失败[%s]\n", text);
      break;
    case Mistake::kRepeatedArgument:
      RUN_LOG(ERROR, "字节点[%s]有数目不对:%d\n", text, static_cast<int>(failure.number));
      break;
    case Mistake::kMissingArgument:
      RUN_LOG(ERROR, "节点[%s->%s]必须存在\n", failure.text2.c_str(), text);
      break;
    case Mistake::kUnreadableText:
      RUN_LOG(ERROR, "获得[%s]节点出错，XEC[%0x]", text, failure.number);
      break;
    case Mistake::kEmptyRef:
      RUN_LOG(ERROR, "引用变量名不能为空\n");
      break;
    case Mistake::kEmptyRet:
      RUN_LOG(ERROR, "返回值名不能为空\n");
      break;
    case Mistake::kNoMemory:
      RUN_LOG(ERROR, "申请内存失败");
      break;
  }
}

}  // namespace fwbase
