#include "tests/tools/fwrun/fwrun_program.h"

#include <regex>

#include "tests/tools/fwstd/documented_functions.h"

namespace fwrun::test {

const char kFailingCall[] = "<expect_at_most><actual>2</actual><limit>1</limit></expect_at_most>";

const char kFailureText[] =
    "expect_at_most: SCRIPT_BAD_PARAM (0x00080003): wrong or unrecognised type or value: a "
    "variable of another type, a value type that is neither integer nor string, an unknown "
    "parameter type, an unknown must value\n"
    "fwrun:   expect_at_most: the value is 2, expected at most 1\n";

const char kNotReadable[] =
    "it is not well-formed XML, or beyond the limits of a script; fwcheck tells the place";

const char kLogAdvice[] = "fwrun: for the records of the whole run, add --log FILE --level all\n";

ProgramResult run_fwrun(std::vector<std::string> arguments, Stdout standard_output) {
  arguments.insert(arguments.begin(), FWRUN_PROGRAM);
  return fwbase::test::run_program(arguments, standard_output);
}

std::string script_with(const std::string& exec, const std::string& data) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<korvid>" +
         fwstd::test::documented_template() + "<Process name=\"\"><Data>" + data + "</Data><Exec>" +
         exec + "</Exec></Process></korvid>";
}

std::string print_call(const std::string& text) {
  return "<print><text>" + text + "</text></print>";
}

std::string without_places(const std::string& messages) {
  return std::regex_replace(messages, std::regex("fwrun: [^ ]*\\.xml:[0-9]+:[0-9]+: section"),
                            "fwrun: section");
}

}  // namespace fwrun::test
