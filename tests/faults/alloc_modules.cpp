// Modules and data blocks: without memory nothing is called, loaded or remembered.
#include <cstring>
#include <new>

#include "tests/faults/alloc_faults.h"
#include "tests/modules/journal.h"

namespace fwbase::faults {

namespace {

constexpr const char* kLibrary = FWBASE_FAULTS_MODULE;

struct Module : IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override {}
};

struct Factory : IMM::IFactory {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override {}
  IMM::IBase* create() override {
    ++made;
    return &module;
  }
  void destroy(IMM::IBase*) override { --made; }
  Module module;
  int made = 0;
};

Module module_of_function;
Factory factory;

IMM& mm() { return *facade()->mm(); }

void check_module(IMM::IBase* module, Outcome outcome) {
  expect(mm().is_valid(module) == (outcome == Outcome::kDone), "the module's validity is wrong");
  mm().destroy_module(module);
  expect(!mm().is_valid(module), "a destroyed module is valid");
}

void create_from_library() {
  IMM::IBase* module = nullptr;
  Journal journal;
  journal.reserve(100);  // the module itself needs no memory
  fail_each_allocation(
      "create_module by a library",
      [&] {
        module = nullptr;
        const ec::EC code = mm().create_module(module, kLibrary, "create_module", &journal);
        // Without memory the loader cannot open the library, or look the function up.
        expect(code != ec::MM_BAD_PARAM || module == nullptr, "a module in spite of the code");
        return outcome_of(code == ec::MM_BAD_PARAM ? ec::MM_LOAD_FAILED : code, ec::MM_LOAD_FAILED,
                          ec::MM_INIT_FAILED);
      },
      [&](Outcome outcome) {
        check_module(module, outcome);
        mm().release();  // a library that failed is tried again after that
        journal.clear();
      });
}

void create_by_function() {
  IMM::IBase* module = nullptr;
  IMM::IBase* (*const create)() = [] { return static_cast<IMM::IBase*>(&module_of_function); };
  fail_each_allocation(
      "create_module by a function",
      [&] {
        module = nullptr;
        return outcome_of(mm().create_module(module, create, nullptr), ec::MM_INIT_FAILED);
      },
      [&](Outcome outcome) { check_module(&module_of_function, outcome); });
}

void create_by_factory() {
  IMM::IBase* (*const create)() = [] { return static_cast<IMM::IBase*>(&factory); };
  IMM::IBase* out = nullptr;
  expect(ec::succeeded(mm().create_module(out, create, nullptr)), "the factory");
  fail_each_allocation(
      "create_module by a factory",
      [&] { return outcome_of(mm().create_module(out, &factory, nullptr), ec::MM_FACTORY_FAILED); },
      [&](Outcome outcome) {
        expect(factory.made == (outcome == Outcome::kDone ? 1 : 0), "modules made");
        check_module(&factory.module, outcome);
        expect(factory.made == 0, "a module did not go back to its factory");
      });
}

void identifiers() {
  fail_each_allocation(
      "create_mid",
      [] { return mm().create_mid(7, &module_of_function) ? Outcome::kDone : Outcome::kNoMemory; },
      [](Outcome outcome) {
        expect(mm().query_mid(7) == (outcome == Outcome::kDone ? &module_of_function : nullptr),
               "the identifier is wrong");
        mm().destroy_mid(7);
      });
  unsigned int last = mm().auto_create_mid(&module_of_function);
  unsigned int id = 0;
  fail_each_allocation(
      "auto_create_mid",
      [&] {
        id = mm().auto_create_mid(&module_of_function);
        return id != 0 ? Outcome::kDone : Outcome::kNoMemory;
      },
      [&](Outcome outcome) {
        if (outcome == Outcome::kDone) {
          expect(id == last + 1, "a number was left out");
          last = id;
          mm().destroy_mid(id);
        }
        expect(mm().query_mid(last + 1) == nullptr, "the identifier is wrong");
      });
}

}  // namespace

void modules() {
  const LoggingFacade running;
  create_from_library();
  create_by_function();
  create_by_factory();
  identifiers();
  facade()->mm()->release();
}

void data_blocks() {
  const LoggingFacade running;
  for (const unsigned int size : {0u, 100u, 20000u}) {
    IDataBlock* block = nullptr;
    fail_each_allocation(
        "create of " + std::to_string(size) + " bytes",
        [&] { return outcome_of(facade()->db_ft()->create(block, size), ec::DB_NO_MEMORY); },
        [&](Outcome outcome) {
          if (outcome == Outcome::kDone) {
            expect(block->buffer_len() == size && block->data_len() == 0, "the block is wrong");
            block->release();
          }
        });
  }
  IDataBlock* block = nullptr;
  expect(ec::succeeded(facade()->db_ft()->create(block, 10)), "create()");
  fail_each_allocation(
      "copy",
      [&] {
        expect(block->copy("bytes", 5) == ec::DB_OK, "the code");
        return Outcome::kDone;
      },
      [&](Outcome) {
        expect(block->data_len() == 5 && std::memcmp(block->rd_ptr(), "bytes", 5) == 0, "the data");
        block->wr_ptr(-5);
      });
  fail_each_allocation(
      "release",
      [&] {
        block->release();
        return Outcome::kDone;
      },
      [&](Outcome) { expect(ec::succeeded(facade()->db_ft()->create(block, 10)), "create()"); });
  block->release();
  void* memory = nullptr;
  fail_each_allocation(
      "allocate",
      [&] {
        memory = facade()->db_ft()->allocate(100);
        return memory != nullptr ? Outcome::kDone : Outcome::kNoMemory;
      },
      [&](Outcome) { facade()->db_ft()->deallocate(memory); });
}

}  // namespace fwbase::faults
