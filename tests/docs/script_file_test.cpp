// docs/script_file.md: every example loads, and every mistake in its tables has the result that the
// table says. The page is the source of both: nothing of it is repeated here.
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <deque>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>

#include "tests/docs/markdown.h"
#include "tests/harness/gbk_locale.h"
#include "tests/harness/host_function.h"
#include "tests/harness/script_file.h"

using fwbase::IFWBase;
using fwbase::IScript;
using fwbase::test::code_spans;
using fwbase::test::GbkLocale;
using fwbase::test::HostFunction;
using fwbase::test::MarkdownPage;
using fwbase::test::ScriptFile;
using fwbase::test::TableRow;
using fwbase::test::TempDir;

namespace {

const MarkdownPage& page() {
  static const MarkdownPage script_file("docs/script_file.md");
  return script_file;
}

/// All codes by their names.
const std::map<std::string, ec::EC>& codes() {
  static const std::map<std::string, ec::EC> all = {
#define FWBASE_TEST_CODE(name, value, meaning) {#name, value},
      FWBASE_EC_TABLE(FWBASE_TEST_CODE)
#undef FWBASE_TEST_CODE
  };
  return all;
}

/// A code by its name, as "`SCRIPT_OK`".
ec::EC code_of(const std::string& cell) { return codes().at(code_spans(cell).at(0)); }

/// The host of the page: an engine in service that has the functions of the page's table.
class Host {
 public:
  Host() {
    IFWBase::instance()->init();
    for (const TableRow& row : page().section("A complete file").table()) {
      std::vector<IScript::VType> types;
      for (const std::string& type : code_spans(row.at(1))) {
        types.push_back(type == "int" ? IScript::VT_INT : IScript::VT_STRING);
      }
      m_functions.emplace_back(code_spans(row.at(0)).at(0), types);
      IFWBase::instance()->script()->expand_syntax(&m_functions.back());
    }
  }
  ~Host() { IFWBase::instance()->release(); }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  IScript* operator->() const { return IFWBase::instance()->script(); }

  HostFunction& function(const std::string& name) {
    for (HostFunction& function : m_functions) {
      if (function.name() == name) {
        return function;
      }
    }
    throw std::runtime_error("no function " + name);
  }

 private:
  std::deque<HostFunction> m_functions;
};

const char* name_of(ec::EC code) { return ec::name(code); }

/// The file that the snippets of a row of mistakes make.
std::string completed(const TableRow& row) {
  const std::vector<std::string> snippets = code_spans(row.at(1));
  if (row.at(2) == "file") {
    return snippets.at(0);
  }
  std::string text = page().section("Mistakes in a file").blocks("xml").at(0);
  std::size_t next = 0;
  std::string places = row.at(2) + ", ";
  for (std::size_t end; (end = places.find(", ")) != std::string::npos; places.erase(0, end + 2)) {
    const std::string comment = "<!-- " + places.substr(0, end) + " -->";
    const std::size_t at = text.find(comment);
    if (at == std::string::npos) {
      throw std::runtime_error("no place for a snippet: " + row.at(2));
    }
    text.replace(at, comment.size(), snippets.at(next++));
  }
  if (next != snippets.size()) {
    throw std::runtime_error("snippets and places differ in number: " + row.at(0));
  }
  return text;
}

/// Loads the file of each row of a table, and tells which results are not the table's.
void expect_results(const std::string& heading) {
  for (const TableRow& row : page().section(heading).table()) {
    const ScriptFile file(completed(row));
    const Host script;
    EXPECT_STREQ(name_of(script->load_script(file.path())), name_of(code_of(row.at(3))))
        << row.at(0) << "\n"
        << file.text();
  }
}

std::string text_of(IScript* script, const char* name) {
  std::string text;
  return script->get_value(name, IScript::VT_STRING, &text) == ec::SCRIPT_OK ? text : "(none)";
}

int int_of(IScript* script, const char* name) {
  std::int32_t number = -1;
  EXPECT_EQ(script->get_value(name, IScript::VT_INT, &number), ec::SCRIPT_OK) << name;
  return number;
}

}  // namespace

TEST(ScriptFilePage, EveryExampleLoads) {
  const std::vector<std::string> examples = page().blocks("xml");
  EXPECT_GE(examples.size(), 4u);
  for (const std::string& example : examples) {
    const ScriptFile file(example);
    const Host script;
    EXPECT_STREQ(name_of(script->load_script(file.path())), "SCRIPT_OK") << example;
  }
}

