// Two modules with script functions: greet(who, times) of the one; of the other refuse(), which
// fails, blow_up(how), which throws or ends its thread, and run(section), which runs a section
// itself.
#include <fwbase/module.h>
#include <pthread.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

class Function : public IScript::ISyntax {
 public:
  Function(const char* name, std::vector<IScript::VType> types)
      : m_name(name), m_types(std::move(types)) {}

  const char* name() override { return m_name; }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }

 private:
  const char* m_name;
  std::vector<IScript::VType> m_types;
};

struct Greet : Function {
  Greet() : Function("greet", {IScript::VT_STRING, IScript::VT_INT}) {}

  ec::EC call(const IScript::VValue* args, void*, const char*) override {
    for (int i = 0; i < args[1].int_value; ++i) {
      std::printf("Hello, %s\n", args[0].string_value);
    }
    std::fflush(stdout);
    return ec::SCRIPT_OK;
  }
};

struct Refuse : Function {
  Refuse() : Function("refuse", {}) {}

  ec::EC call(const IScript::VValue*, void*, const char*) override {
    FWBASE_LOG(ERROR, "refuse: not today");
    return ec::SCRIPT_NOT_FOUND;
  }
};

struct BlowUp : Function {
  BlowUp() : Function("blow_up", {IScript::VT_STRING}) {}

  ec::EC call(const IScript::VValue* args, void*, const char*) override {
    if (std::strcmp(args[0].string_value, "number") == 0) {
      throw 42;
    }
    if (std::strcmp(args[0].string_value, "thread") == 0) {
      ::pthread_exit(nullptr);
    }
    throw std::runtime_error(args[0].string_value);
  }
};

struct Run : Function {
  Run() : Function("run", {IScript::VT_STRING}) {}

  ec::EC call(const IScript::VValue* args, void* env, const char*) override {
    return IFWBase::instance()->script()->exec_scommad(args[0].string_value, env);
  }
};

class Greeter : public fwbase::IMM::IBase {
 public:
  ec::EC init(void*) override {
    return IFWBase::instance()->script()->expand_syntax(&m_greet) ? ec::MM_OK : ec::SCRIPT_NO_RULE;
  }
  void release() override { delete this; }

 private:
  Greet m_greet;
};

class Troubles : public fwbase::IMM::IBase {
 public:
  ec::EC init(void*) override {
    IScript& engine = *IFWBase::instance()->script();
    FWBASE_LOG(ERROR, "troubles ahead");
    return engine.expand_syntax(&m_refuse) && engine.expand_syntax(&m_blow_up) &&
                   engine.expand_syntax(&m_run)
               ? ec::MM_OK
               : ec::SCRIPT_NO_RULE;
  }
  void release() override { delete this; }

 private:
  Refuse m_refuse;
  BlowUp m_blow_up;
  Run m_run;
};

}  // namespace

FWBASE_MODULE(Greeter)
FWBASE_MODULE_AS(Troubles, create_troubles)
