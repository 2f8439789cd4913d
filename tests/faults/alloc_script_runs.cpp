// Runs of sections: a call is made with all of its arguments, or not at all.
#include "tests/faults/script_host.h"
#include "tests/harness/script_file.h"

namespace fwbase::faults {

namespace {

using test::ScriptFile;

// Calls of every form, runs in runs, and a run that ends the engine.
const std::string kScript =
    "<korvid><template><Func name='take'><param tag='number' type='int'/>"
    "<param tag='text' type='string'/></Func><Func name='count'><param tag='number' type='int'/>"
    "</Func><Func name='run'/><Func name='end'/></template><Process name=''><Exec>"
    "<section name='forms'><take><number>7</number><text>short</text></take>"
    "<take><number>-1</number><text>" +
    kOther +
    "</text></take>"
    "<take><number><ref>count</ref></number><text><ref>short</ref></text></take>"
    "<take><number><ref>count</ref></number><text><ref>long</ref></text><ret>" +
    kLong +
    "</ret></take>"
    "<take><number><ref>nobody</ref></number><text><ref>nobody</ref></text></take>"
    "<take><number><ref>long</ref></number><text><ref>count</ref></text></take></section>"
    "<section name='numbers'><count><number>7</number></count>"
    "<count><number><ref>count</ref></number><ret>sum</ret></count></section>"
    "<section name='nested'><run/><count><number>7</number></count>"
    "<count><number><ref>count</ref></number><ret>sum</ret></count></section>"
    "<section name='last'><end/><count><number>1</number></count></section>"
    "</Exec></Process></korvid>";

const std::vector<ExpectedCall> kForms{{7, "short"},        {-1, kOther}, {17, "text"},
                                       {17, kOther, kLong}, {0, ""},      {0, ""}};
const std::vector<ExpectedCall> kNumbers{{7}, {17, "", "sum"}};

class Host {
 public:
  Host() { load(); }

  void load() {
    m_engine.restart();
    expect(ec::succeeded(script().load_script(m_file.path())), "load_script()");
    const std::int32_t number = 17;
    const std::string text = "text";
    for (void* const env : {static_cast<void*>(this), static_cast<void*>(&m_other)}) {
      expect(ec::succeeded(script().set_value_env("count", IScript::VT_INT, &number, env)) &&
                 ec::succeeded(script().set_value_env("short", IScript::VT_STRING, &text, env)) &&
                 ec::succeeded(script().set_value_env("long", IScript::VT_STRING, &kOther, env)),
             "set_value_env()");
    }
  }

  ec::EC run(const char* section) { return script().exec_scommad(section, this); }

  // Whether each of these has been called as often as it must be in a run that succeeds.
  bool took_all() { return m_take.all_made(); }
  bool counted_all() { return m_count.all_made(); }
  bool ran() { return m_run.all_made(); }
  bool ended() { return m_end.all_made(); }

 private:
  char m_other = 0;  // the environment of runs in runs
  ExpectingFunction m_take{"take", {IScript::VT_INT, IScript::VT_STRING}, kForms};
  ExpectingFunction m_count{"count", {IScript::VT_INT}, kNumbers};
  ExpectingFunction m_run{
      "run", {}, {{}}, [this](void*) { return script().exec_scommad("forms", &m_other); }};
  ExpectingFunction m_end{"end", {}, {{}}, [](void*) {
                            script().release();
                            return ec::SCRIPT_OK;
                          }};
  const ScriptFile m_file{kScript};
  Engine m_engine{{&m_take, &m_count, &m_run, &m_end}};
};

}  // namespace

void script_exec() {
  Host host;
  fail_in_vain(
      "release", [] { script().release(); },
      [&] {
        expect(script().exec_scommad("forms", &host) == ec::SCRIPT_E_SECTION, "a section is there");
        host.load();
      });
  fail_in_vain(
      "execute", [&] { expect(script().execute(&host) == ec::SCRIPT_OK, "the code"); }, [] {});
  for (const bool first : {true, false}) {
    fail_each_allocation(
        first ? "exec_scommad for the first time" : "exec_scommad",
        [&] { return outcome_of_script(host.run("forms")); },
        [&](Outcome outcome) {
          expect(host.took_all() || outcome == Outcome::kNoMemory, "calls are missing");
          if (first) {
            host.load();
          }
        });
  }
  fail_each_allocation(
      "exec_scommad without texts", [&] { return outcome_of_script(host.run("numbers")); },
      [&](Outcome outcome) {
        expect(host.counted_all() || outcome == Outcome::kNoMemory, "calls are missing");
      });
  fail_each_allocation(
      "exec_scommad in a run", [&] { return outcome_of_script(host.run("nested")); },
      [&](Outcome outcome) {
        const bool ran = host.ran();
        const bool took = host.took_all() && ran;
        expect((host.counted_all() && took) || outcome == Outcome::kNoMemory, "calls are missing");
        host.load();
      });
  fail_each_allocation(
      "exec_scommad of a section that is not there",
      [&] {
        expect(host.run("nobody") == ec::SCRIPT_E_SECTION, "the code");
        return Outcome::kDone;
      },
      [](Outcome) {});
  // The calls after the release are not made.
  fail_each_allocation(
      "release in a run",
      [&] {
        const ec::EC code = host.run("last");
        return code == ec::SCRIPT_E_SECTION ? Outcome::kDone : outcome_of_script(code);
      },
      [&](Outcome outcome) {
        expect(host.ended() || outcome == Outcome::kNoMemory, "the engine was not released");
        host.load();
      });
}

}  // namespace fwbase::faults
