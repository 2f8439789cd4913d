// The hot paths under callgrind: a dump for each, named after it, of what its operations take
// without their set-up. The name ends with the number of operations.
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstring>

#include "bench/environments/registry.h"
#include "bench/facade.h"
#include "bench/hostile/documents.h"
#include "bench/load/engine.h"
#include "bench/load/scripts.h"
#include "bench/log/logger.h"
#include "bench/names.h"
#include "bench/script/caller.h"
#include "tests/harness/script_file.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::bench {

namespace {

void count_once(const char* name, int operations, const std::function<void()>& work) {
  const std::string dump = std::string(name) + ' ' + std::to_string(operations);
  CALLGRIND_ZERO_STATS;
  work();
  CALLGRIND_DUMP_STATS_AT(dump.c_str());
}

// Not the first time, which binds symbols and fills caches.
void count(const char* name, int operations, const std::function<void()>& work) {
  work();
  count_once(name, operations, work);
}

template <typename Kind>
const Kind& ours(const std::vector<Kind>& kinds) {
  for (const Kind& kind : kinds) {
    if (kind.role == Role::kOurs) {
      return kind;
    }
  }
  throw std::runtime_error("the library is not among what is compared");
}

void count_log(const char* name, Mode mode, int records) {
  const test::TempDir directory;
  const auto logger = ours(logger_kinds()).make(mode, directory.path("bench.log"));
  count(name, records, [&] { logger->log(0, records); });
}

void count_look_up() {
  constexpr int kNames = 1000;
  const Facade facade;
  const auto environment = make_environment(false);
  std::vector<std::string> texts;
  for (int i = 0; i < kNames; ++i) {
    texts.push_back("session." + std::to_string(i) + ".address");
  }
  std::vector<const char*> names;
  for (const std::string& text : texts) {
    environment->add(text.c_str(), "192.0.2.10:4711");
    names.push_back(text.c_str());
  }
  count("look_up", kNames, [&] { environment->look_up(names, 0, kNames); });
}

void count_variables() {
  constexpr int kAccesses = 1000;
  const Facade facade;
  IScript& script = *facade->script();
  std::int32_t value = 1;
  require(script.set_value_env("number", IScript::VT_INT, &value, &script));
  const auto count_access = [](const char* name, const std::function<void()>& access) {
    count(name, kAccesses, [&] {
      for (int i = 0; i < kAccesses; ++i) {
        access();
      }
    });
  };
  count_access("set_value", [&] { script.set_value("number", IScript::VT_INT, &value); });
  count_access("get_value", [&] { script.get_value("number", IScript::VT_INT, &value); });
  count_access("get_value_env",
               [&] { script.get_value_env("number", IScript::VT_INT, &value, &script); });
}

// Of so many of each kind, one after the other.
void count_many_variables() {
  constexpr long kNames = 10000;
  constexpr int kAccesses = 1000;
  const Facade facade;
  IScript& script = *facade->script();
  const Names names(kNames);
  std::int32_t value = 1;
  for (const char* name : names.all()) {
    require(script.set_value(name, IScript::VT_INT, &value));
    require(script.set_value_env(name, IScript::VT_INT, &value, &script));
  }
  const auto count_access = [&](const char* path, const std::function<void(const char*)>& access) {
    count(path, kAccesses, [&] { in_turn(names.all(), 0, kAccesses, access); });
  };
  count_access("set_value_of_10000",
               [&](const char* name) { script.set_value(name, IScript::VT_INT, &value); });
  count_access("get_value_of_10000",
               [&](const char* name) { script.get_value(name, IScript::VT_INT, &value); });
  count_access("set_value_env_of_10000", [&](const char* name) {
    script.set_value_env(name, IScript::VT_INT, &value, &script);
  });
  count_access("get_value_env_of_10000", [&](const char* name) {
    script.get_value_env(name, IScript::VT_INT, &value, &script);
  });
}

void count_calls(const char* name, Arguments arguments, int registered) {
  const auto caller = ours(caller_kinds()).make(arguments, registered);
  count(name, kCalls, [&] { caller->run(); });
}

void count_load(const char* name, int calls_in_file) {
  Scripts scripts;
  const auto loader = ours(loader_kinds()).make();
  const std::string& path = scripts.with(calls_in_file);
  count_once(name, calls_in_file, [&] { loader->load(path.c_str()); });
}

void count_saves() {
  constexpr int kCallsInFile = 1000;
  Scripts scripts;
  Engine engine;
  const std::int32_t number = 1;
  engine.load(scripts.with(kCallsInFile).c_str());
  require(engine.script().set_value("number", IScript::VT_INT, &number));
  count_once("save_first", kCallsInFile, [&] { require(engine.script().save_script()); });
  count_once("save_later", kCallsInFile, [&] { require(engine.script().save_script()); });
}

// A script that is made to be slow must not take more for each piece when there are more.
void count_hostile_load(const char* name, const HostileDocument& document, int pieces,
                        int operations) {
  const test::ScriptFile file(document.text(pieces));
  const Facade facade;
  count(name, operations, [&] {
    if (facade->script()->load_script(file.path()) != document.result) {
      throw std::runtime_error(std::string("not what loading should give: ") + name);
    }
  });
}

void count_hostile_save(const char* name, const HostileDocument& document, int pieces) {
  const test::ScriptFile file(document.text(pieces));
  const Facade facade;
  require(facade->script()->load_script(file.path()));
  const std::int32_t value = 1;
  require(facade->script()->set_value("number", IScript::VT_INT, &value));
  count(name, pieces, [&] { require(facade->script()->save_script()); });
}

void count_hostile() {
  count_hostile_load("refuse_10000_names", kNames, 10000, 1);
  count_hostile_load("refuse_40000_names", kNames, 40000, 1);
  count_hostile_load("load_1000_ids", kIds, 1000, 1000);
  count_hostile_load("load_10000_ids", kIds, 10000, 10000);
  count_hostile_load("load_1000_values", kValues, 1000, 1000);
  count_hostile_load("load_10000_values", kValues, 10000, 10000);
  count_hostile_save("save_1000_comments", kComments, 1000);
  count_hostile_save("save_10000_comments", kComments, 10000);
}

void count_data_block() {
  constexpr int kBlocks = 1000;
  const Facade facade;
  char bytes[1024] = {};
  count("data_block", kBlocks, [&] {
    for (int i = 0; i < kBlocks; ++i) {
      IDataBlock* block = nullptr;
      require(facade->db_ft()->create(block, sizeof bytes));
      block->copy(bytes, sizeof bytes);
      std::memcpy(bytes, block->rd_ptr(), block->data_len());
      block->release();
    }
  });
}

void count_all() {
  count_log("log_disabled", Mode::kDisabled, 10000);
  count_log("log_direct", Mode::kDirect, 1000);
  count_log("log_with_details", Mode::kWithDetails, 1000);
  count_look_up();
  count_variables();
  count_many_variables();
  count_calls("call_no_argument", Arguments::kNone, 10);
  count_calls("call_2_ints", Arguments::kTwoInts, 10);
  count_calls("call_text", Arguments::kText, 10);
  count_calls("call_int_variable", Arguments::kIntVariable, 10);
  count_calls("call_text_variable", Arguments::kTextVariable, 10);
  count_calls("call_of_1000_functions", Arguments::kNone, 1000);
  count_load("load_1000_calls", 1000);
  count_load("load_10000_calls", 10000);
  count_saves();
  count_hostile();
  count_data_block();
}

}  // namespace

}  // namespace fwbase::bench

int main() {
  try {
    fwbase::bench::count_all();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
