// The script engine beside a model of it: loads a script, runs every section, changes variables,
// saves, and loads what was saved.
//
// Input: a byte that chooses how the host behaves, and the script file. The host offers the
// functions that the file declares.
#include <algorithm>
#include <cstdint>
#include <deque>
#include <locale>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/harness/check.h"
#include "fuzz/harness/dom.h"
#include "fuzz/harness/input.h"
#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/temp_dir.h"

namespace {

using fwbase::IRunLog;
using fwbase::IScript;
using fwbase::fuzz::description;
using fwbase::fuzz::Document;
using fwbase::fuzz::element_of;
using fwbase::test::HostFunction;
using fwbase::test::LogCapture;
using fwbase::test::Record;
using fwbase::test::ScriptEngine;
using fwbase::test::TempDir;
using utility::CElement;

using Elements = std::vector<CElement>;
using Types = std::vector<IScript::VType>;
using Shown = ScriptEngine::Shown;  // variables, as {{"x", "int 5"}, {"y", "string text"}}

// How the host behaves: the bits of the input's first byte.
enum Habit : unsigned int {
  kWrongCount = 1,     // some functions have a parameter less than the file declares
  kWrongType = 2,      // some have another type
  kForgetful = 4,      // some are not offered
  kFailing = 8,        // each third call of a function fails
  kStoring = 16,       // functions store results under the names that calls give
  kRemovesFirst = 32,  // one variable is removed before saving
  kNesting = 128,      // functions run the first section
};

// Made once: to bring the XML platform up and down takes longer than an input.
struct World {
  const fwbase::fuzz::XmlPlatform platform;
  const TempDir directory;
  const std::string path = directory.path("script.xml");
  int env = 0;
};

World& world() {
  static World one;
  return one;
}

// --- Reading a file ---

Elements children(const CElement& parent, const std::string& name) {
  Elements found;
  FUZZ_CHECK(parent.get_child_element(name, found) == 0);
  return found;
}

bool read_type(const std::string& text, IScript::VType& type) {
  type = text == "int" ? IScript::VT_INT : IScript::VT_STRING;
  return text == "int" || text == "string";
}

std::string shown(IScript::VType type, const std::string& text) {
  if (type == IScript::VT_STRING) return "string " + text;
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  std::int32_t number = 0;
  in >> number;
  return "int " + std::to_string(number);
}

struct Failure {
  ec::EC code;
};

std::string required(const CElement& element, const std::string& attribute) {
  std::string value;
  if (element.get_attr(attribute, value) != 0) throw Failure{ec::SCRIPT_E_ATTR};
  return value;
}

// --- The model of an engine ---

struct Param {
  std::string tag;
  IScript::VType type = IScript::VT_INT;
  bool must = true;
  std::string default_text;
};

struct Argument {
  IScript::VType type;
  std::string ref;      // a variable, or
  std::string literal;  // "int 1", "string text"
};

struct Call {
  std::string function;
  std::vector<Argument> arguments;
  std::string ret;

  // As ScriptEngine shows it.
  std::string text() const {
    std::string all = function + "(";
    for (const Argument& argument : arguments) {
      all += all.back() == '(' ? "" : ",";
      all += argument.ref.empty() ? argument.literal : "ref " + argument.ref;
    }
    return all + ")" + (ret.empty() ? "" : "->" + ret);
  }
};

// What loading a file must give, on an engine to which the host has offered functions.
class ScriptModel {
 public:
  ScriptModel(const Document& document, std::map<std::string, Types> offered)
      : m_offered(std::move(offered)) {
    try {
      load(document);
    } catch (const Failure& failure) {
      code = failure.code;
    }
  }

  ec::EC code = ec::SCRIPT_OK;
  bool is_document = false;
  Shown values;
  std::map<std::string, std::vector<Param>> functions;
  std::map<std::string, std::vector<Call>> sections;
  int nameless_processes = 0;
  bool can_save = false;      // there is a process to which variables are saved
  bool has_defaults = false;  // for the attributes of variables, which therefore cannot be added
  // Holds what the XML library may write wrongly, so that saving is refused: quotes in
  // declarations, and characters beyond U+FFFF that the encoding lacks.
  bool may_be_refused = false;

