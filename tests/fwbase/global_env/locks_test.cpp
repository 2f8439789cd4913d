// Each operation takes the environment's lock. A thread that holds it for writing already cannot
// get it once more: the lock leaves EDEADLK in errno then, and the operation goes on without.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>
#include <utility>

#include "fwbase/global_env/global_env.h"
#include "tests/harness/log_capture.h"

namespace {

using namespace fwbase;

/// An object that is not copied.
struct Object : IGlobalEnv::IObject {
  IObject* clone() const override { return const_cast<Object*>(this); }
  void release() override {}
};

/// Does something when the environment copies it, which holds its lock for writing then.
struct Acting : Object {
  explicit Acting(std::function<void()> act) : m_act(std::move(act)) {}
  IObject* clone() const override {
    m_act();
    return Object::clone();
  }
  const std::function<void()> m_act;
};

}  // namespace

TEST(GlobalEnvLock, EveryOperationTakesIt) {
  const test::LogCapture log(0);
  CGlobalEnvImpl env(nullptr);
  Object object;
  const char* text = nullptr;
  void* address = nullptr;
  IGlobalEnv::IObject* copy = nullptr;
  const struct {
    const char* name;
    std::function<void()> call;
  } kOperations[] = {
      {"insert_str", [&] { env.insert_str("name", "value"); }},
      {"get_str", [&] { env.get_str("name"); }},
      {"get_str with a code", [&] { env.get_str("name", text); }},
      {"mod_str", [&] { env.mod_str("name", "other"); }},
      {"ex_str", [&] { env.ex_str("name", "more", true); }},
      {"rm_str", [&] { env.rm_str("name"); }},
      {"insert_addr", [&] { env.insert_addr("name", &object); }},
      {"get_addr", [&] { env.get_addr("name"); }},
      {"get_addr with a code", [&] { env.get_addr("name", address); }},
      {"mod_addr", [&] { env.mod_addr("name", nullptr); }},
      {"rm_addr", [&] { env.rm_addr("name"); }},
      {"insert_obj", [&] { env.insert_obj("name", &object); }},
      {"get_obj", [&] { env.get_obj("name", &copy); }},
      {"mod_obj", [&] { env.mod_obj("name", &object); }},
      {"rm_obj", [&] { env.rm_obj("name"); }},
      {"init", [&] { env.init(); }},
      {"release", [&] { env.release(); }},
  };
  const Acting in_the_middle([&] {
    for (const auto& operation : kOperations) {
      errno = 0;
      operation.call();
      EXPECT_EQ(errno, EDEADLK) << operation.name;
    }
  });
  EXPECT_EQ(env.insert_obj("acting", &in_the_middle), ec::GENV_OK);
}
