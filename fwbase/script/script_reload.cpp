// Reloading: reads a file without the lock, as a program for an engine that has loaded nothing.
// Then the program replaces all loaded files, in one step that cannot fail half-way.
#include <new>
#include <utility>

#include "fwbase/runlog/runlog.h"
#include "fwbase/script/document.h"
#include "fwbase/script/findings.h"
#include "fwbase/script/loaded_program.h"
#include "support/cancellation_block.h"

namespace fwbase {

using script::Document;
using script::Failure;
using script::Mistake;
using script::Program;
using support::ReadGuard;
using support::WriteGuard;

namespace {

/// Logs each default that is taken, as loading does.
class EmptyEngine final : public script::EmptyEngine {
 public:
  using Tell = std::function<void(const script::XmlFuncParamRule& rule)>;

  EmptyEngine(const script::Signatures& signatures, Tell tell)
      : script::EmptyEngine(&signatures), m_tell(std::move(tell)) {}

  void default_taken(const script::XmlFuncParamRule& rule) override { m_tell(rule); }

 private:
  const Tell m_tell;
};

}  // namespace

/// The content of a file, ready to be swapped in.
struct CScript::Replacement {
  std::uint64_t registrations = 0;  ///< the engine's count when `signatures` were copied
  script::Signatures signatures;
  std::string path;
  std::string bytes;
  FuncRules func_rules;
  Sections sections;
  script::NamedValues variables;

  void take(Program read) {
    const auto loaded = std::make_shared<LoadedProgram>(std::move(read));
    for (const auto& function : loaded->program.functions) {
      func_rules.emplace(function->name, function);
    }
    for (const script::Section& section : loaded->program.sections) {
      sections.emplace(section.name, FoundSection{loaded, &section});
    }
    for (const script::Variable& variable : loaded->program.variables) {
      variables.insert_or_assign(std::string(variable.name), script::value_of(variable));
    }
  }
};

ec::EC CScript::reload_script(const char* path, std::vector<Finding>* findings) {
  const support::CancellationBlock no_cancellation;
  try {
    if (findings != nullptr) {
      findings->clear();
    }
    if (path == nullptr || *path == '\0') {
      if (findings != nullptr) {
        findings->push_back(script::nameless());
      }
      RUN_LOG(ERROR, "脚本名错误: czName=%x\n", addr32(path));
      return ec::SCRIPT_E_PARAM;
    }
    // A function that is registered meanwhile may have another signature.
    ec::EC result = ec::SCRIPT_OK;
    Replacement next;
    do {
      result = read_replacement(path, next, findings);
    } while (ec::succeeded(result) && !replace(next));
    return result;
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
}

ec::EC CScript::read_replacement(const char* path, Replacement& next,
                                 std::vector<Finding>* findings) {
  next = {};
  next.path = path;
  {
    const ReadGuard guard(m_lock);
    next.registrations = m_registrations;
    next.signatures = m_templates;
  }
  Document document;
  const unsigned int code = document.load(path, next.bytes);
  if (findings != nullptr) {
    *findings = script::findings_of(path, document, code, &next.signatures, {});
  }
  if (code != 0) {
    RUN_LOG(ERROR, "加载脚本出错, File[%s], Xec[%d]\n", path, code);
    return ec::SCRIPT_E_LOAD;
  }
  EmptyEngine engine(next.signatures, [this](auto& rule) { log_default(rule); });
  Program program;
  const Failure failure = script::read_program(document, engine, program);
  if (failure.mistake != Mistake::kNone) {
    log_mistake(failure);
    return failure.code;
  }
  next.take(std::move(program));
  return ec::SCRIPT_OK;
}

// The caller's `next` gets the old content, and frees it without the lock.
bool CScript::replace(Replacement& next) {
  const WriteGuard guard(m_lock);
  if (m_registrations != next.registrations) {
    return false;
  }
  m_values.global().replace_brought(next.variables);
  m_func_rules.swap(next.func_rules);
  m_sections.swap(next.sections);
  m_cur_section.clear();
  m_script_file.swap(next.path);
  m_bytes.swap(next.bytes);
  m_xml.release();
  return true;
}

}  // namespace fwbase
