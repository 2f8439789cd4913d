#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/harness/matching.h"
#include "tests/tools/fwstd/script_run.h"

using fwbase::test::has_match;

namespace fwstd::test {
namespace {

std::string read_call(const std::string& path, const std::string& limit = "65536") {
  return "<read_file><path>" + path + "</path><limit>" + limit + "</limit><ret>r</ret></read_file>";
}

void expect_unreadable(const std::string& path, const std::string& limit, ec::EC code,
                       const std::string& error) {
  ScriptRun run(read_call(path, limit));
  EXPECT_EQ(run.result(), code);
  EXPECT_EQ(run.error(), error);
  EXPECT_EQ(run.value("r"), "missing");
}

}  // namespace

TEST(InputFunctions, ReadFileGivesTheWholeText) {
  const fwbase::test::ScriptFile file("第一行\n second \n");
  ScriptRun run(read_call(file.path()));
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.value("r"), "'第一行\n second \n'");
}

TEST(InputFunctions, ReadFileReadsFilesWhoseSizeTheKernelGivesAsZero) {
  ScriptRun run(read_call("/proc/self/status"));
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.value("r").rfind("'Name:", 0), 0U) << run.value("r");
}

TEST(InputFunctions, ReadFileTakesAnEmptyFile) {
  const fwbase::test::ScriptFile file("");
  ScriptRun run(read_call(file.path()));
  EXPECT_EQ(run.value("r"), "''");
}

TEST(InputFunctions, ReadFileTakesAFileOfTheFullLimit) {
  const fwbase::test::ScriptFile file("12345");
  ScriptRun run(read_call(file.path(), "5"));
  EXPECT_EQ(run.value("r"), "'12345'");
}

TEST(InputFunctions, ReadFileReadsMoreThanOneBlock) {
  const fwbase::test::ScriptFile file(std::string(20000, 'x'));
  ScriptRun run(read_call(file.path()));
  EXPECT_EQ(run.value("r"), "'" + std::string(20000, 'x') + "'");
}

TEST(InputFunctions, ReadFileFailsForWhatItCannotGiveAsAText) {
  const fwbase::test::ScriptFile file("12345");
  const std::string path = file.path();
  expect_unreadable(path, "4", ec::SCRIPT_BAD_PARAM,
                    "read_file: cannot read '" + path + "': it is longer than 4 bytes");
  expect_unreadable(path, "0", ec::SCRIPT_BAD_PARAM,
                    "read_file: the limit is 0 bytes, not 1 or more");
  expect_unreadable(
      file.directory() + "/none", "9", ec::SCRIPT_NOT_FOUND,
      "read_file: cannot read '" + file.directory() + "/none': No such file or directory");
  expect_unreadable(path + "/x", "9", ec::SCRIPT_BAD_PARAM,
                    "read_file: cannot read '" + path + "/x': Not a directory");
  expect_unreadable(file.directory(), "9", ec::SCRIPT_BAD_PARAM,
                    "read_file: cannot read '" + file.directory() + "': it is not a regular file");
  expect_unreadable("/dev/zero", "9", ec::SCRIPT_BAD_PARAM,
                    "read_file: cannot read '/dev/zero': it is not a regular file");
  const fwbase::test::ScriptFile binary(std::string("a\0b", 3));
  expect_unreadable(binary.path(), "9", ec::SCRIPT_BAD_PARAM,
                    std::string("read_file: cannot read '") + binary.path() +
                        "': it holds a zero byte, so it is no text");
}

TEST(InputFunctions, ReadFileDoesNotWaitForAPipe) {
  const fwbase::test::ScriptFile file("");
  const std::string pipe = file.directory() + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expect_unreadable(pipe, "9", ec::SCRIPT_BAD_PARAM,
                    "read_file: cannot read '" + pipe + "': it is not a regular file");
}

TEST(InputFunctions, CurrentTimeFollowsTheFormat) {
  ScriptRun run(
      "<current_time><ret>standard</ret></current_time>"
      "<current_time><format>第%Y年</format><ret>own</ret></current_time>"
      "<current_time><format/><ret>empty</ret></current_time>");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_TRUE(
      has_match(run.value("standard"), "^'[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}'$"))
      << run.value("standard");
  EXPECT_TRUE(has_match(run.value("own"), "^'第[0-9]{4}年'$")) << run.value("own");
  EXPECT_EQ(run.value("empty"), "''");
}

TEST(InputFunctions, CurrentTimeGivesATextOfFullLength) {
  const std::string format(255, 'x');
  ScriptRun run("<current_time><format>" + format + "</format><ret>r</ret></current_time>");
  EXPECT_EQ(run.result(), ec::SCRIPT_OK);
  EXPECT_EQ(run.value("r"), "'" + format + "'");
}

TEST(InputFunctions, CurrentTimeFailsForATextThatIsTooLong) {
  const std::string format(256, 'x');
  ScriptRun run("<current_time><format>" + format + "</format><ret>r</ret></current_time>");
  EXPECT_EQ(run.result(), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(run.error(),
            "current_time: the format '" + format + "' gives no text of up to 255 bytes");
  EXPECT_EQ(run.value("r"), "missing");
}

}  // namespace fwstd::test
