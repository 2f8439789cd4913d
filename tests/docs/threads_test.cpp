// docs/threads.md: whatever its table allows a callback to call succeeds there, without a lock that
// the thread holds already; and what the page says of calls that it does not allow.
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/docs/markdown.h"
#include "tests/harness/host_function.h"
#include "tests/harness/script_file.h"

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;
using fwbase::test::code_spans;
using fwbase::test::HostFunction;
using fwbase::test::MarkdownPage;
using fwbase::test::ScriptFile;
using fwbase::test::TableRow;

namespace {

IFWBase* facade() { return IFWBase::instance(); }

/// What callbacks do when they run: nothing, but for the one that is being tested.
std::function<void()> in_callback;
std::string called_back;  // the one being tested

void callback(const std::string& name) {
  if (name == called_back && in_callback) {
    in_callback();
  }
}

// --- The callbacks ---

struct Module : IMM::IBase {
  ec::EC init(void*) override {
    callback("IBase::init");
    return ec::MM_OK;
  }
  void release() override { callback("IBase::release"); }
};

struct Factory : IMM::IFactory {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override {}
  IMM::IBase* create() override {
    callback("IFactory::create");
    return &product;
  }
  void destroy(IMM::IBase*) override { callback("IFactory::destroy"); }

  struct : IMM::IBase {
    ec::EC init(void*) override { return ec::MM_OK; }
    void release() override {}
  } product;
};

struct Object : IGlobalEnv::IObject {
  IObject* clone() const override {
    callback("IObject::clone");
    return new Object;
  }
  void release() override {
    callback("IObject::release");
    delete this;
  }
};

struct Syntax : IScript::ISyntax {
  const char* name() override {
    callback("ISyntax::name");
    return "called";
  }
  IScript::VType* param_types() override {
    callback("ISyntax::param_types");
    return nullptr;
  }
  int param_count() override {
    callback("ISyntax::param_count");
    return 0;
  }
  ec::EC call(const IScript::VValue*, void*, const char*) override {
    callback("ISyntax::call");
    return ec::SCRIPT_OK;
  }
};

struct Log : IRunLog {
  ec::EC init() override { return ec::LOG_OK; }
  void type(unsigned int mask) override { ms_type_sign = mask; }
  void info(unsigned int) override {}
  ec::EC file(const char*) override { return ec::LOG_OK; }
  void asynch(bool) override {}
  void release() override {}
  void write(Type type, const char* message, const char* location) override {
    callback("IRunLog::write");
    replaced->write(type, message, location);
  }

