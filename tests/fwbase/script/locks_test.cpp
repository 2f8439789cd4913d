// Each operation on values takes the engine's lock. A thread that holds it for writing already
// cannot get it once more: the lock leaves EDEADLK in errno then, and the operation goes on
// without.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <iterator>

#include "tests/fwbase/script/script_engine.h"

namespace {

using namespace fwbase;

constexpr auto VT_INT = IScript::VT_INT;

}  // namespace

TEST(ScriptLock, EveryOperationTakesIt) {
  const test::LogCapture log(0);
  CScript engine;
  ASSERT_EQ(engine.init(), ec::SCRIPT_OK);
  const test::ScriptFile file("<korvid><Process name=''/></korvid>");
  test::HostFunction function("f", {});
  std::int32_t number = 1;
  int env = 0;
  const struct {
    const char* name;
    std::function<void()> call;
  } kOperations[] = {
      {"save_script", [&] { engine.save_script(); }},
      {"set_value", [&] { engine.set_value("x", VT_INT, &number); }},
      {"get_value", [&] { engine.get_value("x", VT_INT, &number); }},
      {"rm_value", [&] { engine.rm_value("x"); }},
      {"set_value_env", [&] { engine.set_value_env("x", VT_INT, &number, &env); }},
      {"get_value_env", [&] { engine.get_value_env("x", VT_INT, &number, &env); }},
      {"drop_environment", [&] { engine.drop_environment(&env); }},
      {"expand_syntax", [&] { engine.expand_syntax(&function); }},
      {"load_script", [&] { engine.load_script(file.path()); }},
      {"reload_script", [&] { engine.reload_script(file.path(), nullptr); }},
      {"exec_scommad", [&] { engine.exec_scommad("s", nullptr); }},
      {"states", [&] { engine.states("s"); }},
      {"signatures", [&] { engine.signatures(); }},
      {"init", [&] { engine.init(); }},
      {"release", [&] { engine.release(); }},
  };
  int called = 0;
  test::while_written(engine, [&] {
    for (const auto& operation : kOperations) {
      errno = 0;
      operation.call();
      EXPECT_EQ(errno, EDEADLK) << operation.name;
      ++called;
    }
  });
  EXPECT_EQ(called, std::size(kOperations));
}
