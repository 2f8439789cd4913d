// A module that sees the installed library only, and counts the calls of its host.
#include <fwbase/module.h>

namespace {

class Counter : public fwbase::IMM::IBase {
 public:
  ec::EC init(void* calls) override {
    FWBASE_TRACE("init");
    m_calls = static_cast<int*>(calls);
    ++*m_calls;
    return ec::MM_OK;
  }

  void release() override {
    FWBASE_LOG(WARN, "released after %d calls", *m_calls);
    ++*m_calls;
    delete this;
  }

 private:
  int* m_calls = nullptr;
};

}  // namespace

FWBASE_MODULE(Counter)