  IRunLog* replaced = facade()->runlog(this);
};

Module module;
Factory factory;

IMM::IBase* give_module() {
  callback("creation functions");
  return &module;
}

IMM::IBase* give_factory() { return &factory; }

// --- What makes the library call them ---

void use_modules() {
  IMM* const manager = facade()->mm();
  IMM::IBase* made = nullptr;
  EXPECT_EQ(manager->create_module(made, &give_module, nullptr), ec::MM_OK);
  EXPECT_TRUE(manager->destroy_module(made));
  ASSERT_EQ(manager->create_module(made, &give_factory, nullptr), ec::MM_OK);
  IMM::IBase* product = nullptr;
  EXPECT_EQ(manager->create_module(product, &factory, nullptr), ec::MM_OK);
  EXPECT_TRUE(manager->destroy_module(product));
  EXPECT_TRUE(manager->destroy_module(made));
}

void use_library() {
  const auto address = +[] { callback("static objects"); };
  facade()->global_env()->insert_addr("from static objects", reinterpret_cast<void*>(address));
  IMM::IBase* made = nullptr;
  EXPECT_EQ(
      facade()->mm()->create_module(made, FWBASE_STATIC_OBJECTS_LIBRARY, "create_module", nullptr),
      ec::MM_OK);
  facade()->mm()->release();  // unloads the library
}

void use_objects(IGlobalEnv* env) {
  const Object object;
  IGlobalEnv::IObject* copy = nullptr;
  EXPECT_EQ(env->insert_obj("object", &object), ec::GENV_OK);
  ASSERT_EQ(env->get_obj("object", &copy), ec::GENV_OK);
  copy->release();
  EXPECT_EQ(env->mod_obj("object", &object), ec::GENV_OK);
  env->rm_obj("object");
  EXPECT_EQ(env->insert_obj("object", &object), ec::GENV_OK);
  env->release();
}

char key;  // of a keyed environment

IGlobalEnv* keyed_env() { return facade()->global_env(static_cast<void*>(&key)); }

void use_syntax() {
  static Syntax syntax;
  const ScriptFile file(
      "<korvid><template><Func name='called'/></template><Process name=''><Exec>"
      "<section name='calls'><called/></section></Exec></Process></korvid>");
  EXPECT_TRUE(facade()->script()->expand_syntax(&syntax));
  EXPECT_EQ(facade()->script()->load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(facade()->script()->exec_scommad("calls", nullptr), ec::SCRIPT_OK);
}

void use_log() {
  const Log log;
  IRunLog::ms_type_sign = 0x3F;
  use_modules();
  use_objects(facade()->global_env());
  use_syntax();
  IRunLog::ms_type_sign = 0;
  facade()->runlog(log.replaced);
}

/// Lets the library call what a first cell of the table names.
void provoke(const std::string& name, const std::string& cell) {
  if (name.starts_with("IObject::")) {
    use_objects(cell.find("keyed") != std::string::npos ? keyed_env() : facade()->global_env());
  } else if (name.starts_with("ISyntax::")) {
    use_syntax();
  } else if (name == "IRunLog::write") {
    use_log();
  } else if (name == "static objects") {
    use_library();
  } else {
    use_modules();
  }
}

// --- What is called from them, by the columns of the table ---

void call_manager() {
  IMM* const manager = facade()->mm();
  struct : IMM::IBase {
    ec::EC init(void*) override { return ec::MM_OK; }
    void release() override {}
  } static other;
  IMM::IBase* made = nullptr;
  EXPECT_EQ(manager->create_module(
                made, +[]() -> IMM::IBase* { return &other; }, nullptr),
            ec::MM_OK);
  EXPECT_TRUE(manager->is_valid(made));
  const unsigned int id = manager->auto_create_mid(made);
  EXPECT_EQ(manager->query_mid(id), made);
  manager->destroy_mid(id);
  EXPECT_TRUE(manager->destroy_module(made));
}

void call_engine() {
  IScript* const script = facade()->script();
  static int runs = 0;
  static HostFunction function("inner");
  const std::string n = std::to_string(++runs);
  const ScriptFile file("<korvid><template><Func name='inner" + n +
                        "'/></template><Process name=''><Exec><section name='inner" + n +
                        "'/></Exec></Process></korvid>");
  const std::int32_t number = 5;
  std::int32_t read = 0;
  EXPECT_TRUE(script->expand_syntax(&function));
  EXPECT_EQ(script->load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(script->exec_scommad(("inner" + n).c_str(), nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(script->set_value("n", IScript::VT_INT, &number), ec::SCRIPT_OK);
  EXPECT_EQ(script->get_value("n", IScript::VT_INT, &read), ec::SCRIPT_OK);
  EXPECT_EQ(script->save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(script->rm_value("n"), ec::SCRIPT_OK);
  EXPECT_EQ(script->set_value_env("n", IScript::VT_INT, &number, &runs), ec::SCRIPT_OK);
  EXPECT_EQ(script->get_value_env("n", IScript::VT_INT, &read, &runs), ec::SCRIPT_OK);
}

void call_facade() {
  char other;
  IGlobalEnv* made = nullptr;
  EXPECT_EQ(facade()->create_global_env(made, &other), ec::FW_OK);
  EXPECT_EQ(facade()->global_env(static_cast<void*>(&other)), made);
  facade()->destroy_global_env(&other);
  IScript* const script = facade()->script();
  EXPECT_EQ(facade()->script(script), script);
}

void call_env(IGlobalEnv* env) {
  EXPECT_EQ(env->insert_str("s", "a"), ec::GENV_OK);
  EXPECT_EQ(env->ex_str("s", "b", true), ec::GENV_OK);
  EXPECT_EQ(env->get_str("s"), "ab");
  env->rm_str("s");
  EXPECT_EQ(env->insert_addr("a", env), ec::GENV_OK);
  EXPECT_EQ(env->get_addr("a"), env);
  env->rm_addr("a");
}

void call_log(IRunLog* log) {
  log->info(IRunLog::INFO_TIME);
  log->write(IRunLog::WARN, "from a callback", nullptr);
  log->info(0);
}

/// Always allowed.
void call_what_takes_no_lock() {
  EXPECT_NE(facade()->runlog(), nullptr);
  EXPECT_NE(facade()->global_env(), nullptr);
  EXPECT_NE(facade()->mm(), nullptr);
  EXPECT_NE(facade()->script(), nullptr);
  fwbase::IDataBlock* block = nullptr;
  ASSERT_EQ(facade()->db_ft()->create(block, 10), ec::DB_OK);
  block->release();
  delete[] IRunLog::FormatStr("%d", 1);
}

/// What a column allows; what it needs is looked up before, outside the callback.
std::function<void()> calls_of_column(std::size_t column, const std::string& row) {
  IGlobalEnv* const keyed = keyed_env();
  IGlobalEnv* const parent = facade()->global_env();
  IRunLog* const log = facade()->runlog();
  const bool is_log = row.find("IRunLog") != std::string::npos;
  switch (column) {
    case 1:
      return call_manager;
    case 2:
      return call_engine;
    case 3:
      return call_facade;
    case 4:
      return [keyed] { call_env(keyed); };
    case 5:
      return [parent] { call_env(parent); };
    case 6:
      return [log, is_log] { call_log(is_log ? log : facade()->runlog()); };
    default:
      throw std::runtime_error("no such column");
  }
}

/// The callbacks that a first cell names.
std::vector<std::string> callbacks_of(const std::string& cell) {
  std::vector<std::string> names = code_spans(cell);
  for (const char* const name : {"creation functions", "static objects"}) {
    if (cell.find(name) != std::string::npos) {
      names.emplace_back(name);
    }
  }
  return names;
}

class ThreadsPage : public testing::Test {
 protected:
  ThreadsPage() {
    facade()->init();
    IGlobalEnv* env = nullptr;
    facade()->create_global_env(env, &key);
  }
  ~ThreadsPage() override {
    in_callback = nullptr;
    facade()->release();
  }

  /// Runs `calls` in each run of one callback, and gives the number of runs.
  int run_in(const std::string& name, const std::string& cell, const std::function<void()>& calls) {
    int runs = 0;
    bool inside = false;
    called_back = name;
    in_callback = [&] {
      if (!inside) {  // the calls may lead to the same callback again
        inside = true;
        ++runs;
        calls();
        inside = false;
      }
    };
    provoke(name, cell);
    in_callback = nullptr;
    return runs;
  }

  /// Registers functions without parameters, and loads a section "s" that calls each once.
  static void load_section(const std::vector<HostFunction*>& functions) {
    std::string declarations;
    std::string calls;
    for (HostFunction* const function : functions) {
      EXPECT_TRUE(facade()->script()->expand_syntax(function));
      declarations += "<Func name='" + std::string(function->name()) + "'/>";
      calls += "<" + std::string(function->name()) + "/>";
    }
    const ScriptFile script("<korvid><template>" + declarations +
                            "</template><Process name=''><Exec>" + "<section name='s'>" + calls +
                            "</section></Exec></Process></korvid>");
    EXPECT_EQ(facade()->script()->load_script(script.path()), ec::SCRIPT_OK);
  }
};

}  // namespace

TEST_F(ThreadsPage, EveryCallThatTheTableAllowsSucceedsWithoutALockThatIsHeld) {
  int allowed = 0;
  for (const TableRow& row :
       MarkdownPage("docs/threads.md").section("What may be called from where").table()) {
    ASSERT_EQ(row.size(), 7u);
    for (const std::string& name : callbacks_of(row[0])) {
      for (std::size_t column = 1; column < row.size(); ++column) {
        if (!row[column].starts_with("yes")) {
          EXPECT_EQ(row[column], "no");
          continue;
        }
        SCOPED_TRACE(name + ", column " + std::to_string(column));
        facade()->script()->release();
        facade()->script()->init();
        const std::function<void()> calls = calls_of_column(column, row[0]);
        const int runs = run_in(name, row[0], [&] {
          errno = 0;
          calls();
          EXPECT_NE(errno, EDEADLK);
          call_what_takes_no_lock();
        });
        EXPECT_GT(runs, 0);
        ++allowed;
      }
    }
  }
  EXPECT_EQ(allowed, 1 * 6 + 3 * 4 + 6 * 5 + 2 * 2 + 2 * 1 + 1 * 1);
}

TEST_F(ThreadsPage, ACallUnderTheOwnThreadsWriteLockGoesOnAtOnceWithEdeadlk) {
  const auto expect_edeadlk = [&](const std::string& name, const std::function<void()>& calls) {
    const int runs = run_in(name, "", [&] {
      errno = 0;
      calls();
      EXPECT_EQ(errno, EDEADLK) << name;
    });
    EXPECT_GT(runs, 0);
  };
  expect_edeadlk("IBase::init", call_manager);
  expect_edeadlk("IBase::release", call_manager);
  expect_edeadlk("ISyntax::param_count", [] { facade()->script()->rm_value("none"); });
}

TEST_F(ThreadsPage, UnderTheOwnThreadsReadLockALookUpGoesThrough) {
  IGlobalEnv* const env = facade()->global_env();
  const Object object;
  ASSERT_EQ(env->insert_obj("object", &object), ec::GENV_OK);
  called_back = "IObject::clone";
  int runs = 0;
  in_callback = [&] {
    ++runs;
    errno = 0;
    EXPECT_EQ(env->get_str("none"), "");
    EXPECT_EQ(errno, 0);
  };
  IGlobalEnv::IObject* copy = nullptr;
  ASSERT_EQ(env->get_obj("object", &copy), ec::GENV_OK);
  in_callback = nullptr;
  copy->release();
  EXPECT_EQ(runs, 1);
}

TEST_F(ThreadsPage, TheGettersGiveNullWhenKeyedEnvironmentsAreReleased) {
  const Object object;
  ASSERT_EQ(keyed_env()->insert_obj("object", &object), ec::GENV_OK);
  called_back = "IObject::release";
  int runs = 0;
  in_callback = [&] {
    ++runs;
    EXPECT_EQ(facade()->runlog(), nullptr);
    EXPECT_EQ(facade()->global_env(), nullptr);
  };
  facade()->release();
  in_callback = nullptr;
  EXPECT_EQ(runs, 1);
}

TEST_F(ThreadsPage, ASectionThatRunsDuringInitEndsAtItsNextCall) {
  HostFunction first("first", {}, [](auto...) { return facade()->script()->init(); });
  HostFunction second("second");
  load_section({&first, &second});
  EXPECT_EQ(facade()->script()->exec_scommad("s", nullptr), ec::SCRIPT_NO_FUNC);
  EXPECT_TRUE(second.calls().empty());
}

TEST_F(ThreadsPage, ASectionThatRunsDuringReleaseEndsWhenItsFunctionReturns) {
  HostFunction first("first", {}, [](auto...) {
    facade()->script()->release();
    return ec::SCRIPT_OK;
  });
  HostFunction second("second");
  load_section({&first, &second});
  EXPECT_EQ(facade()->script()->exec_scommad("s", nullptr), ec::SCRIPT_E_SECTION);
  EXPECT_TRUE(second.calls().empty());
}
