// A scenario is read from the bytes, played once on the model and once on the engine through
// IScript alone, and the two transcripts are compared line by line.
#include "tests/harness/script_model/comparison.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include "fuzz/harness/input.h"
#include "fwbase/script/script.h"
#include "tests/harness/code_page.h"
#include "tests/harness/log_capture.h"
#include "tests/harness/script_model/generator.h"
#include "tests/harness/script_model/model.h"

namespace fwbase::script_model {

namespace {

using fuzz::Input;
using test::LogCapture;
using test::Record;
using Types = std::vector<IScript::VType>;
using Transcript = std::vector<std::string>;

constexpr std::size_t kFiles = 3;
constexpr auto kUnknownType = static_cast<IScript::VType>(7);

// How the host behaves.
enum Habit : unsigned int {
  kWrongCount = 1,  // some functions have a parameter less than the file declares
  kWrongType = 2,   // some have another type
  kForgetful = 4,   // some are not registered
  kFailing = 8,     // each third call of a function fails
  kThrowing = 16,   // each fifth one throws
  kStoring = 32,    // functions store results under the names that calls give
  kNesting = 64,    // functions run sections
  kMeddling = 128   // functions change the engine that runs them
};

struct Step {
  unsigned int operation;
  unsigned int argument;
};

// What is played: read from the input once.
struct Scenario {
  unsigned int habits = 0;
  const char* code_page = nullptr;
  std::vector<Step> steps;
  std::string texts[kFiles];
  std::string paths[kFiles];

  // What the files mention.
  std::map<std::string, Types> functions;
  std::set<std::string> sections{std::begin(kSectionNames), std::end(kSectionNames)};
  std::set<std::string> variables{std::begin(kVariableNames), std::end(kVariableNames)};
};

// --- Reading a scenario ---

constexpr const char* kSmallFile =
    "<korvid><template><Func name='small'><param tag='text' type='string' must='false'/></Func>"
    "</template><Process name=''><Data><var name='x' type='string' value='small'/></Data><Exec>"
    "<section name='small'><small/><small><text><ref>x</ref></text><ret>y</ret></small></section>"
    "</Exec></Process></korvid>";

const char* code_page_of(unsigned int choice) {
  switch (choice) {
    case 5:
      return "GBK";
    case 6:
      return "ISO-8859-1";
    case 7:
      return "US-ASCII";
    default:
      return nullptr;  // that of the process
  }
}

void read_texts(Input& input, bool given, Scenario& scenario) {
  if (given) {
    scenario.texts[0] = input.rest();
    scenario.texts[1] = kSmallFile;
    return;
  }
  ScriptGenerator generator(input);
  for (std::string& text : scenario.texts) {
    text = generator.file();
  }
}

Scenario read_scenario(Input& input, const test::TempDir& directory) {
  Scenario scenario;
  scenario.habits = input.byte();
  scenario.code_page = code_page_of(input.below(8));
  const bool given = input.flag();
  for (unsigned int count = input.below(12); count > 0; --count) {
    const unsigned int operation = input.byte();
    scenario.steps.push_back({operation, input.byte()});
  }
  read_texts(input, given, scenario);
  for (std::size_t i = 0; i < kFiles; ++i) {
    scenario.paths[i] = directory.path("script" + std::to_string(i) + ".xml");
  }
  return scenario;
}

// Files as they were, and no others.
void write_files(const Scenario& scenario, const test::TempDir& directory) {
  for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
    std::filesystem::remove(entry);
  }
  for (std::size_t i = 0; i < kFiles; ++i) {
    test::write_file(scenario.paths[i], scenario.texts[i]);
  }
}

// --- What the files mention ---

void note_attributes(const utility::CXml& document, const char* element,
                     std::set<std::string>& names) {
  std::vector<utility::CElement> found;
  document.search_element(element, found);
  for (const utility::CElement& one : found) {
    std::string name;
    if (one.get_attr("name", name) == 0) {
      names.insert(name);
    }
  }
}

void note_functions(const utility::CXml& document, std::map<std::string, Types>& functions) {
  std::vector<utility::CElement> found;
  document.search_element("Func", found);
  for (const utility::CElement& func : found) {
    std::vector<utility::CElement> params;
    func.get_child_element("param", params);
    Types types;
    for (const utility::CElement& param : params) {
      std::string type;
      param.get_attr("type", type);
      types.push_back(type == "int" ? IScript::VT_INT : IScript::VT_STRING);
    }
    std::string name;
    if (func.get_attr("name", name) == 0) {
      functions.emplace(name, types);
    }
  }
}

void note_texts(const utility::CXml& document, const char* element, std::set<std::string>& names) {
  std::vector<utility::CElement> found;
  document.search_element(element, found);
  for (const utility::CElement& one : found) {
    names.insert(one.get_text());
  }
}

void note_names(Scenario& scenario) {
  for (const std::string& path : scenario.paths) {
    fuzz::Document document;
    if (document.load(path) == 0) {
      note_functions(document, scenario.functions);
      note_attributes(document, "section", scenario.sections);
      note_attributes(document, "var", scenario.variables);
      note_texts(document, "ref", scenario.variables);
      note_texts(document, "ret", scenario.variables);
    }
  }
}

// --- Playing it ---

std::string shown(IScript::VType type, std::int32_t number, const std::string& text) {
  return type == IScript::VT_INT ? std::to_string(number) : "'" + text + "'";
}

class Play;

// A function of the host: its calls go to the play.
class Function : public IScript::ISyntax {
 public:
  Function(Play& play, std::string name, Types types)
      : m_play(play), m_name(std::move(name)), m_types(std::move(types)) {}

