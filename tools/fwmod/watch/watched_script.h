// The script engine as the library sees it.
#ifndef FWMOD_WATCH_WATCHED_SCRIPT_H
#define FWMOD_WATCH_WATCHED_SCRIPT_H

#include <mutex>
#include <string>
#include <vector>

#include <fwbase/iscript.h>

#include "findings.h"
#include "library_segments.h"

namespace fwmod {

/// Passes everything on and remembers the functions.
class WatchedScript final : public fwbase::IScript {
 public:
  explicit WatchedScript(fwbase::IScript& inner) : m_inner(inner) {}

  /// Says which functions are registered, and which of them are no static objects of the library.
  void list(const LibrarySegments& library, Findings& findings);

  ec::EC init() override;
  void release() override;
  bool expand_syntax(ISyntax* syntax) override;
  ec::EC load_script(const char* path) override { return m_inner.load_script(path); }
  ec::EC save_script() override { return m_inner.save_script(); }
  ec::EC execute(void* env) override { return m_inner.execute(env); }
  ec::EC exec_scommad(const char* section, void* env) override {
    return m_inner.exec_scommad(section, env);
  }
  ec::EC get_value(const char* name, VType type, void* out) const override {
    return m_inner.get_value(name, type, out);
  }
  ec::EC set_value(const char* name, VType type, const void* data) override {
    return m_inner.set_value(name, type, data);
  }
  ec::EC rm_value(const char* name) override { return m_inner.rm_value(name); }
  ec::EC get_value_env(const char* name, VType type, void* out, void* env) const override {
    return m_inner.get_value_env(name, type, out, env);
  }
  ec::EC set_value_env(const char* name, VType type, const void* data, void* env) override {
    return m_inner.set_value_env(name, type, data, env);
  }

 private:
  struct Function {
    std::string name;
    const void* object;
  };

  void forget();

  fwbase::IScript& m_inner;
  std::mutex m_mutex;
  std::vector<Function> m_functions;  // in the order of registration
};

}  // namespace fwmod

#endif
