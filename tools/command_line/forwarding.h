// Components that forward every operation to another one: bases for those that change a few.
#ifndef TOOLS_COMMAND_LINE_FORWARDING_H
#define TOOLS_COMMAND_LINE_FORWARDING_H

#include <fwbase/irunlog.h>
#include <fwbase/iscript.h>

namespace tools {

class ForwardingLog : public fwbase::IRunLog {
 public:
  /// inner   must live as long
  explicit ForwardingLog(fwbase::IRunLog& inner) : m_inner(inner) {}

  ec::EC init() override { return m_inner.init(); }
  void type(unsigned int mask) override { m_inner.type(mask); }
  void info(unsigned int flags) override { m_inner.info(flags); }
  ec::EC file(const char* path) override { return m_inner.file(path); }
  void asynch(bool on) override { m_inner.asynch(on); }
  void release() override { m_inner.release(); }
  void write(Type type, const char* message, const char* location) override {
    m_inner.write(type, message, location);
  }

 protected:
  fwbase::IRunLog& inner() { return m_inner; }

 private:
  fwbase::IRunLog& m_inner;
};

class ForwardingScript : public fwbase::IScript {
 public:
  /// inner   must live as long
  explicit ForwardingScript(fwbase::IScript& inner) : m_inner(inner) {}

  ec::EC init() override { return m_inner.init(); }
  void release() override { m_inner.release(); }
  bool expand_syntax(ISyntax* syntax) override { return m_inner.expand_syntax(syntax); }
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

 protected:
  fwbase::IScript& inner() { return m_inner; }

 private:
  fwbase::IScript& m_inner;
};

}  // namespace tools

#endif
