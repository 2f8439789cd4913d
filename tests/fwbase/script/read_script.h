// Script files as the reader understands them, one on top of the other.
#ifndef FWBASE_TESTS_FWBASE_SCRIPT_READ_SCRIPT_H
#define FWBASE_TESTS_FWBASE_SCRIPT_READ_SCRIPT_H

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "fwbase/script/document.h"
#include "fwbase/script/reader.h"

namespace fwbase::test {

/// The XML platform must be in service.
class ReadScripts : public script::Surroundings {
 public:
  ReadScripts() = default;

  void add(IScript::ISyntax& function) {
    const int count = std::max(function.param_count(), 0);
    const IScript::VType* const types = function.param_types();
    m_signatures[function.name()] = {types, types + count};
  }

  ec::EC load(const std::string& path) {
    std::string bytes;
    script::Document document;
    if (document.load(path, bytes) != 0) {
      return ec::SCRIPT_E_LOAD;
    }
    script::Program program;
    const script::Failure failure = script::read_program(document, *this, program);
    m_programs.push_back(std::make_shared<script::Program>(std::move(program)));
    return failure.code;
  }

  /// A section's calls, such as "f(int 1,string a,ref x)->ret", or {"no section"}.
  std::vector<std::string> calls(const std::string& name) const {
    for (const auto& program : m_programs) {
      for (const script::Section& section : program->sections) {
        if (section.name == name) {
          return calls(*program, section);
        }
      }
    }
    return {"no section"};
  }

  std::vector<std::string> section_names() const {
    std::set<std::string> names;
    for (const auto& program : m_programs) {
      for (const script::Section& section : program->sections) {
        names.emplace(section.name);
      }
    }
    return {names.begin(), names.end()};
  }

  std::vector<std::string> func_names() const {
    std::set<std::string> names;
    for (const auto& program : m_programs) {
      for (const auto& function : program->functions) {
        names.insert(function->name);
      }
    }
    return {names.begin(), names.end()};
  }

  std::set<std::string> variable_names() const {
    std::set<std::string> names;
    for (const auto& program : m_programs) {
      for (const script::Variable& variable : program->variables) {
        names.emplace(variable.name);
      }
    }
    return names;
  }

  /// A declared function's parameters, such as "tag:int:must" or "tag:string:'default'".
  std::vector<std::string> declared(const std::string& name) const {
    std::vector<std::string> texts;
    const auto rule = declared(std::string_view(name));
    for (const script::XmlFuncParamRule& param : rule->params) {
      texts.push_back(param.tag + (param.type == IScript::VT_INT ? ":int:" : ":string:") +
                      (param.must ? "must" : "'" + param.defaultval + "'"));
    }
    return texts;
  }

  const script::Signatures* signatures() const override { return &m_signatures; }
  std::shared_ptr<const script::XmlFuncRule> declared(std::string_view name) const override {
    for (const auto& program : m_programs) {
      for (const auto& function : program->functions) {
        if (function->name == name) {
          return function;
        }
      }
    }
    return nullptr;
  }
  bool has_section(std::string_view name) const override {
    return std::any_of(m_programs.begin(), m_programs.end(), [name](const auto& program) {
      const auto& sections = program->sections;
      return std::any_of(sections.begin(), sections.end(),
                         [name](const script::Section& one) { return one.name == name; });
    });
  }

 private:
  static std::vector<std::string> calls(const script::Program& program,
                                        const script::Section& section) {
    std::vector<std::string> texts;
    for (std::uint32_t i = 0; i < section.call_count; ++i) {
      texts.push_back(shown(program, program.calls[section.first_call + i]));
    }
    return texts;
  }

  static std::string shown(const script::Program& program, const script::Fun& call) {
    const script::XmlFuncRule& rule = *program.called[call.function];
    std::vector<std::string> arguments;
    for (std::size_t i = 0; i < rule.params.size(); ++i) {
      const IScript::VValue& value = program.arguments[call.first_argument + i];
      if (rule.params[i].type == IScript::VT_INT) {
        arguments.push_back("int " + std::to_string(value.int_value));
      } else {
        arguments.push_back(
            value.string_value != nullptr ? "string " + std::string(value.string_value) : "");
      }
    }
    for (std::uint32_t i = 0; i < call.reference_count; ++i) {
      const script::Reference& reference = program.references[call.first_reference + i];
      arguments[reference.argument] = std::string("ref ") + reference.name;
    }
    std::string text = rule.name + "(";
    for (const std::string& argument : arguments) {
      text += (text.back() == '(' ? "" : ",") + argument;
    }
    return text + ")" + (call.ret != nullptr ? std::string("->") + call.ret : "");
  }

  script::Signatures m_signatures;
  std::vector<std::shared_ptr<script::Program>> m_programs;
};

}  // namespace fwbase::test

#endif
