// 02: a host whose functions a script calls. Runs visits.xml of the current directory and saves its
// variables.
#include <fwbase/function.h>
#include <fwbase/fwbase.h>
#include <fwbase/values.h>

#include <cstdint>
#include <cstdio>
#include <string>

using fwbase::Call;
using fwbase::Function;
using fwbase::IFWBase;
using fwbase::IScript;
using fwbase::param;

namespace {

IScript* engine() { return IFWBase::instance()->script(); }

// Adds to a global variable of the script. These are shared by all runs, and saved.
//
// The types of the parameters are those of the arguments: the engine compares the script's
// declaration with them at loading. A "Call" may precede them.
ec::EC count(const Call& call, const char* counter, std::int32_t step) {
  std::int32_t value = 0;
  const ec::EC found = fwbase::get(counter, value);
  // Ends the section, and is the result of the run.
  if (ec::failed(found)) return call.fail(found, "there is no counter '%s'", counter);

  value += step;
  const ec::EC set = fwbase::set(counter, value);
  // A result is a variable of the run's environment; the script chose its name in "ret".
  return ec::succeeded(set) ? call.give(value) : set;
}

void report(const char* what, ec::EC result) {
  std::printf("%s: %s: %s\n", what, ec::name(result), ec::text(result));
}

ec::EC visit(const char* name) {
  // An environment is any address: here that of a variable. It is the key of a table of variables.
  // Each guest has its own table, and nothing in it is saved.
  const std::string guest = name;
  void* const env = const_cast<std::string*>(&guest);
  const ec::EC set = fwbase::set_env(env, "guest", guest);
  return ec::succeeded(set) ? engine()->exec_scommad("visit", env) : set;
}

}  // namespace

int main() {
  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init())) return 1;

  // Name, description, parameters, and a body: a function, or a lambda whose result is the
  // function's result. The engine keeps pointers to the functions, so they live until release().
  // They are registered before the script is loaded, because loading checks every call.
  Function functions[] = {
      {"count",
       "Adds to a counter.",
       {param("counter", "a global variable"), param("step").or_else(1)},
       count},
      {"ordinal",
       "Gives a number its name.",
       {param("number")},
       [](std::int32_t number) { return "visit no. " + std::to_string(number); }},
      {"say",
       "Prints two texts.",
       {param("first"), param("second")},
       [](const char* first, const char* second) { std::printf("%s, %s\n", first, second); }},
  };
  for (Function& function : functions) {
    engine()->expand_syntax(&function);
  }

  ec::EC result = engine()->load_script("visits.xml");
  if (ec::succeeded(result)) result = visit("Ann");
  if (ec::succeeded(result)) result = visit("Bob");

  // A function that fails ends its section; the engine stays usable.
  if (ec::succeeded(result)) report("lapse", engine()->exec_scommad("lapse", nullptr));

  // Writes the global variables into the file that was loaded.
  if (ec::succeeded(result)) result = engine()->save_script();
  if (ec::failed(result)) report("visits.xml", result);

  fw->release();
  return ec::succeeded(result) ? 0 : 1;
}
