// The script engine: codes instead of exceptions, variables and the file as they were.
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <utility>

#include "tests/faults/alloc_faults.h"
#include "tests/faults/failing_allocations.h"
#include "tests/support/host_function.h"
#include "tests/support/script_file.h"

namespace fwbase::faults {

namespace {

using test::HostFunction;
using test::ScriptFile;

const std::string kLong(60, 'l');
const std::string kOther(300, 'o');

// Two functions, two variables, a section of two calls. The attribute in Chinese needs a converter.
const std::string kScript =
    "<korvid><template><Func name='greet_somebody_politely'>"
    "<param tag='whom_to_greet_this_time' type='string'/>"
    "<param tag='times' type='int' must='false' defaultval='3'/></Func>"
    "<Func name='nothing'/></template><Process name=''>"
    "<Data><var name='" +
    kLong +
    "' type='string' value='\xE4\xBD\xA0\xE5\xA5\xBD'/>"
    "<var name='count' type='int' value='17'/></Data>"
    "<Exec><section name='all'><greet_somebody_politely>"
    "<params><whom_to_greet_this_time>" +
    kLong +
    "</whom_to_greet_this_time></params>"
    "<params><whom_to_greet_this_time><ref>friend</ref></whom_to_greet_this_time>"
    "<times>2</times><ret>" +
    kLong +
    "</ret></params></greet_somebody_politely><nothing/>"
    "</section></Exec></Process></korvid>";

IScript& script() { return *facade()->script(); }

Outcome outcome_of_script(ec::EC code, ec::EC other = 0) {
  return outcome_of(code, ec::SCRIPT_NO_MEMORY, other);
}

class Engine {
 public:
  Engine() {
    expect(script().expand_syntax(&m_greet) && script().expand_syntax(&m_nothing), "functions");
  }

  void restart() {
    script().release();
    expect(ec::succeeded(script().init()), "init()");
    expect(script().expand_syntax(&m_greet) && script().expand_syntax(&m_nothing), "functions");
  }

  struct Counter : HostFunction {
    using HostFunction::HostFunction;
    ec::EC call(const IScript::VValue*, void*, const char*) override {
      ++calls;
      return ec::SCRIPT_OK;
    }
    int calls = 0;
  };

  Counter m_greet{"greet_somebody_politely", {IScript::VT_STRING, IScript::VT_INT}};
  Counter m_nothing{"nothing"};