  const char* name() override { return m_name.c_str(); }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }
  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override;

 private:
  Play& m_play;
  const std::string m_name;
  Types m_types;
  unsigned int m_calls = 0;
};

class Play {
 public:
  Play(IScript& engine, const Scenario& scenario, LogCapture& log)
      : m_engine(engine), m_scenario(scenario), m_log(log) {
    make_functions();
  }

  Transcript run() {
    tell("init", m_engine.init());
    register_functions();
    load(0);
    for (const Step& step : m_scenario.steps) {
      take(step);
    }
    look_at_everything();
    m_engine.release();
    drain();
    return std::move(m_transcript);
  }

  const std::vector<ec::EC>& loads() const { return m_loads; }

  // What a function does and returns when it is called the count-th time.
  ec::EC called(const std::string& text, unsigned int count, void* env, const char* ret) {
    drain();
    if (++m_calls > kMaxCalls) {
      return ec::FW_NO_MEMORY;
    }
    m_transcript.push_back(text + (ret != nullptr ? "->" + std::string(ret) : "") + " in " +
                           std::to_string(env_number(env)));
    if (has(kStoring) && ret != nullptr) {
      store(ret, count, env);
    }
    if (has(kNesting) && m_depth < kMaxDepth) {
      ++m_depth;
      run_section(*std::next(m_scenario.sections.begin(), count % 2), env);
      --m_depth;
    }
    if (has(kMeddling)) {
      meddle();
    }
    if (has(kThrowing) && count % 5 == 0) {
      throw std::runtime_error("thrown by a function");
    }
    return has(kFailing) && count % 3 == 0 ? ec::DB_NO_MEMORY : ec::FW_OK;
  }

 private:
  // Texts of variables: plain, of two code pages, and what XML cannot hold.
  static constexpr const char* kTexts[] = {"plain",        "",         " \n\t<&>\"'\r\n",
                                           "\xE4\xB8\xAD", "\xD6\xD0", "\x01"};
  static constexpr unsigned int kMaxCalls = 300;
  static constexpr int kMaxDepth = 2;
  static constexpr unsigned int kEnvironments = 3;

  bool has(Habit habit) const { return (m_scenario.habits & habit) != 0; }

