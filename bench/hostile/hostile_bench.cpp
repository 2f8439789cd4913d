// Scripts that are made to be slow: loading and saving them must not cost more for each piece when
// there are more pieces. Those that are refused are refused early, and cost less.
#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "bench/facade.h"
#include "bench/harness.h"
#include "bench/hostile/documents.h"
#include "tests/harness/script_file.h"

namespace fwbase::bench {

namespace {

// Written when it is needed first.
const test::ScriptFile& file_of(const HostileDocument& document, long count) {
  static std::map<std::pair<const char*, long>, std::unique_ptr<test::ScriptFile>> files;
  auto& file = files[{document.what, count}];
  if (file == nullptr) {
    file = std::make_unique<test::ScriptFile>(document.text(count));
  }
  return *file;
}

void load(const HostileDocument& document, const test::ScriptFile& file, const Facade& facade) {
  if (facade->script()->load_script(file.path()) != document.result) {
    throw std::runtime_error(std::string("not what loading should give: ") + document.what);
  }
}

double nanoseconds_to_load(const HostileDocument& document, long count) {
  const test::ScriptFile& file = file_of(document, count);
  const Facade facade;
  return own_nanoseconds_each(count, [&] { load(document, file, facade); });
}

double nanoseconds_to_save(const HostileDocument& document, long count) {
  const test::ScriptFile& file = file_of(document, count);
  const Facade facade;
  load(document, file, facade);
  const std::int32_t value = 1;
  require(facade->script()->set_value("number", IScript::VT_INT, &value));
  return own_nanoseconds_each(count, [&] { require(facade->script()->save_script()); });
}

using Measure = double (*)(const HostileDocument& document, long count);

void add_rows(const HostileDocument& document, long count, Measure measure, const Options& options,
              Group& group) {
  const auto name = [&](long n) { return with_commas(n) + " " + document.what; };
  const long many = options.quick ? 4'000 : count;  // a thousand names are refused already
  const long few = many / 4;
  for (const long n : {few, many}) {
    group.rows.push_back({name(n), Role::kOurs, [=] { return measure(document, n); }});
  }
  group.targets.push_back({name(many), name(few), 1.3});
}

std::vector<Group> groups(const Options& options) {
  Group loads{"load, made to be slow", "ns for each", {}, {}};
  add_rows(kNames, 49'000, nanoseconds_to_load, options, loads);
  add_rows(kAttributes, 49'000, nanoseconds_to_load, options, loads);
  add_rows(kIds, 100'000, nanoseconds_to_load, options, loads);
  add_rows(kValues, 80'000, nanoseconds_to_load, options, loads);
  Group saves{"save, made to be slow", "ns for each", {}, {}};
  add_rows(kComments, 100'000, nanoseconds_to_save, options, saves);
  return {loads, saves};
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  return fwbase::bench::run("hostile", argc, argv, fwbase::bench::groups);
}
