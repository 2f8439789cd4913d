// Modules and factories of a host, for the module manager's tests: they write down what is done to
// them and can be told what to do.
#ifndef FWBASE_TESTS_FWBASE_MODULE_HOST_MODULES_H
#define FWBASE_TESTS_FWBASE_MODULE_HOST_MODULES_H

#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include <fwbase/imm.h>

namespace fwbase::test {

using Events = std::vector<std::string>;

inline std::string hex(const void* address) {
  char text[16];
  std::snprintf(text, sizeof(text), "%x",
                static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(address)));
  return text;
}

/// Writes "init <name>" and "release <name>" down.
struct HostModule : IMM::IBase {
  HostModule(Events& to, std::string its_name) : events(to), name(std::move(its_name)) {}

  ec::EC init(void* arg) override {
    events.push_back("init " + name);
    last_arg = arg;
    return on_init();
  }
  void release() override {
    events.push_back("release " + name);
    on_release();
  }

  Events& events;
  std::string name;
  void* last_arg = nullptr;
  std::function<ec::EC()> on_init = [] { return ec::MM_OK; };
  std::function<void()> on_release = [] {};
};

/// Writes "create" and "destroy <name>" down as well; gives the modules put into `to_give`.
struct HostFactory : IMM::IFactory {
  HostFactory(Events& to, std::string its_name) : events(to), name(std::move(its_name)) {}

  ec::EC init(void*) override {
    events.push_back("init " + name);
    return ec::MM_OK;
  }
  void release() override { events.push_back("release " + name); }
  IMM::IBase* create() override {
    events.push_back("create by " + name);
    on_create();
    if (to_give.empty()) {
      return nullptr;
    }
    IMM::IBase* const module = to_give.front();
    to_give.pop_front();
    return module;
  }
  void destroy(IMM::IBase* module) override {
    const auto* const made = dynamic_cast<HostModule*>(module);
    events.push_back("destroy by " + name + " of " + (made != nullptr ? made->name : "a factory"));
    on_destroy();
  }

  Events& events;
  std::string name;
  std::deque<IMM::IBase*> to_give;
  std::function<void()> on_create = [] {};
  std::function<void()> on_destroy = [] {};
};

}  // namespace fwbase::test

#endif
