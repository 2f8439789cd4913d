// A module for the server, with script functions that bring it into trouble.
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include <fwbase/module.h>

namespace {

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::IScript;

/// As when memory runs out.
ec::EC exhaust_memory() { throw std::bad_alloc(); }

/// An exception of no standard class.
ec::EC throw_number() { throw 1; }

/// So that the reactor can wait for nothing any more. The thread sanitizer would report a race of
/// close() with the wait, which is the fault that is wanted.
ec::EC close_epoll() {
  std::vector<int> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;  // the directory's own descriptor, for one
    if (std::filesystem::read_symlink(entry.path(), gone) == "anon_inode:[eventpoll]") {
      found.push_back(std::stoi(entry.path().filename()));
    }
  }
  for (const int descriptor : found) {
    ::syscall(SYS_close, descriptor);
  }
  return ec::SCRIPT_OK;
}

/// Shows that the section "stop" has run.
ec::EC store_counters() {
  const std::string text = "stored";
  return IFWBase::instance()->script()->set_value("lines", IScript::VT_STRING, &text);
}

class Function : public IScript::ISyntax {
 public:
  using Body = ec::EC (*)();
  Function(const char* name, Body body) : m_name(name), m_body(body) {}

  const char* name() override { return m_name; }
  IScript::VType* param_types() override { return nullptr; }
  int param_count() override { return 0; }
  ec::EC call(const IScript::VValue*, void*, const char*) override { return m_body(); }

 private:
  const char* const m_name;
  const Body m_body;
};

Function functions[] = {
    {"exhaust_memory", exhaust_memory},
    {"throw_number", throw_number},
    {"close_epoll", close_epoll},
    {"store_counters", store_counters},
};

class Faults : public IMM::IBase {
 public:
  ec::EC init(void*) override {
    for (Function& function : functions) {
      if (!IFWBase::instance()->script()->expand_syntax(&function)) {
        return ec::MM_INIT_FAILED;
      }
    }
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Faults)
