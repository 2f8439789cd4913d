// Checking a script beside loading it: there is no error if and only if the load succeeds, the code
// of one of the errors is the load's, and checking changes and logs nothing.
//
// Input: a byte that chooses the host's functions, and the script file.
#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <fwbase/check.h>
#include <fwbase/ifwbase.h>

#include "fuzz/harness/check.h"
#include "fuzz/harness/input.h"
#include "tests/harness/host_function.h"
#include "tests/harness/log_capture.h"
#include "tests/harness/temp_dir.h"

namespace {

using fwbase::Finding;
using fwbase::IFWBase;
using fwbase::IScript;
using fwbase::test::HostFunction;
using fwbase::test::LogCapture;

constexpr IScript::VType kInt = IScript::VT_INT;
constexpr IScript::VType kText = IScript::VT_STRING;

struct World {
  World() { IFWBase::instance()->init(); }

  const fwbase::test::TempDir directory;
  const std::string path = directory.path("script.xml");
  HostFunction functions[6] = {HostFunction("print", {kText}),
                               HostFunction("add", {kInt, kInt}),
                               HostFunction("field", {kText, kInt, kText}),
                               HostFunction("count"),
                               HostFunction("number", {kInt}),
                               HostFunction("greet", {kText, kInt})};
};

World& world() {
  static World one;
  return one;
}

IScript& engine() { return *IFWBase::instance()->script(); }

bool comes_before(const Finding& a, const Finding& b) {
  return std::tie(a.line, a.column, a.rule) < std::tie(b.line, b.column, b.rule);
}

void expect_sound(const std::vector<Finding>& findings) {
  FUZZ_CHECK(std::is_sorted(findings.begin(), findings.end(), comes_before));
  for (const Finding& one : findings) {
    FUZZ_CHECK(one.line >= 1 && one.column >= 1);
    FUZZ_CHECK(!one.rule.empty() && !one.message.empty());
    FUZZ_CHECK(one.error == (one.code != 0));
  }
}

void expect_as_loading(const std::vector<Finding>& findings, ec::EC loaded) {
  const bool has_error =
      std::any_of(findings.begin(), findings.end(), [](const Finding& one) { return one.error; });
  FUZZ_CHECK(has_error == ec::failed(loaded));
  if (has_error) {
    FUZZ_CHECK(std::any_of(findings.begin(), findings.end(),
                           [&](const Finding& one) { return one.error && one.code == loaded; }));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fwbase::fuzz::Input input(data, size);
  const unsigned int offered = input.byte();
  const std::string text = input.rest();
  fwbase::test::write_file(world().path, text);

  engine().release();
  engine().init();
  for (unsigned int i = 0; i < 6; ++i) {
    if ((offered >> i & 1U) == 0) {
      engine().expand_syntax(&world().functions[i]);
    }
  }
  std::vector<Finding> findings;
  {
    const LogCapture log(0xFFFFFFFFU);
    findings = fwbase::check_script(world().path.c_str());
    FUZZ_CHECK(log.records().empty());
  }
  expect_sound(findings);
  expect_as_loading(findings, engine().load_script(world().path.c_str()));
  return 0;
}
