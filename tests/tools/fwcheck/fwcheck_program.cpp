#include "tests/tools/fwcheck/fwcheck_program.h"

#include "tests/tools/fwstd/documented_functions.h"

namespace fwcheck::test {

ProgramResult run_fwcheck(std::vector<std::string> arguments, Stdout standard_output) {
  arguments.insert(arguments.begin(), FWCHECK_PROGRAM);
  return fwbase::test::run_program(arguments, standard_output);
}

ProgramResult run_line(const std::string& line, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"/bin/sh", "-c", line, FWCHECK_PROGRAM});
  return fwbase::test::run_program(arguments);
}

std::string script_with_calls(const std::string& calls) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<korvid>" +
         fwstd::test::documented_template() + "<Process name=\"\"><Exec><section name=\"run\">" +
         calls + "</section></Exec></Process></korvid>";
}

}  // namespace fwcheck::test
