// The script engine: codes instead of exceptions, variables and the file as they were.
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <utility>

#include "tests/faults/failing_allocations.h"
#include "tests/faults/script_host.h"
#include "tests/harness/script_file.h"

namespace fwbase::faults {

namespace {

using test::ScriptFile;

// Two functions, two variables, a section of three calls. The attribute in Chinese needs a
// converter.
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

// One that goes on top of it: declarations of its own, in an encoding that needs a converter, every
// form of an element, and enough calls for tables to grow several times.
std::string script_on_top() {
  std::string text =
      "<?xml version='1.0' encoding='GBK'?><!DOCTYPE korvid [<!ENTITY word '\xC4\xE3'>"
      "<!ATTLIST var type CDATA 'int' value CDATA '5'><!ATTLIST param must CDATA 'false'>]>"
      "<korvid><!-- more --><template><Func name='more'><param tag='text' type='string'/></Func>"
      "</template><Process name=''><?pi data?><Data><var name='from_dtd'/>"
      "<var name='\xC4\xE3' type='string' value='&word;&#10;'/></Data><Exec>"
      "<section name='more'><more><text>a&word;<![CDATA[<b>]]></text></more><more/>"
      "<more><params><text><ref>friend</ref></text><ret>" +
      kLong + "</ret></params><params/></more></section><section name='many'>";
  for (int i = 0; i < 100; ++i) {
    text += "<more><text>" + (i % 2 == 0 ? kLong : std::to_string(i)) + "</text></more>";
  }
  return text + "</section></Exec></Process><Process name='another'/></korvid>";
}

// The host of the first script.
class Host {
 public:
  void restart() { m_engine.restart(); }
  ExpectingFunction& greet() { return m_greet; }

  // Runs the section with a friend in the environment: whether all calls came.
  bool run() {
    const ec::EC code = script().exec_scommad("all", this);
    const bool greeted = m_greet.all_made();
    return m_nothing.all_made() && greeted &&
           outcome_of_script(code, ec::SCRIPT_E_SECTION) == Outcome::kDone;
  }

  // The same for the script on top, of which a load may have left a part: whether all calls came.
  bool run_more() {
    const ec::EC code = script().exec_scommad("more", this);
    return m_more.all_made() && outcome_of_script(code, ec::SCRIPT_E_SECTION) == Outcome::kDone;
  }

  void set_friend() {
    expect(ec::succeeded(script().set_value_env("friend", IScript::VT_STRING, &kOther, this)),
           "set_value_env()");
  }