 private:
  void load(const Document& document) {
    CElement root;
    is_document = document.get_root_element(root) == 0;
    if (!is_document) throw Failure{ec::SCRIPT_E_LOAD};
    find_process(root);
    look_for_obstacles(document);
    if (root.get_element_name() != "korvid") throw Failure{ec::SCRIPT_E_ROOT_NAME};
    for (const CElement& group : children(root, "template")) {
      for (const CElement& func : children(group, "Func")) load_func(func);
    }
    const Elements processes = children(root, "Process");
    if (processes.empty()) throw Failure{ec::SCRIPT_NO_PROCESS};
    for (const CElement& process : processes) load_process(process);
  }

  void find_process(const CElement& root) {
    for (const CElement& process : children(root, "Process")) {
      std::string name;
      if (process.get_attr("name", name) != 0) return;
      can_save = can_save || name.empty();
      if (can_save) return;
    }
  }

  void look_for_obstacles(const Document& document) {
    CElement var;
    FUZZ_CHECK(document.create_element("var", var) == 0);
    const std::string content = description(document);
    may_be_refused = element_of(var)->getOwnerDocument()->getDoctype() != nullptr ||
                     std::any_of(content.begin(), content.end(),
                                 [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
    has_defaults = var.has_attr("name") || var.has_attr("type") || var.has_attr("value");
  }

  void load_func(const CElement& func) {
    const std::string name = required(func, "name");
    std::vector<Param> params;
    for (const CElement& param : children(func, "param")) params.push_back(load_param(param));
    if (!functions.emplace(name, params).second) throw Failure{ec::SCRIPT_FUNC_EXISTS};
  }

  static Param load_param(const CElement& element) {
    Param param;
    param.tag = required(element, "tag");
    if (param.tag == "params" || param.tag == "ret") throw Failure{ec::SCRIPT_E_PARAM_TAG};
    if (!read_type(required(element, "type"), param.type)) throw Failure{ec::SCRIPT_BAD_PARAM};
    std::string must = "true";
    element.get_attr("must", must);
    if (must != "true" && must != "false") throw Failure{ec::SCRIPT_BAD_PARAM};
    param.must = must == "true";
    param.default_text = param.type == IScript::VT_INT ? "0" : "";
    element.get_attr("defaultval", param.default_text);
    return param;
  }

  void load_process(const CElement& process) {
    if (!required(process, "name").empty()) return;
    ++nameless_processes;
    for (const CElement& data : children(process, "Data")) {
      for (const CElement& var : children(data, "var")) load_var(var);
    }
    for (const CElement& exec : children(process, "Exec")) {
      for (const CElement& section : children(exec, "section")) load_section(section);
    }
  }

  void load_var(const CElement& var) {
    const std::string name = required(var, "name");
    const std::string value = required(var, "value");
    IScript::VType type{};
    if (!read_type(required(var, "type"), type)) throw Failure{ec::SCRIPT_BAD_PARAM};
    values[name] = shown(type, value);
  }

  void load_section(const CElement& section) {
    const std::string name = required(section, "name");
    if (sections.count(name) != 0) throw Failure{ec::SCRIPT_E_SECTION_DUP};
    std::vector<Call>& calls = sections[name];
    Elements elements;
    FUZZ_CHECK(section.get_all_child_element(elements) == 0);
    for (const CElement& element : elements) load_call(element, calls);
  }

  void load_call(const CElement& element, std::vector<Call>& calls) {
    const std::string name = element.get_element_name();
    const auto declared = functions.find(name);
    const auto offered = m_offered.find(name);
    if (declared == functions.end() || offered == m_offered.end()) {
      throw Failure{ec::SCRIPT_NO_RULE};
    }
    const std::vector<Param>& params = declared->second;
    if (params.size() != offered->second.size()) throw Failure{ec::SCRIPT_PARAM_COUNT};
    for (std::size_t i = 0; i < params.size(); ++i) {
      if (params[i].type != offered->second[i]) throw Failure{ec::SCRIPT_PARAM_TYPE};
    }
    Elements sets = children(element, "params");
    if (sets.empty()) sets.push_back(element);
    for (const CElement& set : sets) calls.push_back(read_call(name, params, set));
  }

  static Call read_call(const std::string& name, const std::vector<Param>& params,
                        const CElement& set) {
    Call call;
    call.function = name;
    for (const Param& param : params) {
      if (param.tag.empty()) throw Failure{ec::SCRIPT_E_FORMAT};
      call.arguments.push_back(read_argument(param, children(set, param.tag)));
    }
    const Elements rets = children(set, "ret");
    if (!rets.empty()) call.ret = read_name(rets.front());
    return call;
  }

  static Argument read_argument(const Param& param, const Elements& found) {
    if (found.size() > 1 || (found.empty() && param.must)) {
      throw Failure{ec::SCRIPT_E_PARAMS_CHILD};
    }
    if (found.empty()) return {param.type, "", shown(param.type, param.default_text)};
    const Elements refs = children(found.front(), "ref");
    if (!refs.empty()) return {param.type, read_name(refs.front()), ""};
    return {param.type, "", shown(param.type, found.front().get_text())};
  }

  static std::string read_name(const CElement& element) {
    const std::string name = element.get_text();
    if (name.empty()) throw Failure{ec::SCRIPT_EMPTY_NAME};
    return name;
  }

  const std::map<std::string, Types> m_offered;
};

// --- The host ---

// Offers the functions that a file declares, more or less, and tells what their calls do.
class Host {
 public:
  Host(unsigned int habits, const ScriptModel& declared) : m_habits(habits) {
    unsigned int number = 0;
    for (const auto& [name, params] : declared.functions) {
      Types types;
      for (const Param& param : params) types.push_back(param.type);
      ++number;
      if ((habits & kForgetful) != 0 && number % 4 == 0) continue;
      if ((habits & kWrongCount) != 0 && number % 3 == 0 && !types.empty()) types.pop_back();
      if ((habits & kWrongType) != 0 && number % 2 == 0 && !types.empty()) {
        types[0] = types[0] == IScript::VT_INT ? IScript::VT_STRING : IScript::VT_INT;
      }
      offered[name] = types;
    }
  }

  void offer_to(ScriptEngine& engine) {
    m_functions.clear();
    for (const auto& [name, types] : offered) {
      HostFunction& function = m_functions.emplace_back(name, types);
      function.set_body(
          [this, &engine, &function](const IScript::VValue*, void* env, const char* ret) {
            return run(engine, function.calls(), env, ret);
          });
      FUZZ_CHECK(engine.expand_syntax(&function));
    }
  }

  // Runs the model's section: the calls that are made, and the result.
  ec::EC expect_run(const ScriptModel& model, const std::vector<Call>& section) {
    ec::EC result = ec::SCRIPT_OK;
    for (const Call& call : section) {
      std::vector<std::string>& calls = expected_calls[call.function];
      calls.push_back(called_as(call));
      const std::size_t count = calls.size();
      if (!call.ret.empty() && (m_habits & kStoring) != 0) {
        expected_env[call.ret] =
            count % 2 == 0 ? "int " + std::to_string(count) : "string " + calls.back();
      }
      nest([&] { expect_run(model, model.sections.begin()->second); });
      result = result_of(count);
      if (ec::failed(result)) break;
    }
    return result;
  }

  void check_calls() {
    for (HostFunction& function : m_functions) {
      FUZZ_CHECK(function.calls() == expected_calls[function.name()]);
    }
  }

  std::map<std::string, Types> offered;
  std::map<std::string, std::vector<std::string>> expected_calls;
  Shown expected_env;

 private:
  // A function's body; its calls include the present one.
  ec::EC run(ScriptEngine& engine, const std::vector<std::string>& calls, void* env,
             const char* ret) {
    const std::size_t count = calls.size();
    if (ret != nullptr && (m_habits & kStoring) != 0) {
      FUZZ_CHECK(ec::succeeded(count % 2 == 0
                                   ? engine.set_env(ret, static_cast<std::int32_t>(count), env)
                                   : engine.set_env(ret, calls.back(), env)));
    }
    nest([&] { engine.exec_scommad(engine.section_names().front().c_str(), env); });
    return result_of(count);
  }

  template <typename Body>
  void nest(Body body) {
    if ((m_habits & kNesting) == 0 || m_depth == kMaxDepth) return;
    ++m_depth;
    body();
    --m_depth;
  }

  ec::EC result_of(std::size_t calls) const {
    return (m_habits & kFailing) != 0 && calls % 3 == 0 ? ec::FW_NO_MEMORY : ec::FW_OK;
  }

  // As HostFunction shows it.
  std::string called_as(const Call& call) const {
    std::string all = call.function + "(";
    for (const Argument& argument : call.arguments) {
      const bool is_int = argument.type == IScript::VT_INT;
      const std::string type = is_int ? "int " : "string ";
      std::string value = argument.literal;
      if (!argument.ref.empty()) {
        const auto found = expected_env.find(argument.ref);
        const bool fits = found != expected_env.end() && found->second.rfind(type, 0) == 0;
        value = fits ? found->second : type + (is_int ? "0" : "");
      }
      value.erase(0, type.size());
      all += all.back() == '(' && &argument == &call.arguments.front() ? "" : ",";
      all += is_int ? value : "'" + value + "'";
    }
    return all + ")" + (call.ret.empty() ? "" : "->" + call.ret);
  }

  static constexpr int kMaxDepth = 2;

  const unsigned int m_habits;
  std::deque<HostFunction> m_functions;
  int m_depth = 0;  // of functions that run sections
};

// --- The checks ---

std::size_t errors(const LogCapture& log) {
  std::size_t count = 0;
  for (const Record& record : log.records()) count += record.level == IRunLog::ERROR ? 1 : 0;
  return count;
}

void load(ScriptEngine& engine, const ScriptModel& model, LogCapture& log) {
  log.clear();
  FUZZ_CHECK(engine.load_script(world().path.c_str()) == model.code);
  FUZZ_CHECK(errors(log) == (ec::failed(model.code) ? 1 : 0));
  FUZZ_CHECK(engine.values() == model.values);
  FUZZ_CHECK(engine.section_names().size() == model.sections.size());
  for (const auto& [name, calls] : model.sections) {
    std::vector<std::string> texts;
    for (const Call& call : calls) texts.push_back(call.text());
    FUZZ_CHECK(engine.calls(name) == texts);
  }
}

void run_sections(ScriptEngine& engine, const ScriptModel& model, Host& host) {
  void* const env = &world().env;
  for (const auto& [name, calls] : model.sections) {
    const ec::EC expected = host.expect_run(model, calls);
    FUZZ_CHECK(engine.exec_scommad(name.c_str(), env) == expected);
  }
  host.check_calls();
  FUZZ_CHECK(engine.env_values(env) ==
             (host.expected_env.empty() ? Shown{{"no", "table"}} : host.expected_env));
}

// False when nothing was written.
bool change_and_save(ScriptEngine& engine, const ScriptModel& model, unsigned int habits,
                     Shown& values) {
  const std::string before = fwbase::test::read_file(world().path);
  FUZZ_CHECK(engine.save_script() == ec::SCRIPT_OK);
  FUZZ_CHECK(fwbase::test::read_file(world().path) == before);
  values = model.values;
  if ((habits & kRemovesFirst) != 0 && !values.empty()) {
    FUZZ_CHECK(engine.rm_value(values.begin()->first.c_str()) == ec::SCRIPT_OK);
    values.erase(values.begin());
  }
  FUZZ_CHECK(engine.set("count", -7) == ec::SCRIPT_OK);
  FUZZ_CHECK(engine.set(" te xt", " \n\t<&>\"' \xE4\xB8\xAD\r\n") == ec::SCRIPT_OK);
  values["count"] = "int -7";
  values[" te xt"] = "string  \n\t<&>\"' \xE4\xB8\xAD\r\n";
  const ec::EC expected = !model.is_document   ? ec::SCRIPT_E_FORMAT
                          : !model.can_save    ? ec::SCRIPT_NO_PROCESS
                          : model.has_defaults ? ec::SCRIPT_E_SET_ATTR
                                               : ec::SCRIPT_OK;
  const ec::EC code = engine.save_script();
  FUZZ_CHECK(code == expected ||
             (ec::succeeded(expected) && model.may_be_refused && code == ec::SCRIPT_E_SAVE_XML));
  FUZZ_CHECK(ec::succeeded(code) || fwbase::test::read_file(world().path) == before);
  return ec::succeeded(code);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fwbase::fuzz::Input input(data, size);
  const unsigned int habits = input.byte();
  const std::string& path = world().path;
  fwbase::test::write_file(path, input.rest());
  LogCapture log(IRunLog::ERROR | IRunLog::DEBUG);

  Document document;
  document.load(path);
  Host host(habits, ScriptModel(document, {}));
  const ScriptModel model(document, host.offered);
  Shown values;
  ScriptEngine engine;
  host.offer_to(engine);
  load(engine, model, log);
  run_sections(engine, model, host);
  if (!change_and_save(engine, model, habits, values)) return 0;

  FUZZ_CHECK(document.load(path) == 0);
  const ScriptModel saved(document, host.offered);
  FUZZ_CHECK(saved.code == model.code || ec::failed(model.code));
  FUZZ_CHECK(ec::failed(saved.code) || saved.nameless_processes > 1 || saved.values == values);
  ScriptEngine again;
  host.offer_to(again);
  load(again, saved, log);
  return 0;
}
