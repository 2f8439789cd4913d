// One function for each kind of element, in the order in which a load reads them: all templates,
// then process by process the variables and the sections.
#include "fwbase/script/reader.h"

#include <algorithm>
#include <new>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <utility/element.h>

namespace fwbase::script {

namespace {

using Element = Document::Element;
using NameId = Document::NameId;

/// Ends the reading of a load at its first mistake.
struct Stop {};

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

// The text of an element; empty when the code page cannot express it.
std::string text_of(const Element& element) {
  std::string_view text;
  element.text(text);
  return std::string(text);
}

const char* type_name(IScript::VType type) { return type == IScript::VT_INT ? "int" : "string"; }

/// The names that the reader looks for, as the document numbers them.
struct Vocabulary {
  explicit Vocabulary(const Document& document) : m_document(document) {}

  NameId operator()(std::string_view text) const {
    return m_document.find_name(text).value_or(kAbsent);
  }

  static constexpr NameId kAbsent = UINT32_MAX;  // no element has it

 private:
  const Document& m_document;

 public:
  const NameId template_element = (*this)("template");
  const NameId func = (*this)("Func");
  const NameId param = (*this)("param");
  const NameId process = (*this)("Process");
  const NameId data = (*this)("Data");
  const NameId var = (*this)("var");
  const NameId exec = (*this)("Exec");
  const NameId section = (*this)("section");
  const NameId params = (*this)("params");
  const NameId ref = (*this)("ref");
  const NameId ret = (*this)("ret");
  const NameId name = (*this)("name");
  const NameId tag = (*this)("tag");
  const NameId type = (*this)("type");
  const NameId must = (*this)("must");
  const NameId defaultval = (*this)("defaultval");
  const NameId value = (*this)("value");
};

/// A parameter as calls need it.
struct Parameter {
  NameId tag = Vocabulary::kAbsent;
  bool has_known_type = true;                    ///< false when its declaration is wrong
  bool has_tag = true;                           ///< likewise
  std::optional<IScript::VValue> default_value;  ///< set by the first call that takes it
};

/// A function that is declared, in this file or an earlier one.
struct Declared {
  std::shared_ptr<const XmlFuncRule> rule;
  bool is_of_this_file = false;
  bool is_called = false;   // in this file, and so checked
  bool is_provided = true;  // by the host
  std::vector<Parameter> params;
  std::optional<std::uint32_t> number;  // among the called ones of the program
};

class Reader {
 public:
  Reader(const Document& document, Surroundings& surroundings, Program& program,
         std::vector<Finding>* findings, Outline* outline = nullptr)
      : m_surroundings(surroundings),
        m_program(program),
        m_findings(findings),
        m_outline(outline),
        m_names(document),
        m_by_name(document.name_count()),
        m_children(document.name_count()) {}

  void read_root(const Element& root);

  Failure take_failure() { return std::move(m_failure); }

 private:
  void read_template(const Element& element);
  void read_func(const Element& func);
  void read_param(const Element& param, XmlFuncParamRule& rule, Parameter& known);
  bool read_param_tag(const Element& param, std::string_view& tag);
  bool read_param_must(const Element& param, XmlFuncParamRule& rule);
  void read_param_default(const Element& param, std::string_view type, XmlFuncParamRule& rule);
  void declare(std::shared_ptr<const XmlFuncRule> rule, std::vector<Parameter> params);

  void read_process(const Element& process);
  void read_data(const Element& data);
  void read_var(const Element& var);
  void read_exec(const Element& exec);
  void read_section(const Element& section);
  void begin_section(const Element& section, std::string_view name);

  void read_call(const Element& call);
  void outline_call(const Element& call, const Element& set);
  Declared* called(const Element& call);
  Declared* declared(const Element& call);
  Declared make_declared(std::shared_ptr<const XmlFuncRule> rule) const;
  void check_function(const Element& call, Declared& function);
  void compare(const Element& call, const Declared& function,
               const std::vector<IScript::VType>& signature);

