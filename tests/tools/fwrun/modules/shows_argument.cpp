// Its modules print what init() is given, and that they are released.
#include <fwbase/module.h>

#include <cstdio>

namespace {

class Module : public fwbase::IMM::IBase {
 public:
  explicit Module(const char* name) : m_name(name) {}

  ec::EC init(void* arg) override {
    const char* const text = static_cast<const char*>(arg);
    std::printf("%s: %s%s%s\n", m_name, text != nullptr ? "'" : "", text != nullptr ? text : "null",
                text != nullptr ? "'" : "");
    return ec::MM_OK;
  }

  void release() override {
    std::printf("%s is released\n", m_name);
    std::fflush(stdout);
    delete this;
  }

 private:
  const char* m_name;
};

struct First : Module {
  First() : Module("first") {}
};

struct Second : Module {
  Second() : Module("second") {}
};

}  // namespace

FWBASE_MODULE(First)
FWBASE_MODULE_AS(Second, create_second)