  // --- The transcript ---

  void drain() {
    for (const Record& record : m_log.records()) {
      m_transcript.push_back("record " + std::to_string(record.level) + ' ' + record.message);
    }
    m_log.clear();
  }

  void tell(const std::string& what, ec::EC code) {
    drain();
    m_transcript.push_back(what + ": " + std::to_string(code));
  }

  // --- The host ---

  void make_functions() {
    unsigned int number = 0;
    for (const auto& [name, declared] : m_scenario.functions) {
      Types types = declared;
      ++number;
      if (has(kForgetful) && number % 3 == 0) {
        continue;
      }
      if (has(kWrongCount) && number % 3 == 1 && !types.empty()) {
        types.pop_back();
      }
      if (has(kWrongType) && number % 2 == 0 && !types.empty()) {
        types[0] = types[0] == IScript::VT_INT ? IScript::VT_STRING : IScript::VT_INT;
      }
      m_functions.push_back(std::make_unique<Function>(*this, name, types));
    }
  }

  void register_functions() {
    for (const auto& function : m_functions) {
      tell("expand_syntax", m_engine.expand_syntax(function.get()) ? 1 : 0);
    }
  }

  void restart() {
    m_engine.release();
    tell("init", m_engine.init());
    register_functions();
  }

  void store(const char* name, unsigned int count, void* env) {
    const auto number = static_cast<std::int32_t>(count);
    const std::string text = "result " + std::to_string(count);
    tell("set_value_env", count % 2 == 0
                              ? m_engine.set_value_env(name, IScript::VT_INT, &number, env)
                              : m_engine.set_value_env(name, IScript::VT_STRING, &text, env));
  }

  // By the number of calls so far.
  void meddle() {
    const std::int32_t number = 5;
    switch (m_calls % 16) {
      case 2:
        tell("set_value", m_engine.set_value("x", IScript::VT_INT, &number));
        break;
      case 4:
        load(1);
        break;
      case 6:
        tell("rm_value", m_engine.rm_value("y"));
        break;
      case 7:
        tell("expand_syntax", m_engine.expand_syntax(m_functions.front().get()) ? 1 : 0);
        break;
      case 9:
        tell("init", m_engine.init());
        break;
      case 11:
        register_functions();
        break;
      case 13:
        save();
        break;
      case 15:
        restart();
        load(2);
        break;
      default:
        break;
    }
  }

  // --- Operations ---

  void take(const Step& step) {
    const unsigned int which = step.argument;
    switch (step.operation % 16) {
      case 0:
        return load(which % kFiles);
      case 1:
        return run_sections(env(which));
      case 2:
        return run_section(nth(m_scenario.sections, which), env(which));
      case 3:
        return set_global(nth(m_scenario.variables, which), which);
      case 4:
        return tell("rm_value", m_engine.rm_value(nth(m_scenario.variables, which).c_str()));
      case 5:
        return set_env(nth(m_scenario.variables, which), which, env(which));
      case 6:
        return save();
      case 7:
        return look_at_variables(kEnvironments);
      case 8:
        return register_functions();
      case 9:
        return tell("init", m_engine.init());
      case 10:
        return restart();
      case 11:
        return change_file(which);
      case 12:
        return pass_nothing();
      case 13:
        return tell("load nothing", m_engine.load_script((m_scenario.paths[0] + ".none").c_str()));
      case 14:
        return tell("execute", m_engine.execute(env(which)));
      default:
        return m_engine.release();
    }
  }

  static const std::string& nth(const std::set<std::string>& names, unsigned int which) {
    return *std::next(names.begin(), static_cast<std::ptrdiff_t>(which % names.size()));
  }

  void* env(unsigned int which) {
    return which % kEnvironments == 2 ? nullptr : &m_environments[which % kEnvironments];
  }
  std::ptrdiff_t env_number(const void* env) const {
    return env == nullptr ? -1 : static_cast<const int*>(env) - m_environments;
  }