  void read_argument_set(const Element& set, Declared& function);
  void count_children(const Element& set);
  void read_parameter(const Element& set, Declared& function, std::size_t index, Fun& call);
  void report_repeated(const Element& set, const XmlFuncParamRule& rule, NameId tag);
  void take_default(Parameter& param, const XmlFuncParamRule& rule);
  void read_argument(const Element& argument, IScript::VType type, std::size_t index, Fun& call);
  void read_ref(const Element& ref, IScript::VType type, std::size_t index, Fun& call);
  void read_ret(const Element& ret, Fun& call);
  IScript::VValue literal(IScript::VType type, std::string_view text);

  bool read_attribute(const Element& element, NameId id, const char* name, Mistake mistake,
                      std::string_view& value);
  bool read_type(const Element& element, Mistake missing, std::string_view& text,
                 IScript::VType& type);
  void fail(const Element& element, const char* rule, std::string message, Failure failure) {
    fail(element.place(), rule, std::move(message), std::move(failure));
  }
  void fail(Place place, const char* rule, std::string message, Failure failure);

  std::optional<Element> child(const Element& parent, NameId name) const {
    for (const Element one : parent.children()) {
      if (one.name_id() == name) {
        return one;
      }
    }
    return std::nullopt;
  }

  /// The children of one name in the argument set that is being read.
  struct Children {
    std::uint32_t set = 0;  // the number of the argument set, from 1
    std::uint32_t count = 0;
    std::optional<Element> first;
  };
  const Children& children_named(NameId name) const {
    static const Children kNone;
    return name < m_children.size() && m_children[name].set == m_set ? m_children[name] : kNone;
  }

  Surroundings& m_surroundings;
  Program& m_program;
  std::vector<Finding>* const m_findings;  // null when the first mistake ends reading
  Outline* const m_outline;                // null when nobody asks for it
  Failure m_failure;
  const Vocabulary m_names;

