#include "tests/harness/code_page.h"

#include <dlfcn.h>
#include <langinfo.h>

#include <atomic>

namespace {

std::atomic<const char*> code_page{nullptr};

}  // namespace

namespace fwbase::test {

CodePage::CodePage(const char* name) { code_page = name; }
CodePage::~CodePage() { code_page = nullptr; }

}  // namespace fwbase::test

// Takes the place of the C library's function in the test program.
extern "C" char* nl_langinfo(nl_item item) noexcept {
  static const auto of_the_library =
      reinterpret_cast<char* (*)(nl_item)>(dlsym(RTLD_NEXT, "nl_langinfo"));
  const char* const name = item == CODESET ? code_page.load() : nullptr;
  return name != nullptr ? const_cast<char*>(name) : of_the_library(item);
}
