// The script engine: a section of calls, run once.
#include "bench/facade.h"
#include "bench/script/caller.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::bench {

namespace {

constexpr const char* kIntVariable = "number";
constexpr const char* kTextVariable = "text";

std::vector<IScript::VType> types_of(Arguments arguments) {
  switch (arguments) {
    case Arguments::kNone:
      return {};
    case Arguments::kTwoInts:
      return {IScript::VT_INT, IScript::VT_INT};
    case Arguments::kText:
    case Arguments::kTextVariable:
      return {IScript::VT_STRING};
    case Arguments::kIntVariable:
      return {IScript::VT_INT};
  }
  return {};
}

const char* elements_of(Arguments arguments) {
  switch (arguments) {
    case Arguments::kNone:
      return "";
    case Arguments::kTwoInts:
      return "<a0>4711</a0><a1>1968</a1>";
    case Arguments::kText:
      return "<a0>" BENCH_TEXT "</a0>";
    case Arguments::kIntVariable:
      return "<a0><ref>number</ref></a0>";
    case Arguments::kTextVariable:
      return "<a0><ref>text</ref></a0>";
  }
  return "";
}

class Function : public IScript::ISyntax {
 public:
  Function(int number, Arguments arguments)
      : m_name(function_name(number)), m_types(types_of(arguments)) {}

  const char* name() override { return m_name.c_str(); }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }

  ec::EC call(const IScript::VValue* args, void*, const char*) override {
    for (std::size_t i = 0; i < m_types.size(); ++i) {
      keep(args[i]);
    }
    return ec::SCRIPT_OK;
  }

 private:
  std::string m_name;
  std::vector<IScript::VType> m_types;
};

std::string declaration(int number, Arguments arguments) {
  std::string text = "<Func name='" + function_name(number) + "'>";
  int parameter = 0;
  for (const IScript::VType type : types_of(arguments)) {
    text += "<param tag='a" + std::to_string(parameter++) + "' type='" +
            (type == IScript::VT_INT ? "int" : "string") + "'/>";
  }
  return text + "</Func>";
}

std::string script_text(Arguments arguments, int registered) {
  std::string text = "<korvid><template>";
  for (int i = 0; i < kCalled; ++i) {
    text += declaration(called_function(i, registered), arguments);
  }
  text += "</template><Process name=''><Exec><section name='run'>";
  for (int i = 0; i < kCalls; ++i) {
    const std::string name = function_name(called_function(i, registered));
    text += "<" + name + ">" + elements_of(arguments) + "</" + name + ">\n";
  }
  return text + "</section></Exec></Process></korvid>\n";
}

class Section : public Caller {
 public:
  Section(Arguments arguments, int registered) {
    for (int i = 0; i < registered; ++i) {
      m_functions.push_back(std::make_unique<Function>(i, arguments));
      if (!m_script->expand_syntax(m_functions.back().get())) {
        throw std::runtime_error("cannot register " + function_name(i));
      }
    }
    const std::int32_t number = BENCH_FIRST_INT;
    require(m_script->set_value_env(kIntVariable, IScript::VT_INT, &number, this));
    const std::string text = BENCH_TEXT;
    require(m_script->set_value_env(kTextVariable, IScript::VT_STRING, &text, this));
    const test::TempDir directory;
    const std::string path = directory.path("bench.xml");
    test::write_file(path, script_text(arguments, registered));
    require(m_script->load_script(path.c_str()));
  }

  void run() override { require(m_script->exec_scommad("run", this)); }

 private:
  Facade m_facade;
  IScript* const m_script = m_facade->script();
  std::vector<std::unique_ptr<Function>> m_functions;
};

const RegisterCaller section("fwbase", Role::kOurs, [](Arguments arguments, int registered) {
  return std::make_unique<Section>(arguments, registered);
});

}  // namespace

}  // namespace fwbase::bench
