// Leaves its own run log installed.
#include <fwbase/module.h>

namespace {

struct Log : fwbase::IRunLog {
  ec::EC init() override { return ec::LOG_OK; }
  void type(unsigned int) override {}
  void info(unsigned int) override {}
  ec::EC file(const char*) override { return ec::LOG_OK; }
  void asynch(bool) override {}
  void release() override {}
  void write(Type, const char*, const char*) override {}
};

Log log;

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    fwbase::IFWBase& facade = *fwbase::IFWBase::instance();
    facade.runlog(&log);
    facade.script(facade.script());
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
