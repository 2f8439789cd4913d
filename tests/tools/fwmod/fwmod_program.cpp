#include "tests/tools/fwmod/fwmod_program.h"

#include <gtest/gtest.h>

namespace fwmod::test {

ProgramResult run_fwmod(std::vector<std::string> arguments, Stdout standard_output) {
  arguments.insert(arguments.begin(), FWMOD_PROGRAM);
  return fwbase::test::run_program(arguments, standard_output);
}

std::string fault(const std::string& name) { return FAULTS_DIR "/" + name + ".so"; }

void expect_check(int status, const std::string& path, const std::string& text,
                  std::vector<std::string> options) {
  options.push_back(path);
  const ProgramResult result = run_fwmod(options);
  EXPECT_EQ(result.out, path + ": " + text + "\n") << result.err;
  EXPECT_EQ(result.status, status) << result.err;
}

void expect_exercise(int status, const std::string& name, const std::string& text,
                     const std::string& arguments) {
  const ProgramResult result = run_fwmod({"--exercise", "--timeout=60", fault(name) + arguments});
  EXPECT_EQ(result.out, fault(name) + ": " + text + "\n") << result.err;
  EXPECT_EQ(result.status, status) << result.err;
}

}  // namespace fwmod::test
