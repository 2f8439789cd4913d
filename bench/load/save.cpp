// Saving a script of which a variable has changed. What is to be written is all of the file.
#include "bench/load/save.h"

#include <algorithm>
#include <stdexcept>

#include "bench/load/engine.h"
#include "bench/load/scripts.h"

namespace fwbase::bench {

namespace {

void change(Engine& engine) {
  static std::int32_t value = 0;
  ++value;
  require(engine.script().set_value("number", IScript::VT_INT, &value));
}

// Of the save of that number after the load.
double nanoseconds_of_save(int number, const std::string& path, long calls) {
  Engine engine;
  engine.load(path.c_str());
  for (int before = 1; before < number; ++before) {
    change(engine);
    require(engine.script().save_script());
  }
  change(engine);
  return own_nanoseconds_each(calls, [&] { require(engine.script().save_script()); });
}

double nanoseconds_of_load(const LoaderKind& kind, const std::string& path, long calls) {
  const std::unique_ptr<Loader> loader = kind.make();
  return own_nanoseconds_each(calls, [&] { loader->load(path.c_str()); });
}

const LoaderKind& kind_named(const char* name) {
  const auto found = std::find_if(loader_kinds().begin(), loader_kinds().end(),
                                  [&](const LoaderKind& kind) { return kind.name == name; });
  if (found == loader_kinds().end()) {
    throw std::runtime_error(std::string("no loader ") + name);
  }
  return *found;
}

}  // namespace

Group save_group(long calls) {
  static Scripts scripts;  // of its own, since they are written
  const auto path = [=]() -> const std::string& { return scripts.with(calls); };
  const char* const parse = "Xerces-C DOM parse";
  const auto parse_time = [=] { return nanoseconds_of_load(kind_named(parse), path(), calls); };
  const auto save_time = [=](int number) { return nanoseconds_of_save(number, path(), calls); };
  return {"save, " + with_commas(calls) + " calls",
          "ns per call",
          {{"fwbase, first save after loading", Role::kOurs, [=] { return save_time(1); }},
           {"fwbase, later save", Role::kOurs, [=] { return save_time(2); }},
           {parse, Role::kFloor, parse_time},
           {"later save + DOM parse", Role::kOther, [=] { return save_time(2) + parse_time(); }}},
          {{"fwbase, first save after loading", "later save + DOM parse", 1},
           {"fwbase, later save", kTheFloor, 2}}};
}

}  // namespace fwbase::bench