TEST(ScriptFilePage, TheCompleteFileRunsAsItsCommentsSay) {
  const ScriptFile file(page().section("A complete file").blocks("xml").at(0));
  Host script;
  ASSERT_EQ(script->load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(int_of(script.operator->(), "runs"), 3);
  EXPECT_EQ(text_of(script.operator->(), "title"), "Good morning");

  int session = 0;
  script.function("count").set_body([&](const IScript::VValue*, void* env, const char* ret) {
    const std::int32_t visitors = 2;
    return script->set_value_env(ret, IScript::VT_INT, &visitors, env);
  });
  EXPECT_EQ(script->exec_scommad("start", &session), ec::SCRIPT_OK);
  EXPECT_EQ(script.function("greet").calls(),
            (std::vector<std::string>{"greet('world',1)", "greet('visitor',2)"}));
  EXPECT_EQ(script.function("count").calls(), (std::vector<std::string>{"count()->visitors"}));
  EXPECT_EQ(script.function("print").calls(),
            (std::vector<std::string>{"print('one')", "print('two')"}));
  EXPECT_EQ(script->exec_scommad("nothing", &session), ec::SCRIPT_OK);
}

TEST(ScriptFilePage, EveryMistakeInAFileHasTheResultOfTheTable) {
  expect_results("Mistakes in a file");
}

TEST(ScriptFilePage, EveryMistakeOfEncodingHasTheResultOfTheTable) {
  const GbkLocale locale;
  expect_results("Mistakes of encoding");
}

TEST(ScriptFilePage, TheMistakesOfEncodingAreNoneInAUtf8Process) {
  for (const TableRow& row : page().section("Mistakes of encoding").table()) {
    if (row.at(2) == "file" || row.at(0) == "a call") {
      continue;
    }
    const ScriptFile file(completed(row));
    const Host script;
    EXPECT_STREQ(name_of(script->load_script(file.path())), "SCRIPT_OK") << file.text();
  }
}

TEST(ScriptFilePage, WhatIsNoMistakeLoads) { expect_results("What is no mistake"); }

TEST(ScriptFilePage, WhatIsNoMistakeHasTheEffectOfTheTable) {
  int numbers = 0;
  for (const TableRow& row : page().section("What is no mistake").table()) {
    const ScriptFile file(completed(row));
    Host script;
    ASSERT_EQ(script->load_script(file.path()), ec::SCRIPT_OK) << file.text();
    ASSERT_EQ(script->exec_scommad("start", nullptr), ec::SCRIPT_OK);
    const std::string effect = row.at(0).substr(0, row.at(0).find(':'));
    if (effect.find_first_not_of("0123456789") == std::string::npos) {
      EXPECT_EQ(std::to_string(int_of(script.operator->(), "a")), effect);
      ++numbers;
    } else if (effect == "the later value counts") {
      EXPECT_EQ(text_of(script.operator->(), "a"), "2");
    } else if (effect == "the empty text" || effect == "the variable counts") {
      EXPECT_EQ(script.function("print").calls(), std::vector<std::string>{"print('')"});
    } else {
      EXPECT_TRUE(effect == "ignored" || effect == "never compared") << effect;
    }
  }
  EXPECT_GE(numbers, 3);
}

namespace {

/// Lines without the blanks at their ends, which no page keeps.
std::string without_trailing_blanks(const std::string& text) {
  std::string kept;
  for (const char c : text) {
    if (c == '\n') {
      kept.erase(kept.find_last_not_of(' ') + 1);
    }
    kept += c;
  }
  return kept;
}

}  // namespace

TEST(ScriptFilePage, SavingRewritesTheFileAsPrinted) {
  const std::vector<std::string> files = page().section("Saving").blocks("xml");
  ASSERT_EQ(files.size(), 2u);
  const ScriptFile file(files[0]);
  const Host script;
  ASSERT_EQ(script->load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(script->save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(file.text(), files[0]) << "nothing changed yet";
  const std::int32_t runs = 4;
  ASSERT_EQ(script->set_value("runs", IScript::VT_INT, &runs), ec::SCRIPT_OK);
  ASSERT_EQ(script->rm_value("old"), ec::SCRIPT_OK);
  ASSERT_EQ(script->save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(without_trailing_blanks(file.text() + "\n"), files[1]);
}

TEST(ScriptFilePage, SavingKeepsAndDropsWhatThePageSays) {
  const ScriptFile file(
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
      "<!DOCTYPE korvid [<!ENTITY who \"world\">]>\n<?made by='hand'?>\n"
      "<korvid b='2' a='1'>\n<Process name=''><x>&who;<![CDATA[<raw>]]></x><!-- kept -->"
      "<Data><!-- dropped --></Data></Process>"
      "<Process name='other'><Data><var name='v' type='int' value='1'/></Data></Process>"
      "<Process name=''/></korvid>");
  const Host script;
  ASSERT_EQ(script->load_script(file.path()), ec::SCRIPT_OK);
  const std::string e_acute = "\xC3\xA9";
  ASSERT_EQ(script->set_value("s", IScript::VT_STRING, &e_acute), ec::SCRIPT_OK);
  ASSERT_EQ(script->save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(file.text(),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" standalone=\"no\" ?>"
            "<!DOCTYPE korvid [<!ENTITY who \"world\">]><?made by='hand'?>"
            "<korvid a=\"1\" b=\"2\">\n<Process name=\"\">"
            "<Data><var name=\"s\" type=\"string\" value=\"\xE9\"/></Data>"
            "<x>&who;<![CDATA[<raw>]]></x><!-- kept --></Process>"
            "<Process name=\"other\"><Data><var name=\"v\" type=\"int\" value=\"1\"/></Data>"
            "</Process><Process name=\"\"/></korvid>");
}

namespace {

template <typename Piece>
std::string pieces(std::size_t count, Piece piece) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) {
    all += piece(std::to_string(i));
  }
  return all;
}

const char* const kProcess = "<Process name=''/>";

/// Files that have so many of what a row of the table of limits counts, by its first cell.
const std::map<std::string, std::string (*)(std::size_t)>& files_at_a_limit() {
  static const std::map<std::string, std::string (*)(std::size_t)> files = {
      {"levels: elements and references to entities within each other",
       [](std::size_t count) {
         return std::string("<korvid>") + kProcess +
                pieces(count - 1, [](const std::string&) { return "<x>"; }) +
                pieces(count - 1, [](const std::string&) { return "</x>"; }) + "</korvid>";
       }},
      {"different names of elements and attributes",
       [](std::size_t count) {  // with those of the root, of the process and of its attribute
         return std::string("<korvid>") + kProcess +
                pieces(count - 3, [](const std::string& i) { return "<x" + i + "/>"; }) +
                "</korvid>";
       }},
      {"attributes of an element",
       [](std::size_t count) {
         return "<korvid" + pieces(count, [](const std::string& i) { return " x" + i + "=''"; }) +
                ">" + kProcess + "</korvid>";
       }},
      {"declarations in the DTD",
       [](std::size_t count) {
         return "<!DOCTYPE korvid [" +
                pieces(count, [](const std::string& i) { return "<!ENTITY x" + i + " ''>"; }) +
                "]><korvid>" + kProcess + "</korvid>";
       }},
  };
  return files;
}

std::size_t number_of(const std::string& cell) {
  std::string digits;
  for (const char c : cell) {
    digits += c == ',' ? "" : std::string(1, c);
  }
  return std::stoul(digits);
}

}  // namespace

TEST(ScriptFilePage, ALoadTakesWhatTheLimitsOfThePageAllowAndNoMore) {
  std::size_t tried = 0;
  for (const TableRow& row : page().section("Limits").table()) {
    const auto found = files_at_a_limit().find(row.at(0));
    if (found == files_at_a_limit().end()) {
      continue;
    }
    ++tried;
    const std::size_t limit = number_of(row.at(1));
    EXPECT_STREQ(name_of(Host()->load_script(ScriptFile(found->second(limit)).path())), "SCRIPT_OK")
        << row.at(0);
    EXPECT_STREQ(name_of(Host()->load_script(ScriptFile(found->second(limit + 1)).path())),
                 "SCRIPT_E_LOAD")
        << row.at(0);
  }
  EXPECT_EQ(tried, files_at_a_limit().size());
}

TEST(ScriptFilePage, EveryCodeOfTheEngineIsOnThePage) {
  for (const auto& [name, code] : codes()) {
    if (name.starts_with("SCRIPT_")) {
      EXPECT_NE(page().text().find("`" + name + "`"), std::string::npos) << name;
    }
  }
}

namespace {

const char* const kWithFunction =
    "<korvid><template><Func name='count'/></template>"
    "<Process name=''><Exec><section name='s'><count/></section></Exec></Process></korvid>";
const char* const kWithSection =
    "<korvid><Process name=''><Exec><section name='s'/></Exec></Process></korvid>";

ec::EC save_after_setting(const char* script, const std::string& text) {
  const ScriptFile file(script);
  const Host host;
  host->load_script(file.path());
  host->set_value("text", IScript::VT_STRING, &text);
  return host->save_script();
}

ec::EC load(const Host& host, const std::string& text) {
  return host->load_script(ScriptFile(text).path());
}

/// What the rows of the table of the host's mistakes do, by their first cells.
const std::map<std::string, ec::EC (*)()>& mistakes_of_the_host() {
  static const std::map<std::string, ec::EC (*)()> mistakes = {
      {"the path is null or empty",
       [] {
         const Host host;
         EXPECT_EQ(host->load_script(nullptr), ec::SCRIPT_E_PARAM);
         return host->load_script("");
       }},
      {"there is no such file, it is a directory or cannot be read",
       [] {
         const Host host;
         const TempDir directory;
         EXPECT_EQ(host->load_script(directory.path().c_str()), ec::SCRIPT_E_LOAD);
         return host->load_script(directory.path("none.xml").c_str());
       }},
      {"the file is a FIFO or a device",
       [] {
         const Host host;
         const TempDir directory;
         EXPECT_EQ(::mkfifo(directory.path("fifo").c_str(), 0600), 0);
         EXPECT_EQ(host->load_script(directory.path("fifo").c_str()), ec::SCRIPT_E_LOAD);
         EXPECT_EQ(host->load_script("/dev/stdin"), ec::SCRIPT_E_LOAD);
         return host->load_script("/dev/null");
       }},
      {"`init()` has not been called",
       [] {
         const Host host;
         IScript* const script = host.operator->();
         script->release();
         return load(host, kWithSection);
       }},
      {"a file is loaded a second time, and declares functions",
       [] {
         const Host host;
         load(host, kWithFunction);
         return load(host, kWithFunction);
       }},
      {"a file is loaded a second time, and declares none, but has sections",
       [] {
         const Host host;
         load(host, kWithSection);
         return load(host, kWithSection);
       }},
      {"the name of the section is null", [] { return Host()->exec_scommad(nullptr, nullptr); }},
      {"there is no such section (not logged)",
       [] { return Host()->exec_scommad("none", nullptr); }},
      {"the function was registered for loading, but `init()` has forgotten it",
       [] {
         const Host host;
         load(host, kWithFunction);
         host->init();
         return host->exec_scommad("s", nullptr);
       }},
      {"the environment lacks the variable of a `ref` (logged; the call is made)",
       [] {
         Host host;
         load(host,
              "<korvid><template><Func name='number'><param tag='n' type='int'/></Func></template>"
              "<Process name=''><Data><var name='v' type='int' value='5'/></Data><Exec>"
              "<section name='s'><number><n><ref>v</ref></n></number></section></Exec></Process>"
              "</korvid>");
         const ec::EC result = host->exec_scommad("s", nullptr);
         EXPECT_EQ(host.function("number").calls(), std::vector<std::string>{"number(0)"});
         return result;
       }},
      {"nothing was loaded", [] { return Host()->save_script(); }},
      {"the last load ended with `SCRIPT_E_LOAD`",
       [] { return save_after_setting("<korvid>", "text"); }},
      {"no process has an empty name (not logged)",
       [] { return save_after_setting("<korvid><Process name='other'/></korvid>", "text"); }},
      {"a variable's name or text is no text of the code page",
       [] { return save_after_setting(kWithSection, "\xFF"); }},
      {"a variable's text has a control character other than tab and line ends",
       [] { return save_after_setting(kWithSection, "\x01"); }},
      {"the file cannot be written",
       [] {
         const Host host;
         const std::int32_t number = 1;
         const ScriptFile file(kWithSection);
         host->load_script(file.path());
         host->set_value("n", IScript::VT_INT, &number);
         std::filesystem::remove_all(file.directory());
         return host->save_script();
       }},
  };
  return mistakes;
}

}  // namespace

TEST(ScriptFilePage, EveryMistakeOfTheHostHasTheResultOfTheTable) {
  std::set<std::string> in_the_table;
  for (const TableRow& row : page().section("Mistakes of the host").table()) {
    in_the_table.insert(row.at(0));
    const auto found = mistakes_of_the_host().find(row.at(0));
    ASSERT_NE(found, mistakes_of_the_host().end()) << row.at(0);
    EXPECT_STREQ(name_of(found->second()), name_of(code_of(row.at(2)))) << row.at(0);
  }
  EXPECT_EQ(in_the_table.size(), mistakes_of_the_host().size());
}