  std::unordered_map<std::string_view, Declared> m_declared;
  std::vector<std::optional<Declared*>> m_by_name;  // functions that calls name
  std::unordered_set<std::string_view> m_sections;
  Section* m_section = nullptr;      // the section that calls are recorded in
  std::vector<Children> m_children;  // by name
  std::uint32_t m_set = 0;
};

void Reader::fail(Place place, const char* rule, std::string message, Failure failure) {
  if (m_findings == nullptr) {
    m_failure = std::move(failure);
    throw Stop();
  }
  m_findings->push_back({true, place, rule, std::move(message), failure.code});
}

bool Reader::read_attribute(const Element& element, NameId id, const char* name, Mistake mistake,
                            std::string_view& value) {
  const unsigned int code = element.attribute(id, value);
  if (code == utility::XEC_OK) {
    return true;
  }
  const bool is_missing = code == utility::XEC_NO_ATTR;
  fail(element, is_missing ? "missing-attribute" : "unconvertible",
       quoted(element.name()) + (is_missing ? " needs the attribute " : " has an attribute ") +
           quoted(name) + (is_missing ? "" : " that the code page of the locale cannot express"),
       {mistake, ec::SCRIPT_E_ATTR, {}, {}, code, 0});
  return false;
}

bool Reader::read_type(const Element& element, Mistake missing, std::string_view& text,
                       IScript::VType& type) {
  if (!read_attribute(element, m_names.type, "type", missing, text)) {
    return false;
  }
  const bool is_known = type_of(text, type);
  if (!is_known) {
    fail(element, "bad-type", "the type " + quoted(text) + " is neither \"int\" nor \"string\"",
         {Mistake::kUnknownType, ec::SCRIPT_BAD_PARAM, std::string(text), {}, 0, 0});
  }
  return is_known;
}

void Reader::read_root(const Element& root) {
  if (root.name() != kRootElement) {
    fail(root, "wrong-root",
         "the root element is " + quoted(root.name()) + ", not " + quoted(kRootElement),
         {Mistake::kRootName, ec::SCRIPT_E_ROOT_NAME, root.name(), {}, 0, 0});
    return;
  }
  for (const Element child : root.children()) {
    if (child.name_id() == m_names.template_element) {
      read_template(child);
    }
  }
  bool has_process = false;
  for (const Element child : root.children()) {
    if (child.name_id() == m_names.process) {
      has_process = true;
      read_process(child);
    }
  }
  if (!has_process) {
    fail(root, "no-process", "there is no \"Process\" element",
         {Mistake::kNoProcess, ec::SCRIPT_NO_PROCESS, {}, {}, 0, 0});
  }
}

void Reader::read_template(const Element& element) {
  for (const Element child : element.children()) {
    if (child.name_id() == m_names.func) {
      read_func(child);
    }
  }
}

void Reader::read_func(const Element& func) {
  auto rule = std::make_shared<XmlFuncRule>();
  rule->place = func.place();
  std::string_view name;
  const bool is_named = read_attribute(func, m_names.name, "name", Mistake::kFuncName, name);
  rule->name = name;
  if (m_outline != nullptr) {
    m_outline->functions.add({rule->name, {}});
  }
  std::vector<Parameter> params;
  for (const Element child : func.children()) {
    if (child.name_id() == m_names.param) {
      XmlFuncParamRule& param = rule->params.emplace_back();
      read_param(child, param, params.emplace_back());
    }
  }
  if (!is_named) {
    return;
  }
  if (m_declared.contains(name) || m_surroundings.declared(name) != nullptr) {
    fail(func, "duplicate-function", "the function " + quoted(name) + " is declared already",
         {Mistake::kFunctionExists, ec::SCRIPT_FUNC_EXISTS, rule->name, {}, 0, 0});
    return;
  }
  declare(std::move(rule), std::move(params));
}

void Reader::declare(std::shared_ptr<const XmlFuncRule> rule, std::vector<Parameter> params) {
  Declared function;
  function.rule = rule;
  function.is_of_this_file = true;
  function.params = std::move(params);
  m_program.functions.push_back(rule);
  m_declared.emplace(rule->name, std::move(function));
}

void Reader::read_param(const Element& param, XmlFuncParamRule& rule, Parameter& known) {
  rule.place = param.place();
  std::string_view tag;
  std::string_view type;
  known.has_tag = read_param_tag(param, tag);
  known.has_known_type = read_type(param, Mistake::kParamType, type, rule.type);
  const bool has_default = read_param_must(param, rule);
  if (has_default) {
    read_param_default(param, type, rule);
  }
  if (known.has_tag) {
    rule.tag = tag;
  }
  known.tag = m_names(rule.tag);
  if (m_outline != nullptr) {
    m_outline->functions.back().parameters.push_back(
        {std::string(tag), std::string(type),
         has_default ? std::optional(rule.defaultval) : std::nullopt});
  }
}

bool Reader::read_param_tag(const Element& param, std::string_view& tag) {
  if (!read_attribute(param, m_names.tag, "tag", Mistake::kParamTag, tag)) {
    return false;
  }
  const bool is_reserved = tag == "params" || tag == "ret";
  if (is_reserved) {
    fail(param, "reserved-tag", "the tag " + quoted(tag) + " is a keyword of calls",
         {Mistake::kReservedTag, ec::SCRIPT_E_PARAM_TAG, std::string(tag), {}, 0, 0});
  }
  return !is_reserved;
}

// Reads whether a default takes the place of a missing argument. When the file does not make that
// clear, a call may leave the argument out.
bool Reader::read_param_must(const Element& param, XmlFuncParamRule& rule) {
  if (!param.has_attribute(m_names.must)) {
    return false;
  }
  std::string_view must;
  const bool is_read = read_attribute(param, m_names.must, "must", Mistake::kParamMust, must);
  rule.must = must == "true";
  const bool has_default = must == "false";
  // cppcheck-suppress knownConditionTrueFalse  ; read_attribute() sets the text
  if (is_read && !rule.must && !has_default) {
    fail(param, "bad-must", "\"must\" is " + quoted(must) + ", neither \"true\" nor \"false\"",
         {Mistake::kUnknownMust, ec::SCRIPT_BAD_PARAM, std::string(must), {}, 0, 0});
  }
  return has_default;
}

void Reader::read_param_default(const Element& param, std::string_view type,
                                XmlFuncParamRule& rule) {
  std::string_view text = type == "int" ? "0" : "";
  if (param.has_attribute(m_names.defaultval)) {
    read_attribute(param, m_names.defaultval, "defaultval", Mistake::kParamDefault, text);
  }
  rule.defaultval = text;
}

// A process with another name is not for this engine.
void Reader::read_process(const Element& process) {
  std::string_view name;
  const bool is_read = read_attribute(process, m_names.name, "name", Mistake::kProcessName, name);
  const bool is_unconvertible = !is_read && process.has_attribute(m_names.name);
  if (!name.empty() || is_unconvertible) {
    if (m_outline != nullptr) {
      m_outline->other_processes.emplace_back(name);
    }
    return;
  }
  for (const Element child : process.children()) {
    if (child.name_id() == m_names.data) {
      read_data(child);
    }
  }
  for (const Element child : process.children()) {
    if (child.name_id() == m_names.exec) {
      read_exec(child);
    }
  }
}

void Reader::read_data(const Element& data) {
  for (const Element child : data.children()) {
    if (child.name_id() == m_names.var) {
      read_var(child);
    }
  }
}

void Reader::read_var(const Element& var) {
  Variable variable{};
  variable.place = var.place();
  std::string_view name;
  std::string_view value;
  std::string_view type;
  const bool has_name = read_attribute(var, m_names.name, "name", Mistake::kVarName, name);
  const bool has_value = read_attribute(var, m_names.value, "value", Mistake::kVarValue, value);
  const bool has_type = read_type(var, Mistake::kVarType, type, variable.type);
  if (m_outline != nullptr) {
    m_outline->variables.push_back({std::string(name), std::string(type), std::string(value)});
  }
  if (!has_name || !has_value || !has_type) {
    return;
  }
  variable.name = m_program.keep(name);
  if (variable.type == IScript::VT_INT) {
    variable.number = int_of(value);
  } else {
    variable.text = m_program.keep(value);
  }
  m_program.variables.push_back(variable);
}

void Reader::read_exec(const Element& exec) {
  for (const Element child : exec.children()) {
    if (child.name_id() == m_names.section) {
      read_section(child);
    }
  }
}

void Reader::read_section(const Element& section) {
  std::string_view name;
  const bool is_named = read_attribute(section, m_names.name, "name", Mistake::kSectionName, name);
  const bool exists = m_sections.contains(name) || m_surroundings.has_section(name);
  if (is_named && exists) {
    fail(section, "duplicate-section", "the section " + quoted(name) + " exists already",
         {Mistake::kSectionExists, ec::SCRIPT_E_SECTION_DUP, std::string(name), {}, 0, 0});
  }
  if (m_surroundings.is_in_section()) {
    fail(section, "nested-section", "an earlier load has not left its section",
         {Mistake::kSectionNested, ec::SCRIPT_SECTION_NESTED, {}, {}, 0, 0});
  }
  try {
    begin_section(section, name);
    if (is_named) {
      m_sections.insert(m_section->name);
    }
  } catch (const std::bad_alloc&) {
    fail(section, "no-memory", "memory has run out",
         {Mistake::kSectionMemory, ec::SCRIPT_NO_MEMORY, std::string(name), {}, 0, 0});
    throw;
  }
  if (m_outline != nullptr) {
    m_outline->sections.add({std::string(name), {}});
  }
  for (const Element call : section.children()) {
    read_call(call);
  }
}

void Reader::begin_section(const Element& section, std::string_view name) {
  const std::string_view kept = m_program.keep(name);
  m_section = &m_program.sections.emplace_back();
  m_section->name = kept;
  m_section->first_call = static_cast<std::uint32_t>(m_program.calls.size());
  m_section->place = section.place();
}

void Reader::read_call(const Element& call) {
  Declared* const function = called(call);
  const auto read_set = [&](const Element& set) {
    if (m_outline != nullptr) {
      outline_call(call, set);
    }
    if (function != nullptr) {
      read_argument_set(set, *function);
    }
  };
  bool has_sets = false;
  for (const Element child : call.children()) {
    if (child.name_id() == m_names.params) {
      has_sets = true;
      read_set(child);
    }
  }
  if (!has_sets) {
    read_set(call);
  }
}

// Outlines the arguments that the call has, whatever its function takes.
void Reader::outline_call(const Element& call, const Element& set) {
  const std::optional<Element> ret = child(set, m_names.ret);
  Outline::Call written{call.name(), {}, ret ? text_of(*ret) : "", set.place()};
  for (const Element argument : set.children()) {
    if (argument.name_id() != m_names.ret && argument.name_id() != m_names.params) {
      const std::optional<Element> ref = child(argument, m_names.ref);
      written.arguments.push_back(
          {argument.name(), text_of(ref.value_or(argument)), ref.has_value()});
    }
  }
  m_outline->sections.back().calls.push_back(std::move(written));
}

// The declared function that the call names; null after a mistake.
Declared* Reader::called(const Element& call) {
  Declared* const function = declared(call);
  if (function == nullptr) {
    const bool is_unconvertible = call.name_id() == Document::kNoName;
    fail(call, is_unconvertible ? "unconvertible" : "undeclared-function",
         is_unconvertible
             ? "the name of the element is one that the code page of the locale cannot express"
             : "no \"Func\" declares " + quoted(call.name()),
         {Mistake::kUndeclared, ec::SCRIPT_NO_RULE, call.name(), {}, 0, 0});
    return nullptr;
  }
  check_function(call, *function);
  return function->is_provided ? function : nullptr;
}

Declared* Reader::declared(const Element& call) {
  std::optional<Declared*>& known = m_by_name[call.name_id()];
  if (!known) {
    auto found = m_declared.find(call.name());
    if (found == m_declared.end()) {
      const std::shared_ptr<const XmlFuncRule> earlier = m_surroundings.declared(call.name());
      if (earlier != nullptr) {
        found = m_declared.emplace(earlier->name, make_declared(earlier)).first;
      }
    }
    const bool is_found = found != m_declared.end() && !call.name().empty();
    known = is_found ? &found->second : nullptr;
  }
  return *known;
}

Declared Reader::make_declared(std::shared_ptr<const XmlFuncRule> rule) const {
  Declared function;
  function.rule = std::move(rule);
  for (const XmlFuncParamRule& param : function.rule->params) {
    function.params.emplace_back().tag = m_names(param.tag);
  }
  return function;
}

// A declaration is compared with the host's function when something calls it, not before.
void Reader::check_function(const Element& call, Declared& function) {
  const Signatures* const signatures = m_surroundings.signatures();
  const bool is_first = !std::exchange(function.is_called, true);
  if (is_first && signatures != nullptr) {
    const auto found = signatures->find(function.rule->name);
    function.is_provided = found != signatures->end();
    if (function.is_provided) {
      compare(call, function, found->second);
    }
  }
  if (!function.is_provided) {
    fail(call, "unregistered-function", "the host has no function " + quoted(function.rule->name),
         {Mistake::kUnregistered, ec::SCRIPT_NO_RULE, function.rule->name, {}, 0, 0});
  }
}

void Reader::compare(const Element& call, const Declared& function,
                     const std::vector<IScript::VType>& signature) {
  const std::vector<XmlFuncParamRule>& params = function.rule->params;
  const std::string name = quoted(function.rule->name);
  if (signature.size() != params.size()) {
    fail(function.is_of_this_file ? function.rule->place : call.place(), "parameter-count",
         name + " is declared with " + std::to_string(params.size()) +
             " parameters, the host's has " + std::to_string(signature.size()),
         {Mistake::kParameterCount, ec::SCRIPT_PARAM_COUNT, {}, {}, 0, 0});
    return;
  }
  for (std::size_t i = 0; i < params.size(); ++i) {
    if (function.params[i].has_known_type && signature[i] != params[i].type) {
      fail(function.is_of_this_file ? params[i].place : call.place(), "parameter-type",
           "parameter " + quoted(params[i].tag) + " of " + name + " is declared as " +
               quoted(type_name(params[i].type)) + ", the host's is " +
               quoted(type_name(signature[i])),
           {Mistake::kParameterType,
            ec::SCRIPT_PARAM_TYPE,
            {},
            {},
            static_cast<unsigned int>(signature[i]),
            static_cast<unsigned int>(params[i].type)});
    }
  }
}

void Reader::read_argument_set(const Element& set, Declared& function) {
  if (!function.number) {
    m_program.called.push_back(function.rule);
    function.number = static_cast<std::uint32_t>(m_program.called.size() - 1);
  }
  Fun call{};
  call.function = *function.number;
  call.first_argument = static_cast<std::uint32_t>(m_program.arguments.size());
  call.first_reference = static_cast<std::uint32_t>(m_program.references.size());
  call.place = set.place();
  count_children(set);
  for (std::size_t i = 0; i < function.params.size(); ++i) {
    read_parameter(set, function, i, call);
  }
  if (const std::optional<Element>& ret = children_named(m_names.ret).first) {
    read_ret(*ret, call);
  }
  m_program.calls.push_back(call);
  ++m_section->call_count;
}

// Counts the children by name once, so that no argument needs a walk through all of them.
void Reader::count_children(const Element& set) {
  ++m_set;
  for (const Element child : set.children()) {
    Children& known = m_children[child.name_id()];
    if (known.set != m_set) {
      known = {m_set, 0, child};
    }
    ++known.count;
  }
}

void Reader::read_parameter(const Element& set, Declared& function, std::size_t index, Fun& call) {
  const XmlFuncParamRule& rule = function.rule->params[index];
  Parameter& param = function.params[index];
  m_program.arguments.push_back({.string_value = nullptr});
  if (rule.tag.empty()) {
    // An element without a name cannot be looked for.
    if (std::exchange(param.has_tag, false)) {
      fail(function.is_of_this_file ? rule.place : set.place(), "empty-tag",
           "a parameter of " + quoted(function.rule->name) + " has an empty tag",
           {Mistake::kUnreadableChild, ec::SCRIPT_E_FORMAT, rule.tag, {}, 0, 0});
    }
    return;
  }
  const Children& found = children_named(param.tag);
  if (found.count > 1) {
    report_repeated(set, rule, param.tag);
  } else if (found.count == 0 && rule.must) {
    fail(set, "missing-argument",
         quoted(function.rule->name) + " needs the argument " + quoted(rule.tag),
         {Mistake::kMissingArgument, ec::SCRIPT_E_PARAMS_CHILD, rule.tag, function.rule->name, 0,
          0});
  }
  if (found.count > 0) {
    read_argument(*found.first, rule.type, index, call);
  } else if (!rule.must) {
    take_default(param, rule);
  }
}

void Reader::report_repeated(const Element& set, const XmlFuncParamRule& rule, NameId tag) {
  bool is_first = true;
  for (const Element child : set.children()) {
    if (child.name_id() == tag && !std::exchange(is_first, false)) {
      fail(child, "duplicate-argument", "the argument " + quoted(rule.tag) + " is given already",
           {Mistake::kRepeatedArgument,
            ec::SCRIPT_E_PARAMS_CHILD,
            rule.tag,
            {},
            children_named(tag).count,
            0});
    }
  }
}

void Reader::take_default(Parameter& param, const XmlFuncParamRule& rule) {
  m_surroundings.default_taken(rule);
  if (!param.default_value) {
    param.default_value = literal(rule.type, rule.defaultval);
  }
  m_program.arguments.back() = *param.default_value;
}

void Reader::read_argument(const Element& argument, IScript::VType type, std::size_t index,
                           Fun& call) {
  if (const std::optional<Element> ref = child(argument, m_names.ref)) {
    read_ref(*ref, type, index, call);
    return;
  }
  std::string_view text;
  if (const unsigned int code = argument.text(text); code != utility::XEC_OK) {
    fail(argument, "unconvertible",
         quoted(argument.name()) + " has a text that the code page of the locale cannot express",
         {Mistake::kUnreadableText, ec::SCRIPT_E_FORMAT, argument.name(), {}, code, 0});
    return;
  }
  m_program.arguments.back() = literal(type, text);
}

void Reader::read_ref(const Element& ref, IScript::VType type, std::size_t index, Fun& call) {
  std::string_view name;
  if (const unsigned int code = ref.text(name); code != utility::XEC_OK) {
    fail(ref, "unconvertible", "\"ref\" has a text that the code page of the locale cannot express",
         {Mistake::kUnreadableText, ec::SCRIPT_E_FORMAT, "ref", {}, code, 0});
    return;
  }
  if (name.empty()) {  // cppcheck-suppress knownConditionTrueFalse  ; text() sets the name
    fail(ref, "empty-name", "\"ref\" needs the name of a variable",
         {Mistake::kEmptyRef, ec::SCRIPT_EMPTY_NAME, {}, {}, 0, 0});
    return;
  }
  const std::string_view kept = m_program.keep(name);
  m_program.references.push_back({static_cast<std::uint32_t>(index), type, kept.data(),
                                  static_cast<std::uint32_t>(kept.size()), ref.place()});
  ++call.reference_count;
}

void Reader::read_ret(const Element& ret, Fun& call) {
  std::string_view name;
  if (ret.text(name) != utility::XEC_OK) {
    fail(ret, "unconvertible", "\"ret\" has a text that the code page of the locale cannot express",
         {Mistake::kUnreadableChild, ec::SCRIPT_E_FORMAT, "ret", {}, 0, 0});
    return;
  }
  if (name.empty()) {
    fail(ret, "empty-name", "\"ret\" needs the name of a variable",
         {Mistake::kEmptyRet, ec::SCRIPT_EMPTY_NAME, {}, {}, 0, 0});
    return;
  }
  call.ret = m_program.keep(name).data();
}

IScript::VValue Reader::literal(IScript::VType type, std::string_view text) {
  IScript::VValue value = {.string_value = nullptr};  // that is all of it
  if (type == IScript::VT_INT) {
    value.int_value = int_of(text);
  } else {
    value.string_value = m_program.keep(text).data();
  }
  return value;
}

}  // namespace

Failure read_program(const Document& document, Surroundings& surroundings, Program& program) {
  try {
    Reader reader(document, surroundings, program, nullptr);
    try {
      reader.read_root(document.root());
    } catch (const Stop&) {
      return reader.take_failure();
    }
    return {};
  } catch (const std::bad_alloc&) {
    return {Mistake::kNoMemory, ec::SCRIPT_NO_MEMORY, {}, {}, 0, 0};
  }
}

std::vector<Finding> find_mistakes(const Document& document, Surroundings& surroundings) {
  std::vector<Finding> findings;
  Program unused;
  Reader(document, surroundings, unused, &findings).read_root(document.root());
  return findings;
}

Outline read_outline(const Document& document) {
  Surroundings any_host;
  std::vector<Finding> mistakes;
  Program unused;
  Outline outline;
  Reader(document, any_host, unused, &mistakes, &outline).read_root(document.root());
  return outline;
}

}  // namespace fwbase::script
