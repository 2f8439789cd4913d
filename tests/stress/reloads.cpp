// reloads COUNT CORPUS: eight threads run sections while the script is reloaded COUNT times, every
// second time from a faulty file of the directory CORPUS. A faulty file must fail no run and change
// nothing; a valid one must be in effect in the next section; variables must keep their values.
// Meant for the sanitizers, too.
#include <fwbase/check.h>
#include <fwbase/function.h>
#include <fwbase/fwbase.h>
#include <fwbase/reload.h>
#include <fwbase/values.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/harness/temp_dir.h"

namespace {

using fwbase::Finding;
using fwbase::IFWBase;
using fwbase::IRunLog;

constexpr int kThreads = 8;
constexpr std::int32_t kKept = 4711;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "reloads: %s\n", what.c_str());
  std::_Exit(1);
}

void require(bool good, const std::string& what) {
  if (!good) {
    fail(what);
  }
}

/// What a run finds: each run is of one version of the script, from its first call to its last.
struct Run {
  std::int32_t version = 0;
  int calls = 0;
};

const std::vector<std::string> kSections = {"a", "b"};
constexpr int kCalls = 20;

// A section calls note() with the version, and has the variable of its environment read.
std::string script(std::int32_t version) {
  const std::string number = std::to_string(version);
  std::string text =
      "<korvid><template><Func name='note'><param tag='version' type='int'/>"
      "<param tag='mine' type='int'/></Func></template><Process name=''>"
      "<Data><var name='kept' type='int' value='0'/><var name='v" +
      number + "' type='int' value='" + number + "'/></Data><Exec>";
  for (const std::string& section : kSections) {
    text += "<section name='" + section + "'>";
    for (int i = 0; i < kCalls; ++i) {
      text += "<note><version>" + number + "</version><mine><ref>mine</ref></mine></note>";
    }
    text += "</section>";
  }
  return text + "</Exec></Process></korvid>";
}

std::vector<std::string> faulty_files(const std::string& corpus) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(corpus)) {
    const std::vector<Finding> findings = fwbase::check_script(entry.path().c_str());
    if (std::any_of(findings.begin(), findings.end(), [](auto& one) { return one.error; })) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  require(files.size() >= 100, "the corpus has too few faulty files");
  return files;
}

class Stress {
 public:
  Stress(const std::string& corpus) : m_faulty(faulty_files(corpus)) {
    require(IFWBase::instance()->script()->expand_syntax(&m_note), "expand_syntax()");
    reload_valid();
    require(ec::succeeded(fwbase::set("kept", kKept)) && ec::succeeded(fwbase::set("host's", 1)),
            "a variable cannot be set");
  }

  void run(long reloads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([this, i] { run_sections(i); });
    }
    for (long i = 0; i < reloads; ++i) {
      if (i % 2 == 0) {
        reload_valid();
      } else {
        reload_faulty(m_faulty[static_cast<std::size_t>(i) / 2 % m_faulty.size()]);
      }
      expect_variables();
    }
    m_stop = true;
    for (std::thread& thread : threads) {
      thread.join();
    }
    std::printf("%ld reloads beside %ld runs\n", reloads, m_runs.load());
    require(m_runs > 0, "nothing has run");
  }

 private:
  void run_sections(int number) {
    char env = 0;
    require(ec::succeeded(fwbase::set_env(&env, "mine", number)), "set_env()");
    for (std::size_t i = 0; !m_stop; ++i) {
      const std::int32_t least = m_version;
      const Run run = run_section(kSections[i % kSections.size()], env, number);
      require(run.version >= least, "a section has run an old version");
      ++m_runs;
    }
    require(ec::succeeded(fwbase::drop_environment(&env)), "drop_environment()");
  }

  Run run_section(const std::string& section, char& env, int number) {
    t_run = {};
    t_mine = number;
    const ec::EC result = IFWBase::instance()->script()->exec_scommad(section.c_str(), &env);
    require(result == ec::SCRIPT_OK, std::string("a run fails: ") + ec::text(result));
    require(t_run.calls == kCalls, "calls are missing");
    return t_run;
  }

  static void note(std::int32_t version, std::int32_t mine) {
    require(t_run.calls == 0 || t_run.version == version, "a run changes its script");
    require(mine == t_mine, "an environment has lost its variable");
    t_run.version = version;
    ++t_run.calls;
  }

  void reload_valid() {
    const std::int32_t next = m_version + 1;
    fwbase::test::write_file(m_path, script(next));
    std::vector<Finding> findings;
    require(fwbase::reload_script(m_path.c_str(), &findings) == ec::SCRIPT_OK,
            "a valid file fails");
    m_version = next;
    char env = 0;
    require(ec::succeeded(fwbase::set_env(&env, "mine", -1)), "set_env()");
    require(run_section("a", env, -1).version == next, "a valid file is not in effect");
    require(ec::succeeded(fwbase::drop_environment(&env)), "drop_environment()");
  }

  void reload_faulty(const std::string& path) {
    std::vector<Finding> findings;
    require(ec::failed(fwbase::reload_script(path.c_str(), &findings)), path + " is loaded");
    require(!findings.empty(), path + " has no findings");
  }

  // Those of the file: its own version only.
  void expect_variables() {
    std::int32_t value = 0;
    const auto is = [&](const std::string& name, std::int32_t expected) {
      return fwbase::get(name.c_str(), value) == ec::SCRIPT_OK && value == expected;
    };
    require(is("kept", kKept) && is("host's", 1), "a variable has lost its value");
    require(is("v" + std::to_string(m_version), m_version), "the file's variable is not there");
    require(
        fwbase::get(("v" + std::to_string(m_version - 1)).c_str(), value) == ec::SCRIPT_NOT_FOUND,
        "the variable of an old file is still there");
  }

  static thread_local Run t_run;
  static thread_local std::int32_t t_mine;

  const std::vector<std::string> m_faulty;
  const fwbase::test::TempDir m_directory;
  const std::string m_path = m_directory.path("script.xml");
  fwbase::Function m_note{"note",
                          "Notes the version that runs.",
                          {fwbase::param("version"), fwbase::param("mine")},
                          &Stress::note};
  std::atomic<std::int32_t> m_version{0};
  std::atomic<bool> m_stop{false};
  std::atomic<long> m_runs{0};
};

thread_local Run Stress::t_run;
thread_local std::int32_t Stress::t_mine;

}  // namespace

int main(int argc, char** argv) {
  const long reloads = argc == 3 ? std::atol(argv[1]) : 0;
  require(reloads > 0, "usage: reloads COUNT CORPUS");
  require(ec::succeeded(IFWBase::instance()->init()), "init()");
  require(ec::succeeded(IFWBase::instance()->runlog()->file("/dev/null")), "file()");
  IFWBase::instance()->runlog()->type(IRunLog::ERROR);
  Stress(argv[2]).run(reloads);
  IFWBase::instance()->release();
  return 0;
}
