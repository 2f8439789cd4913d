// 02: a host whose functions a script calls. Runs visits.xml of the current directory and saves its
// variables.
#include <fwbase/fwbase.h>

#include <cstdint>
#include <cstdio>
#include <string>

using fwbase::IFWBase;
using fwbase::IScript;

namespace {

IScript* engine() { return IFWBase::instance()->script(); }

// count(counter: string, step: int) -> int: adds to a global variable of the script.
class Count : public IScript::ISyntax {
 public:
  // The signature. The engine compares the script's declaration with it at loading, so call() can
  // rely on the number and the types of its arguments.
  const char* name() override { return "count"; }
  IScript::VType* param_types() override { return m_types; }
  int param_count() override { return 2; }

  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    // The global variables are shared by all runs, and saved.
    std::int32_t value = 0;
    const ec::EC found = engine()->get_value(args[0].string_value, IScript::VT_INT, &value);
    if (ec::failed(found)) return found;  // ends the section, and is the result of the run

    value += args[1].int_value;
    const ec::EC set = engine()->set_value(args[0].string_value, IScript::VT_INT, &value);
    if (ec::failed(set)) return set;

    // A result is a variable of the run's environment, by the name that the script chose. Without
    // a "ret" the script wants none.
    if (ret == nullptr) return ec::SCRIPT_OK;
    return engine()->set_value_env(ret, IScript::VT_INT, &value, env);
  }

 private:
  IScript::VType m_types[2] = {IScript::VT_STRING, IScript::VT_INT};
};

// ordinal(number: int) -> string
class Ordinal : public IScript::ISyntax {
 public:
  const char* name() override { return "ordinal"; }
  IScript::VType* param_types() override { return m_types; }
  int param_count() override { return 1; }

  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    if (ret == nullptr) return ec::SCRIPT_OK;
    // Data of the type VT_STRING is a std::string, never an array of characters.
    const std::string text = "visit no. " + std::to_string(args[0].int_value);
    return engine()->set_value_env(ret, IScript::VT_STRING, &text, env);
  }

 private:
  IScript::VType m_types[1] = {IScript::VT_INT};
};

// say(first: string, second: string)
class Say : public IScript::ISyntax {
 public:
  const char* name() override { return "say"; }
  IScript::VType* param_types() override { return m_types; }
  int param_count() override { return 2; }

  ec::EC call(const IScript::VValue* args, void*, const char*) override {
    std::printf("%s, %s\n", args[0].string_value, args[1].string_value);
    return ec::SCRIPT_OK;
  }

 private:
  IScript::VType m_types[2] = {IScript::VT_STRING, IScript::VT_STRING};
};

void report(const char* what, ec::EC result) {
  std::printf("%s: %s: %s\n", what, ec::name(result), ec::text(result));
}

ec::EC visit(const char* name) {
  // An environment is any address: here that of a variable. It is the key of a table of variables,
  // of its own for each guest, and nothing in it is saved.
  const std::string guest = name;
  void* const env = const_cast<std::string*>(&guest);
  const ec::EC set = engine()->set_value_env("guest", IScript::VT_STRING, &guest, env);
  return ec::succeeded(set) ? engine()->exec_scommad("visit", env) : set;
}

}  // namespace

int main() {
  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init())) return 1;

  // The engine keeps pointers to the functions: they live until release(). They are registered
  // before the script is loaded, because loading checks every call.
  Count count;
  Ordinal ordinal;
  Say say;
  engine()->expand_syntax(&count);
  engine()->expand_syntax(&ordinal);
  engine()->expand_syntax(&say);

  ec::EC result = engine()->load_script("visits.xml");
  if (ec::succeeded(result)) result = visit("Ann");
  if (ec::succeeded(result)) result = visit("Bob");

  // A function that fails ends its section; the engine goes on.
  if (ec::succeeded(result)) report("lapse", engine()->exec_scommad("lapse", nullptr));

  // Writes the global variables into the file that was loaded.
  if (ec::succeeded(result)) result = engine()->save_script();
  if (ec::failed(result)) report("visits.xml", result);

  fw->release();
  return ec::succeeded(result) ? 0 : 1;
}
