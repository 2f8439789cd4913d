// What the script engine's tests share: an engine in service that keeps a record of what it was
// given, so that a test can ask for all of it.
#ifndef FWBASE_TESTS_FWBASE_SCRIPT_SCRIPT_ENGINE_H
#define FWBASE_TESTS_FWBASE_SCRIPT_SCRIPT_ENGINE_H

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "fwbase/script/script.h"
#include "tests/fwbase/script/read_script.h"
#include "tests/harness/host_function.h"
#include "tests/harness/log_capture.h"
#include "tests/harness/script_file.h"

namespace fwbase::test {

constexpr IScript::VType kUnknownType = static_cast<IScript::VType>(7);

/// Runs the body while the engine holds its lock for writing: in the middle of registering a
/// function, which is given up then.
inline void while_written(CScript& engine, const std::function<void()>& body) {
  struct GivenUp {};
  struct Function : HostFunction {
    explicit Function(const std::function<void()>& body) : HostFunction("f"), m_body(body) {}
    const char* name() override {
      m_body();
      throw GivenUp();
    }
    const std::function<void()>& m_body;
  } function(body);
  try {
    engine.expand_syntax(&function);
  } catch (const GivenUp&) {
  }
}

/// Initialised when made, released when it goes.
class ScriptEngine : public CScript {
 public:
  ScriptEngine() { init(); }
  ~ScriptEngine() override { release(); }

  static constexpr ec::EC kReaderDisagrees = 1;  ///< that load_script() gives then

  void release() override {
    CScript::release();
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_read = {};
  }

  bool expand_syntax(ISyntax* syntax) override {
    const bool registered = CScript::expand_syntax(syntax);
    if (registered) {
      const std::lock_guard<std::mutex> guard(m_mutex);
      m_read.add(*syntax);
    }
    return registered;
  }

  ec::EC load_script(const char* path) override {
    const ec::EC result = CScript::load_script(path);
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (result == ec::SCRIPT_E_PARAM || result == ec::SCRIPT_E_LOAD) {
      return result;
    }
    const ec::EC of_reader = m_read.load(path);
    m_names.merge(m_read.variable_names());
    return result == of_reader ? result : kReaderDisagrees;
  }

  /// Loads a script from a file that is gone afterwards.
  ec::EC load_text(const std::string& text) { return load_script(ScriptFile(text).path()); }

  ec::EC set_value(const char* name, VType type, const void* data) override {
    remember(name != nullptr ? name : "");
    return CScript::set_value(name, type, data);
  }
  ec::EC set_value_env(const char* name, VType type, const void* data, void* env) override {
    remember(name != nullptr ? name : "");
    return CScript::set_value_env(name, type, data, env);
  }

  ec::EC set(const std::string& name, std::int32_t value) {
    return set_value(name.c_str(), VT_INT, &value);
  }
  ec::EC set(const std::string& name, const std::string& value) {
    return set_value(name.c_str(), VT_STRING, &value);
  }
  ec::EC set_env(const std::string& name, std::int32_t value, void* env) {
    return set_value_env(name.c_str(), VT_INT, &value, env);
  }
  ec::EC set_env(const std::string& name, const std::string& value, void* env) {
    return set_value_env(name.c_str(), VT_STRING, &value, env);
  }

  /// Makes values() and env_values() ask for a name.
  void remember(const std::string& name) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_names.insert(name);
  }

  /// The variables that there are, of all names that this engine was given, as
  /// {{"x", "int 5"}, {"y", "string text"}}.
  using Shown = std::map<std::string, std::string>;
  Shown values() const {
    return shown(
        [&](const char* name, VType type, void* out) { return get_value(name, type, out); });
  }
  Shown env_values(void* env) const {
    const Shown all = shown([&](const char* name, VType type, void* out) {
      return get_value_env(name, type, out, env);
    });
    return all.empty() ? Shown{{"no", "table"}} : all;
  }

  /// What the files say that were loaded; see ReadScripts.
  std::vector<std::string> calls(const std::string& section) const { return m_read.calls(section); }
  std::vector<std::string> section_names() const { return m_read.section_names(); }
  std::vector<std::string> func_names() const { return m_read.func_names(); }
  std::vector<std::string> declared(const std::string& name) const { return m_read.declared(name); }

  /// Of a section's calls.
  std::vector<int> states(const std::string& section) const {
    return CScript::states(section.c_str());
  }

  /// Whether saving would write.
  bool modified() {
    const ScriptFile file("<korvid><Process name=''/></korvid>");
    const Quiet quiet;
    CScript::load_script(file.path());
    file.remove();
    save_script();
    return file.exists();
  }

 private:
  /// No records while it lives.
  struct Quiet {
    Quiet() : before(IRunLog::ms_type_sign.exchange(0)) {}
    ~Quiet() { IRunLog::ms_type_sign = before; }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;
    const unsigned int before;
  };

  template <typename Get>
  Shown shown(Get get) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    const Quiet quiet;
    Shown texts;
    for (const std::string& name : m_names) {
      std::int32_t number = 0;
      std::string text;
      if (ec::succeeded(get(name.c_str(), VT_INT, &number))) {
        texts[name] = "int " + std::to_string(number);
      } else if (ec::succeeded(get(name.c_str(), VT_STRING, &text))) {
        texts[name] = "string " + text;
      } else if (get(name.c_str(), kUnknownType, &text) == ec::SCRIPT_BAD_PARAM) {
        texts[name] = "nothing";
      }
    }
    return texts;
  }

  mutable std::mutex m_mutex;  // guards what follows
  std::set<std::string> m_names;
  ReadScripts m_read;
};

}  // namespace fwbase::test

#endif
