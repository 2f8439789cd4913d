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

struct CountingModule : IMM::IBase {
  ec::EC init(void*) override { return code; }
  void release() override { ++releases; }
  ec::EC code = ec::MM_OK;
  int releases = 0;
};

CountingModule counting;
IMM::IBase* give_counting() { return &counting; }
IMM::IBase* give_factory() { return &factory; }

void create_that_fails() {
  IMM::IBase* module = nullptr;
  counting.code = ec::MM_INIT_FAILED;
  fail_in_vain(
      "create_module of one whose init() fails",
      [&] {
        expect(mm().create_module(module, give_counting, nullptr) == ec::MM_INIT_FAILED, "code");
      },
      [] { expect(!mm().is_valid(&counting), "a module in spite of the code"); });
  counting.code = ec::MM_OK;
}

void look_up_and_destroy() {
  IMM::IBase* out = nullptr;
  const auto restore = [&] {
    counting.releases = 0;
    expect(ec::succeeded(mm().create_module(out, give_counting, nullptr)) &&
               ec::succeeded(mm().create_module(out, give_factory, nullptr)) &&
               ec::succeeded(mm().create_module(out, &factory, nullptr)) &&
               mm().create_mid(5, &counting),
           "modules");
  };
  restore();
  fail_in_vain(
      "is_valid, get_module_factory, query_mid",
      [] {
        expect(mm().is_valid(&counting) && !mm().is_valid(nullptr), "is_valid()");
        expect(mm().get_module_factory(&factory.module) == &factory, "get_module_factory()");
        expect(mm().get_module_factory(&counting) == nullptr, "get_module_factory()");
        expect(mm().query_mid(5) == &counting && mm().query_mid(6) == nullptr, "query_mid()");
      },
      [] {});
  fail_in_vain(
      "destroy_module, destroy_mid",
      [] {
        expect(mm().destroy_module(&counting) && mm().destroy_module(&factory.module), "destroy");
        mm().destroy_mid(5);
      },
      [&] {
        expect(counting.releases == 1 && factory.made == 0, "the modules are still there");
        expect(mm().query_mid(5) == nullptr, "the identifier is still there");
        expect(mm().destroy_module(&factory), "the factory");
        restore();
      });
  fail_in_vain(
      "release", [] { mm().release(); },
      [&] {
        expect(counting.releases == 1 && factory.made == 0, "the modules are still there");
        restore();
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
  create_that_fails();
  look_up_and_destroy();
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
  fail_in_vain(
      "rd_ptr, wr_ptr, real, type",
      [&] {
        block->type(7);
        block->wr_ptr(5);
        block->rd_ptr(3);
        expect(block->wr_ptr() - block->rd_ptr() == 2 && block->real() != nullptr, "the block");
      },
      [&] {
        expect(block->type() == 7 && block->data_len() == 2, "the block");
        block->rd_ptr(-3);
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
  memory = facade()->db_ft()->allocate(100);
  fail_in_vain(
      "deallocate", [&] { facade()->db_ft()->deallocate(memory); },
      [&] { memory = facade()->db_ft()->allocate(100); });
  facade()->db_ft()->deallocate(memory);
}

}  // namespace fwbase::faults
