// Global environments: what is stored stays as it was when an operation has no memory.
#include <new>

#include "tests/faults/alloc_faults.h"

namespace fwbase::faults {

namespace {

const std::string kName(40, 'n');
const std::string kValue(60, 'v');
const std::string kOther(200, 'o');

class Object : public IGlobalEnv::IObject {
 public:
  explicit Object(int number) : m_number(number) {}
  IObject* clone() const override { return new (std::nothrow) Object(m_number); }
  void release() override { delete this; }
  int number() const { return m_number; }

 private:
  int m_number;
};

int stored_number(IGlobalEnv& env) {
  IGlobalEnv::IObject* object = nullptr;
  if (ec::failed(env.get_obj(kName.c_str(), &object))) {
    return 0;
  }
  const int number = static_cast<Object*>(object)->number();
  object->release();
  return number;
}

// An operation on the string of the name, which has a value before and another one when it is done.
void change_string(IGlobalEnv& env, const std::string& operation,
                   const std::function<ec::EC()>& change, const std::string& done) {
  const auto restore = [&] {
    env.rm_str(kName.c_str());
    expect(ec::succeeded(env.insert_str(kName.c_str(), kValue.c_str())), "insert_str()");
  };
  restore();
  fail_each_allocation(
      operation, [&] { return outcome_of(change(), ec::GENV_BAD_PARAM); },
      [&](Outcome outcome) {
        expect(env.get_str(kName.c_str()) == (outcome == Outcome::kDone ? done : kValue),
               "the string is wrong");
        restore();
      });
  env.rm_str(kName.c_str());
}

void strings_of(IGlobalEnv& env) {
  fail_each_allocation(
      "insert_str",
      [&] { return outcome_of(env.insert_str(kName.c_str(), kValue.c_str()), ec::GENV_BAD_PARAM); },
      [&](Outcome outcome) {
        expect(env.get_str(kName.c_str()) == (outcome == Outcome::kDone ? kValue : ""),
               "the string is wrong");
        env.rm_str(kName.c_str());
      });
  change_string(
      env, "mod_str", [&] { return env.mod_str(kName.c_str(), kOther.c_str()); }, kOther);
  change_string(
      env, "ex_str behind", [&] { return env.ex_str(kName.c_str(), kOther.c_str(), true); },
      kValue + kOther);
  change_string(
      env, "ex_str before", [&] { return env.ex_str(kName.c_str(), kOther.c_str(), false); },
      kOther + kValue);
  fail_each_allocation(
      "get_str of a missing one",
      [&] {
        const char* text = nullptr;
        expect(env.get_str(kName.c_str(), text) == ec::GENV_STR_NOT_FOUND, "the code");
        return Outcome::kDone;
      },
      [](Outcome) {});
}

void addresses_of(IGlobalEnv& env) {
  int target = 0;
  fail_each_allocation(
      "insert_addr",
      [&] { return outcome_of(env.insert_addr(kName.c_str(), &target), ec::GENV_BAD_PARAM); },
      [&](Outcome outcome) {
        expect(env.get_addr(kName.c_str()) == (outcome == Outcome::kDone ? &target : nullptr),
               "the address is wrong");
        env.rm_addr(kName.c_str());
      });
  expect(ec::succeeded(env.insert_addr(kName.c_str(), nullptr)), "insert_addr()");
  fail_each_allocation(
      "mod_addr, mod_addr of a missing one",
      [&] {
        expect(env.mod_addr("nobody", &target) == ec::GENV_ADDR_NOT_FOUND, "the code");
        return outcome_of(env.mod_addr(kName.c_str(), &target), ec::GENV_BAD_PARAM);
      },
      [&](Outcome) { expect(env.get_addr(kName.c_str()) == &target, "the address is wrong"); });
  env.rm_addr(kName.c_str());
}

void objects_of(IGlobalEnv& env) {
  const Object first(1);
  const Object second(2);
  fail_each_allocation(
      "insert_obj",
      [&] { return outcome_of(env.insert_obj(kName.c_str(), &first), ec::GENV_BAD_PARAM); },
      [&](Outcome outcome) {
        expect(stored_number(env) == (outcome == Outcome::kDone ? 1 : 0), "the object is wrong");
        env.rm_obj(kName.c_str());
      });
  const auto restore = [&] {
    env.rm_obj(kName.c_str());
    expect(ec::succeeded(env.insert_obj(kName.c_str(), &first)), "insert_obj()");
  };
  restore();
  fail_each_allocation(
      "get_obj",
      [&] {
        IGlobalEnv::IObject* copy = nullptr;
        const Outcome outcome = outcome_of(env.get_obj(kName.c_str(), &copy), ec::GENV_BAD_PARAM);
        expect((outcome == Outcome::kDone) == (copy != nullptr), "a copy in spite of the code");
        if (copy != nullptr) {
          copy->release();
        }
        return outcome;
      },
      [&](Outcome) { expect(stored_number(env) == 1, "the object is wrong"); });
  // The old copy is released before the new one is made.
  fail_each_allocation(
      "mod_obj",
      [&] { return outcome_of(env.mod_obj(kName.c_str(), &second), ec::GENV_BAD_PARAM); },
      [&](Outcome outcome) {
        expect(stored_number(env) == (outcome == Outcome::kDone ? 2 : 0), "the object is wrong");
        restore();
      });
  fail_each_allocation(
      "rm_obj",
      [&] {
        env.rm_obj(kName.c_str());
        return Outcome::kDone;
      },
      [&](Outcome) {
        expect(stored_number(env) == 0, "the object is still there");
        restore();
      });
  env.rm_obj(kName.c_str());
}

// What needs no memory but for the records that it logs.
void lookups_and_removals_of(IGlobalEnv& env) {
  int target = 0;
  const Object object(1);
  const auto restore = [&] {
    expect(ec::succeeded(env.insert_str(kName.c_str(), kValue.c_str())) &&
               ec::succeeded(env.insert_addr(kName.c_str(), &target)) &&
               ec::succeeded(env.insert_obj(kName.c_str(), &object)),
           "insert");
  };
  restore();
  fail_in_vain(
      "get_str, get_addr",
      [&] {
        const char* text = nullptr;
        void* address = nullptr;
        expect(env.get_str(kName.c_str(), text) == ec::GENV_OK && text == kValue, "the string");
        expect(env.get_addr(kName.c_str(), address) == ec::GENV_OK && address == &target,
               "the address");
      },
      [] {});
  const auto expect_nothing = [&] {
    expect(env.get_str(kName.c_str()).empty(), "the string is still there");
    expect(env.get_addr(kName.c_str()) == nullptr, "the address is still there");
    env.rm_obj(kName.c_str());
    restore();
  };
  fail_in_vain(
      "rm_str, rm_addr",
      [&] {
        env.rm_str(kName.c_str());
        env.rm_addr(kName.c_str());
      },
      expect_nothing);
  fail_in_vain(
      "release, init",
      [&] {
        env.release();
        expect(stored_number(env) == 0, "the object is still there");
        expect(ec::succeeded(env.init()), "init()");
      },
      expect_nothing);
  env.release();
  expect(ec::succeeded(env.init()), "init()");
}

}  // namespace

void environments() {
  const LoggingFacade running;
  IGlobalEnv& env = *facade()->global_env();
  strings_of(env);
  addresses_of(env);
  objects_of(env);
  lookups_and_removals_of(env);
}

void keyed_environments() {
  const LoggingFacade running;
  int key = 0;
  IGlobalEnv* env = nullptr;
  fail_each_allocation(
      "create_global_env",
      [&] {
        env = nullptr;
        return outcome_of(facade()->create_global_env(env, &key), ec::FW_NO_MEMORY);
      },
      [&](Outcome outcome) {
        IGlobalEnv* const found = facade()->global_env(static_cast<void*>(&key));
        expect(found == (outcome == Outcome::kDone ? env : facade()->global_env()),
               "the environment of the key is wrong");
        expect(outcome == Outcome::kDone || env == nullptr, "an environment in spite of the code");
        facade()->destroy_global_env(&key);
      });
  expect(ec::succeeded(facade()->create_global_env(env, &key)), "create_global_env()");
  expect(ec::succeeded(facade()->global_env()->insert_str("parents", "text")), "insert_str()");
  fail_each_allocation(
      "look-ups through the parent, a second environment of the key",
      [&] {
        IGlobalEnv* second = nullptr;
        const ec::EC code = facade()->create_global_env(second, &key);
        expect(code == ec::FW_ENV_EXISTS || code == ec::FW_NO_MEMORY, "the code");
        const char* text = nullptr;
        expect(ec::succeeded(env->get_str("parents", text)), "get_str()");
        return Outcome::kDone;
      },
      [&](Outcome) {
        expect(facade()->global_env(static_cast<void*>(&key)) == env, "another environment");
      });
  strings_of(*env);
  addresses_of(*env);
  objects_of(*env);
  lookups_and_removals_of(*env);
  fail_each_allocation(
      "destroy_global_env",
      [&] {
        facade()->destroy_global_env(&key);
        return Outcome::kDone;
      },
      [&](Outcome) {
        expect(ec::succeeded(facade()->create_global_env(env, &key)), "create_global_env()");
        const Object object(1);
        expect(ec::succeeded(env->insert_obj(kName.c_str(), &object)), "insert_obj()");
      });
}

void components() {
  const LoggingFacade running;
  IFWBase& fw = *facade();
  IRunLog* const log = fw.runlog();
  IGlobalEnv* const env = fw.global_env();
  IMM* const mm = fw.mm();
  IScript* const script = fw.script();
  IDataBlockFT* const blocks = fw.db_ft();
  int key = 0;
  IGlobalEnv* keyed = nullptr;
  expect(ec::succeeded(fw.create_global_env(keyed, &key)), "create_global_env()");
  fail_in_vain(
      "installing components, and the built-in ones again",
      [&] {
        expect(fw.runlog(log) == log && fw.runlog(nullptr) == log, "the log");
        expect(fw.global_env(keyed) == env && fw.global_env() == keyed, "the environment");
        expect(fw.global_env(static_cast<IGlobalEnv*>(nullptr)) == keyed, "the environment");
        expect(fw.mm(mm) == mm && fw.mm(nullptr) == mm, "the module manager");
        expect(fw.script(script) == script && fw.script(nullptr) == script, "the engine");
        expect(fw.db_ft(blocks) == blocks && fw.db_ft(nullptr) == blocks, "the factory");
        expect(fw.global_env(static_cast<void*>(&key)) == keyed, "the environment of the key");
        expect(fw.global_env(static_cast<void*>(&keyed)) == env, "a key without environment");
      },
      [&] {
        expect(fw.runlog() == log && fw.global_env() == env && fw.mm() == mm &&
                   fw.script() == script && fw.db_ft() == blocks,
               "the components");
      });
  fail_each_allocation(
      "init and release of all",
      [&] {
        fw.release();
        expect(fw.runlog() == nullptr && fw.script() == nullptr, "components after release()");
        return ec::succeeded(fw.init()) ? Outcome::kDone : Outcome::kNoMemory;
      },
      [&](Outcome) {
        fw.release();
        expect(ec::succeeded(fw.init()) && fw.runlog() == log, "init()");
      });
}

}  // namespace fwbase::faults
