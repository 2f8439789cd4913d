#include "command_line/parsing.h"

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <functional>

namespace tools::test {

namespace {

const Words<unsigned int> kBits = {{"one", 1}, {"two", 2}, {"four", 4}};

/// Why a value is refused; empty when it is not.
std::string refusal(const std::function<void()>& read) {
  try {
    read();
    return "";
  } catch (const CLI::ValidationError& error) {
    return error.what();
  }
}

struct Parsed {
  std::optional<int> status;
  std::string value;
  std::string written;
  std::string complaints;
};

/// A command that refuses the value "bad".
Parsed parse_line(std::vector<const char*> line) {
  CLI::App app("Does things.");
  Parsed parsed;
  name_command(app, "cmd", "-h,--help");
  app.add_option("VALUE", parsed.value)->required();
  line.insert(line.begin(), "cmd");
  const auto write = [&](const std::string& text) {
    parsed.written = text;
    return 7;
  };
  testing::internal::CaptureStderr();
  parsed.status = parse(app, static_cast<int>(line.size()), line.data(), {}, write, [&] {
    if (parsed.value == "bad") {
      refuse("VALUE", {"{1} is wrong", "{1} 不对"}, {parsed.value});
    }
  });
  parsed.complaints = testing::internal::GetCapturedStderr();
  return parsed;
}

}  // namespace

TEST(Parsing, GivesNoStatusWhereThereIsWork) {
  const Parsed parsed = parse_line({"good"});
  EXPECT_FALSE(parsed.status);
  EXPECT_EQ(parsed.value, "good");
  EXPECT_EQ(parsed.written + parsed.complaints, "");
}

TEST(Parsing, WritesHelpVersionAndPages) {
  EXPECT_EQ(parse_line({"-h"}).written.rfind("Does things.\nUsage: cmd [OPTIONS] VALUE\n", 0), 0U);
  const Parsed version = parse_line({"--version"});
  EXPECT_EQ(version.written, std::string("cmd ") + kVersion + "\n");
  EXPECT_EQ(version.status, 7);
  EXPECT_EQ(parse_line({"--man-page"}).written.rfind(".TH CMD 1", 0), 0U);
}

TEST(Parsing, WrongUsageIsStatus2AndPointsToHelp) {
  const struct {
    std::vector<const char*> line;
    std::string reason;
  } kCases[] = {{{}, "VALUE is required"},
                {{"--foo", "x"}, "The following argument was not expected: --foo"},
                {{"bad"}, "VALUE: bad is wrong"}};
  for (const auto& [line, reason] : kCases) {
    const Parsed parsed = parse_line(line);
    EXPECT_EQ(parsed.status, 2) << reason;
    EXPECT_NE(parsed.complaints.find(": " + reason + "\n"), std::string::npos) << parsed.complaints;
    EXPECT_NE(parsed.complaints.find(": cmd --help shows the options\n"), std::string::npos)
        << parsed.complaints;
    EXPECT_EQ(parsed.written, "") << reason;
  }
}

TEST(Parsing, TakesWordsAsTheyStand) {
  EXPECT_EQ(one_of("--how", "four", kBits), 4U);
  EXPECT_EQ(refusal([] { one_of("--how", "Four", kBits); }),
            "--how: 'Four' is not one of one, two, four");
}

TEST(Parsing, TakesListsOfWordsInUpperAndLowerCase) {
  EXPECT_EQ(bits_of("--some", "two", kBits), 2U);
  EXPECT_EQ(bits_of("--some", "FOUR,one", kBits), 5U);
  EXPECT_EQ(refusal([] { bits_of("--some", "one,Three", kBits); }),
            "--some: 'Three' is not one of one, two, four");
}

TEST(Parsing, TakesModules) {
  const ModuleArgument module = module_of("--module", "m.so:make=x");
  EXPECT_EQ(module.path + " " + module.function + " " + module.argument.value_or(""),
            "m.so make x");
  EXPECT_EQ(refusal([] { module_of("--module", ":make"); }),
            "--module: ':make' is not PATH[:FUNCTION][=ARGUMENT]");
}

}  // namespace tools::test