 private:
  ExpectingFunction m_greet{"greet_somebody_politely",
                            {IScript::VT_STRING, IScript::VT_INT},
                            {{3, kLong}, {2, kOther, kLong}}};
  ExpectingFunction m_nothing{"nothing", {}, {{}}};
  ExpectingFunction m_more{
      "more", {IScript::VT_STRING}, {{0, "a\xE4\xBD\xA0<b>"}, {}, {0, kOther, kLong}, {}}};
  Engine m_engine{{&m_greet, &m_nothing, &m_more}};
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

namespace {

// So many that the tables of both kinds grow under way; those that were set keep their values.
void set_many_values() {
  constexpr int kMany = 80;
  int env = 0;
  const auto name_of = [](int i) { return "variable number " + std::to_string(i); };
  std::vector<std::string> names;
  for (int i = 0; i < kMany; ++i) {
    names.push_back(name_of(i));
  }
  std::int32_t set = 0;
  const auto restart = [&] {
    set = 0;
    script().release();
    expect(ec::succeeded(script().init()), "init()");
  };
  restart();
  fail_each_allocation(
      "set_value and set_value_env of many",
      [&] {
        for (set = 0; set < kMany; ++set) {
          const char* const name = names[static_cast<std::size_t>(set)].c_str();
          if (ec::failed(script().set_value(name, IScript::VT_INT, &set)) ||
              ec::failed(script().set_value_env(name, IScript::VT_INT, &set, &env))) {
            return Outcome::kNoMemory;
          }
        }
        return Outcome::kDone;
      },
      [&](Outcome) {
        for (std::int32_t i = 0; i < set; ++i) {
          const char* const name = names[static_cast<std::size_t>(i)].c_str();
          std::int32_t global = -1;
          std::int32_t own = -1;
          script().get_value(name, IScript::VT_INT, &global);
          script().get_value_env(name, IScript::VT_INT, &own, &env);
          expect(global == i && own == i, "a value that was set is wrong");
        }
        restart();
      });
}

void set_in_many_environments() {
  constexpr std::size_t kMany = 60;
  char envs[kMany];
  const std::int32_t number = 17;
  std::size_t set = 0;
  fail_each_allocation(
      "set_value_env in many environments",
      [&] {
        for (set = 0; set < kMany; ++set) {
          if (ec::failed(script().set_value_env("x", IScript::VT_INT, &number, &envs[set]))) {
            return Outcome::kNoMemory;
          }
        }
        return Outcome::kDone;
      },
      [&](Outcome) {
        for (std::size_t i = 0; i < kMany; ++i) {
          std::int32_t value = 0;
          script().get_value_env("x", IScript::VT_INT, &value, &envs[i]);
          expect(value == (i < set ? number : 0), "the value is wrong");
        }
        script().release();
        expect(ec::succeeded(script().init()), "init()");
      });
}

}  // namespace

void script_values() {
  const Engine engine({});
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
  set_many_values();
  set_in_many_environments();
  fail_each_allocation(
      "rm_value of a missing one",
      [] {
        expect(script().rm_value("nobody") == ec::SCRIPT_NOT_FOUND, "the code");
        return Outcome::kDone;
      },
      [](Outcome) {});
}

namespace {

// What a load that failed has left may be run: calls come as they must, if they come.
void load_on_top() {
  Host host;
  const ScriptFile file(kScript);
  const ScriptFile more(script_on_top());
  const auto load = [&] {
    host.restart();
    expect(ec::succeeded(script().load_script(file.path())), "load_script()");
    host.set_friend();
  };
  load();
  fail_each_allocation(
      "load_script on top",
      [&] { return outcome_of_script(script().load_script(more.path()), ec::SCRIPT_E_LOAD); },
      [&](Outcome outcome) {
        expect(host.run(), "a section that was there");
        expect(host.run_more() || outcome == Outcome::kNoMemory, "calls are missing");
        expect(text_of(kLong.c_str()) == "\xE4\xBD\xA0\xE5\xA5\xBD", "a variable that was there");
        if (outcome == Outcome::kDone) {
          std::int32_t number = 0;
          script().get_value("from_dtd", IScript::VT_INT, &number);
          expect(number == 5, "a variable is wrong");
          expect(text_of("\xE4\xBD\xA0") == "\xE4\xBD\xA0\n", "a variable is wrong");
        }
        load();
      });
}

void register_functions() {
  const Host host;
  ExpectingFunction function(kLong, {IScript::VT_INT, IScript::VT_STRING}, {});
  const auto restart = [] {
    script().release();
    expect(ec::succeeded(script().init()), "init()");
  };
  fail_each_allocation(
      "expand_syntax",
      [&] { return script().expand_syntax(&function) ? Outcome::kDone : Outcome::kNoMemory; },
      [&](Outcome) { restart(); });
  fail_each_allocation(
      "expand_syntax, many times",
      [&] {
        for (int i = 0; i < 100; ++i) {
          if (!script().expand_syntax(&function)) {
            return Outcome::kNoMemory;
          }
        }
        return Outcome::kDone;
      },
      [&](Outcome) { restart(); });
}

}  // namespace

void script_load() {
  register_functions();
  {
    Host host;
    const ScriptFile file(kScript);
    fail_each_allocation(
        "load_script",
        [&] { return outcome_of_script(script().load_script(file.path()), ec::SCRIPT_E_LOAD); },
        [&](Outcome outcome) {
          host.set_friend();
          expect(host.run() || outcome == Outcome::kNoMemory, "calls are missing");
          expect(
              outcome == Outcome::kNoMemory || text_of(kLong.c_str()) == "\xE4\xBD\xA0\xE5\xA5\xBD",
              "a variable is wrong");
          expect(file.text() == kScript, "the file has changed");
          host.restart();
        });
  }
  load_on_top();
}

namespace {

void save_first(Host& host, const ScriptFile& file) {
  // What the XML library forgets when it has no memory is freed with its document.
  const auto load = [&] {
    host.restart();
    expect(ec::succeeded(script().load_script(file.path())), "load_script()");
    expect(ec::succeeded(script().set_value("more", IScript::VT_STRING, &kOther)), "set_value()");
  };
  load();
  fail_each_allocation(
      "save_script after loading",
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
}

// The document has been changed and saved before; what it holds then is what is saved next.
void save_again(Host& host, const ScriptFile& file) {
  std::string saved;
  const auto load_and_save = [&] {
    test::write_file(file.path(), kScript);
    host.restart();
    expect(ec::succeeded(script().load_script(file.path())), "load_script()");
    expect(ec::succeeded(script().set_value("more", IScript::VT_STRING, &kLong)), "set_value()");
    expect(ec::succeeded(script().save_script()), "save_script()");
    saved = file.text();
    expect(ec::succeeded(script().set_value("more", IScript::VT_STRING, &kOther)), "set_value()");
    expect(ec::succeeded(script().rm_value("count")), "rm_value()");
  };
  load_and_save();
  fail_each_allocation(
      "save_script again",
      [] { return outcome_of_script(script().save_script(), ec::SCRIPT_E_SAVE_XML); },
      [&](Outcome outcome) {
        expect(outcome == Outcome::kDone || file.text() == saved, "the file has changed");
        expect(ec::succeeded(script().save_script()), "the next save");
        const std::string text = file.text();
        expect(text.find("value=\"" + kOther) != std::string::npos &&
                   text.find("\"count\"") == std::string::npos &&
                   text.find("<Data>") == text.rfind("<Data>"),
               "the file is not what the variables are");
        load_and_save();
      });
}

// Of a script that could not be loaded there is nothing to save, with or without memory.
void save_nothing(Host& host) {
  const ScriptFile damaged("<korvid>");
  expect(script().load_script(damaged.path()) == ec::SCRIPT_E_LOAD, "load_script()");
  expect(ec::succeeded(script().set_value("more", IScript::VT_STRING, &kOther)), "set_value()");
  fail_each_allocation(
      "save_script without a document",
      [] {
        const ec::EC code = script().save_script();
        expect(code == ec::SCRIPT_E_FORMAT || code == ec::SCRIPT_NO_MEMORY, "the code");
        return Outcome::kDone;
      },
      [&](Outcome) { expect(damaged.text() == "<korvid>", "the file has changed"); });
  host.restart();
}

}  // namespace

void script_save() {
  Host host;
  save_nothing(host);
  const ScriptFile file(kScript);
  save_first(host, file);
  save_again(host, file);
  begin_step("many saves", "no fault");
  expect_many_saves_to_keep_memory();
}

}  // namespace fwbase::faults