  void load(std::size_t file) {
    m_loads.push_back(m_engine.load_script(m_scenario.paths[file].c_str()));
    tell("load " + std::to_string(file), m_loads.back());
  }

  void run_section(const std::string& name, void* env) {
    try {
      tell("run " + name, m_engine.exec_scommad(name.c_str(), env));
    } catch (const std::runtime_error& error) {
      tell(std::string("run ") + name + ", " + error.what(), 0);
    }
  }

  void run_sections(void* env) {
    for (const std::string& name : m_scenario.sections) {
      run_section(name, env);
    }
  }

  // Calls set(type, data) with a datum: a number, a text, or what has no type.
  template <typename Set>
  static ec::EC set_chosen(unsigned int which, Set set) {
    const auto number = static_cast<std::int32_t>(which) - 100;
    const std::string text = kTexts[which / 2 % std::size(kTexts)];
    if (which % 7 == 6) {
      return set(static_cast<IScript::VType>(2 + which / 7), &number);
    }
    return which % 2 == 0 ? set(IScript::VT_INT, static_cast<const void*>(&number))
                          : set(IScript::VT_STRING, static_cast<const void*>(&text));
  }

  void set_global(const std::string& name, unsigned int which) {
    tell("set_value", set_chosen(which, [&](IScript::VType type, const void* data) {
           return m_engine.set_value(name.c_str(), type, data);
         }));
  }

  void set_env(const std::string& name, unsigned int which, void* env) {
    tell("set_value_env", set_chosen(which, [&](IScript::VType type, const void* data) {
           return m_engine.set_value_env(name.c_str(), type, data, env);
         }));
  }

  // The file of the next save is the one that was loaded, whatever has become of it.
  void change_file(unsigned int which) {
    const std::string& path = m_scenario.paths[which % kFiles];
    if (which % 4 == 0) {
      std::filesystem::remove(path);
    } else {
      test::write_file(path, m_scenario.texts[which / 8 % kFiles]);
    }
  }

  void pass_nothing() {
    std::int32_t number = 3;
    tell("load null", m_engine.load_script(nullptr));
    tell("load nothing", m_engine.load_script(""));
    tell("run null", m_engine.exec_scommad(nullptr, nullptr));
    tell("get null", m_engine.get_value(nullptr, IScript::VT_INT, nullptr));
    tell("get into null", m_engine.get_value("x", IScript::VT_INT, nullptr));
    tell("set null", m_engine.set_value("x", IScript::VT_STRING, nullptr));
    tell("rm null", m_engine.rm_value(nullptr));
    tell("get_env null", m_engine.get_value_env("x", IScript::VT_INT, nullptr, nullptr));
    tell("set_env null name",
         m_engine.set_value_env(nullptr, IScript::VT_INT, &m_environments, nullptr));
    tell("set_env null", m_engine.set_value_env("x", IScript::VT_INT, nullptr, nullptr));
    tell("get unknown", m_engine.get_value("x", kUnknownType, &number));
    tell("get_env unknown", m_engine.get_value_env("x", kUnknownType, &number, nullptr));
    tell("expand null", m_engine.expand_syntax(nullptr) ? 1 : 0);
  }

  void save() {
    tell("save", m_engine.save_script());
    const auto directory = std::filesystem::path(m_scenario.paths[0]).parent_path();
    const auto count = std::distance(std::filesystem::directory_iterator(directory), {});
    m_transcript.push_back(std::to_string(count) + " files");
    for (const std::string& path : m_scenario.paths) {
      m_transcript.push_back("file " + test::read_file(path));
    }
  }

  // --- What can be seen ---

