// A host that sees the installed library only. It loads the module library that its argument names.
#include <fwbase/fwbase.h>
#include <utility/str.h>
#include <utility/xml.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void expect(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "consumer: %s\n", what);
    std::exit(1);
  }
}

}  // namespace

int main(int, char** argv) {
  std::string text = " x ";
  utility::CStr::trim(text);
  expect(text == "x", "text is not trimmed");
  utility::CXml xml;
  expect(xml.init() == utility::XEC_OK, "no XML");

  fwbase::IFWBase* const fw = fwbase::IFWBase::instance();
  expect(ec::succeeded(fw->init()), "no start");
  int calls = 0;
  fwbase::IMM::IBase* counter = nullptr;
  const ec::EC result = fw->mm()->create_module(counter, argv[1], "create_module", &calls);
  expect(ec::succeeded(result), ec::text(result));
  expect(calls == 1, "the module's init() was not called");
  fw->release();
  expect(calls == 2, "the module's release() was not called");
  return 0;
}