 private:
  LoggingFacade m_running;
};

// The document is changed by each save; what it does not need any more is given back.
void expect_many_saves_to_keep_memory() {
  constexpr int kVariables = 100;
  constexpr int kFirst = 40;  // until everything has been made once
  constexpr int kMore = 120;  // which would keep 1.2 MB
  constexpr long kEnough = 600'000;
  for (int i = 0; i < kVariables; ++i) {
    expect(ec::succeeded(script().set_value(("name" + std::to_string(i)).c_str(),
                                            IScript::VT_STRING, &kLong)),
           "set_value()");
  }
  long before = 0;
  for (int i = 0; i < kFirst + kMore; ++i) {
    before = i == kFirst ? live_bytes() : before;
    expect(ec::succeeded(script().save_script()), "save_script()");
  }
  std::printf("%d saves keep %ld bytes\n", kMore, live_bytes() - before);
  expect(live_bytes() - before < kEnough, "saving takes more and more memory");
}

std::string text_of(const char* name) {
  std::string text;
  return ec::succeeded(script().get_value(name, IScript::VT_STRING, &text)) ? text : "";
}

}  // namespace

void script_values() {
  const Engine engine;
  int env = 0;
  const std::int32_t number = 17;
  for (const bool replaced : {false, true}) {
    const auto restore = [&] {
      script().rm_value(kLong.c_str());
      if (replaced) {
        expect(ec::succeeded(script().set_value(kLong.c_str(), IScript::VT_STRING, &kLong)), "set");
      }
    };
    restore();
    fail_each_allocation(
        replaced ? "set_value again" : "set_value",
        [&] {
          return outcome_of_script(script().set_value(kLong.c_str(), IScript::VT_STRING, &kOther));
        },
        [&](Outcome outcome) {
          const std::string before = replaced ? kLong : "";
          expect(text_of(kLong.c_str()) == (outcome == Outcome::kDone ? kOther : before),
                 "the value is wrong");
          restore();
        });
    fail_each_allocation(
        replaced ? "set_value of another type" : "set_value of a number",
        [&] {
          return outcome_of_script(script().set_value(kLong.c_str(), IScript::VT_INT, &number));
        },
        [&](Outcome outcome) {
          std::int32_t value = 0;
          script().get_value(kLong.c_str(), IScript::VT_INT, &value);
          expect(value == (outcome == Outcome::kDone ? number : 0), "the value is wrong");
          restore();
        });
  }
  std::string read = "before";
  const auto check_read = [&](Outcome outcome) {
    expect(read == (outcome == Outcome::kDone ? kLong : "before"), "what was read is wrong");
    read = "before";
  };
  fail_each_allocation(
      "get_value",
      [&] {
        return outcome_of_script(script().get_value(kLong.c_str(), IScript::VT_STRING, &read));
      },
      check_read);
  fail_each_allocation(
      "set_value_env",
      [&] {
        return outcome_of_script(
            script().set_value_env(kLong.c_str(), IScript::VT_STRING, &kLong, &env));
      },
      [&](Outcome outcome) {
        std::string value;
        script().get_value_env(kLong.c_str(), IScript::VT_STRING, &value, &env);
        expect(value == (outcome == Outcome::kDone ? kLong : ""), "the value is wrong");
        script().release();
        expect(ec::succeeded(script().init()), "init()");
      });
  expect(ec::succeeded(script().set_value_env(kLong.c_str(), IScript::VT_STRING, &kLong, &env)),
         "set_value_env()");
  fail_each_allocation(
      "get_value_env",
      [&] {
        return outcome_of_script(
            script().get_value_env(kLong.c_str(), IScript::VT_STRING, &read, &env));
      },
      check_read);
  expect(ec::succeeded(script().set_value_env("number", IScript::VT_INT, &number, &env)), "set");
  std::int32_t read_number = 0;
  fail_in_vain(
      "get_value_env of a number",
      [&] {
        expect(
            script().get_value_env("number", IScript::VT_INT, &read_number, &env) == ec::SCRIPT_OK,
            "get_value_env()");
      },
      [&] { expect(std::exchange(read_number, 0) == number, "the number"); });
  fail_each_allocation(
      "set_value_env of a number",
      [&] {
        return outcome_of_script(
            script().set_value_env(kLong.c_str(), IScript::VT_INT, &number, &read));
      },
      [&](Outcome outcome) {
        std::int32_t value = 0;
        script().get_value_env(kLong.c_str(), IScript::VT_INT, &value, &read);
        expect(value == (outcome == Outcome::kDone ? number : 0), "the value is wrong");
        script().release();
        expect(ec::succeeded(script().init()), "init()");
      });
  const auto restore = [&] {
    expect(ec::succeeded(script().set_value(kLong.c_str(), IScript::VT_INT, &number)), "set");
  };
  restore();
  fail_in_vain(
      "get_value of a number",
      [&] {
        expect(script().get_value(kLong.c_str(), IScript::VT_INT, &read_number) == ec::SCRIPT_OK,
               "get_value()");
      },
      [&] { expect(std::exchange(read_number, 0) == number, "the number"); });
  fail_in_vain(
      "rm_value", [] { expect(script().rm_value(kLong.c_str()) == ec::SCRIPT_OK, "the code"); },
      [&] {
        expect(script().rm_value(kLong.c_str()) == ec::SCRIPT_NOT_FOUND, "it is still there");
        restore();
      });
  fail_each_allocation(
      "rm_value of a missing one",
      [] {
        expect(script().rm_value("nobody") == ec::SCRIPT_NOT_FOUND, "the code");
        return Outcome::kDone;
      },
      [](Outcome) {});
}

void script_load() {
  Engine engine;
  const ScriptFile file(kScript);
  fail_each_allocation(
      "expand_syntax",
      [&] { return script().expand_syntax(&engine.m_greet) ? Outcome::kDone : Outcome::kNoMemory; },
      [&](Outcome) { engine.restart(); });
  fail_each_allocation(
      "load_script",
      [&] { return outcome_of_script(script().load_script(file.path()), ec::SCRIPT_E_LOAD); },
      [&](Outcome outcome) {
        if (outcome == Outcome::kDone) {
          expect(text_of(kLong.c_str()) == "\xE4\xBD\xA0\xE5\xA5\xBD", "a variable is wrong");
          expect(ec::succeeded(script().exec_scommad("all", nullptr)), "running it");
        }
        expect(file.text() == kScript, "the file has changed");
        engine.restart();
      });
}

void script_exec() {
  Engine engine;
  const ScriptFile file(kScript);
  int env = 0;
  const auto load = [&] {
    engine.restart();
    expect(ec::succeeded(script().load_script(file.path())), "load_script()");
  };
  load();
  fail_in_vain(
      "release", [] { script().release(); },
      [&] {
        expect(script().rm_value("count") == ec::SCRIPT_NOT_FOUND, "a variable is still there");
        expect(ec::succeeded(script().init()), "init()");
        load();
      });
  fail_in_vain(
      "execute", [&] { expect(script().execute(&env) == ec::SCRIPT_OK, "the code"); }, [] {});
  expect(ec::succeeded(script().set_value_env("friend", IScript::VT_STRING, &kLong, &env)), "set");
  fail_each_allocation(
      "exec_scommad", [&] { return outcome_of_script(script().exec_scommad("all", &env)); },
      [&](Outcome outcome) {
        // The calls before the one that had no memory were made.
        expect(engine.m_greet.calls <= 2 && engine.m_nothing.calls <= 1, "too many calls");
        expect(outcome == Outcome::kNoMemory ||
                   (engine.m_greet.calls == 2 && engine.m_nothing.calls == 1),
               "calls are missing");
        engine.m_greet.calls = 0;
        engine.m_nothing.calls = 0;
      });
}

void script_save() {
  Engine engine;
  const ScriptFile file(kScript);
  // What the XML library forgets when it has no memory is freed with its document.
  const auto load = [&] {
    engine.restart();
    expect(ec::succeeded(script().load_script(file.path())), "load_script()");
    expect(ec::succeeded(script().set_value("more", IScript::VT_STRING, &kOther)), "set_value()");
  };
  load();
  fail_each_allocation(
      "save_script",
      [] { return outcome_of_script(script().save_script(), ec::SCRIPT_E_SAVE_XML); },
      [&](Outcome outcome) {
        const std::string text = file.text();
        if (outcome == Outcome::kDone) {
          expect(text.find("name=\"more\" type=\"string\" value=\"" + kOther) != std::string::npos,
                 "the variable is not in the file");
        } else {
          expect(text == kScript, "the file has changed");
        }
        test::write_file(file.path(), kScript);
        load();
        expect(std::distance(std::filesystem::directory_iterator(file.directory()), {}) == 1,
               "a stray file");
      });
  begin_step("many saves", "no fault");
  expect_many_saves_to_keep_memory();
}

}  // namespace fwbase::faults