  void look_at_variables(unsigned int environments) {
    for (const std::string& name : m_scenario.variables) {
      std::int32_t number = -1;
      std::string text = "untouched";
      tell("get " + name, m_engine.get_value(name.c_str(), IScript::VT_INT, &number));
      tell("get " + name, m_engine.get_value(name.c_str(), IScript::VT_STRING, &text));
      for (unsigned int which = 0; which < environments; ++which) {
        tell("get_env " + name,
             m_engine.get_value_env(name.c_str(), IScript::VT_INT, &number, env(which)));
        tell("get_env " + name,
             m_engine.get_value_env(name.c_str(), IScript::VT_STRING, &text, env(which)));
      }
      m_transcript.push_back(std::to_string(number) + " '" + text + "'");
    }
  }

  // What is saved are all global variables, also those that nobody has a name for. What a load on
  // top of all gives tells of functions and sections.
  void look_at_everything() {
    const std::int32_t number = -7;
    const std::string text = "<&>'\"\t\n ";
    run_sections(env(0));
    look_at_variables(1);
    tell("set_value", m_engine.set_value("count", IScript::VT_INT, &number));
    tell("set_value", m_engine.set_value(" te xt", IScript::VT_STRING, &text));
    save();
    load(1);
    restart();
    load(0);
    run_sections(env(2));
    save();
  }

  IScript& m_engine;
  const Scenario& m_scenario;
  LogCapture& m_log;
  std::vector<std::unique_ptr<Function>> m_functions;
  Transcript m_transcript;
  std::vector<ec::EC> m_loads;
  unsigned int m_calls = 0;
  int m_depth = 0;  // of functions that run sections

  // Their addresses are environments, which records show: the same in each play.
  inline static int m_environments[2] = {};
};

ec::EC Function::call(const IScript::VValue* args, void* env, const char* ret) {
  std::string text = "call " + m_name + "(";
  for (std::size_t i = 0; i < m_types.size(); ++i) {
    text += i == 0 ? "" : ",";
    text += m_types[i] == IScript::VT_INT ? shown(m_types[i], args[i].int_value, "")
                                          : shown(m_types[i], 0, args[i].string_value);
  }
  return m_play.called(text + ")", ++m_calls, env, ret);
}

// --- Comparing ---

std::string printable(const std::string& text) {
  static constexpr std::size_t kMost = 600;
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text.substr(0, kMost)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) {
      result += c;
    } else {
      result += {'\\', 'x', kDigits[byte / 16], kDigits[byte % 16]};
    }
  }
  return result + (text.size() > kMost ? "..." : "");
}

std::string line_of(const Transcript& transcript, std::size_t number) {
  return number < transcript.size() ? printable(transcript[number]) : "(nothing more)";
}

std::string first_difference(const Transcript& model, const Transcript& engine) {
  const auto [at, other] = std::mismatch(model.begin(), model.end(), engine.begin(), engine.end());
  const auto line = static_cast<std::size_t>(at - model.begin());
  std::string report;
  for (std::size_t i = line - std::min<std::size_t>(line, 5); i < line; ++i) {
    report += "  both:   " + line_of(model, i) + "\n";
  }
  return report + "  model:  " + line_of(model, line) + "\n  engine: " + line_of(engine, line) +
         "\n";
}

}  // namespace

std::string Comparison::difference(const std::uint8_t* bytes, std::size_t size) {
  Input input(bytes, size);
  Scenario scenario = read_scenario(input, m_directory);
  std::optional<test::CodePage> code_page;
  if (scenario.code_page != nullptr) {
    code_page.emplace(scenario.code_page);
  }
  write_files(scenario, m_directory);
  note_names(scenario);

  LogCapture log;
  ModelEngine model;
  Play model_play(model, scenario, log);
  const Transcript expected = model_play.run();
  m_loads = model_play.loads();

  write_files(scenario, m_directory);
  CScript engine;
  const Transcript actual = Play(engine, scenario, log).run();
  if (actual == expected) {
    return "";
  }
  std::string report = first_difference(expected, actual);
  for (std::size_t i = 0; i < kFiles; ++i) {
    report += "  file " + std::to_string(i) + ": " + scenario.texts[i] + "\n";
  }
  return report;
}

}  // namespace fwbase::script_model
