#include "command_line/command_pages.h"

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

namespace tools::test {

namespace {

/// A command with an option of each kind.
struct Command {
  Command() {
    app.name("cmd");
    app.footer("Notes on \\ and\n.dots.\n\nExit status: 0 done\n\nExample: cmd --log f x");
    app.set_help_flag("--help", "Help");
    app.set_version_flag("--version", "cmd 1.2");
    app.add_option("NAME", name, "A name")->required();
    app.add_option("--log", log, "A file")->type_name("FILE");
    app.add_option("--set", set, "A value")->type_name("NAME=VALUE");
    app.add_option("-n,--number", set, "A number")->type_name("N");
  }

  CLI::App app{"Does one-off things."};
  std::string name;
  std::string log;
  std::string set;
};

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace

TEST(CommandPages, ManPageHasASectionOfEachKindWithItsTextEscaped) {
  EXPECT_EQ(man_page(Command().app),
            ".TH CMD 1 \"\" \"cmd 1.2\" \"User Commands\"\n"
            ".SH NAME\ncmd \\- does one\\-off things\n"
            ".SH SYNOPSIS\n.B cmd\n[\\fIOPTIONS\\fR] \\fINAME\\fR\n"
            ".SH DESCRIPTION\nDoes one\\-off things.\n"
            ".TP\n\\fINAME\\fR\nA name\n"
            ".PP\nNotes on \\e and\n\\&.dots.\n"
            ".SH OPTIONS\n"
            ".TP\n\\fB\\-\\-help\\fR\nHelp\n"
            ".TP\n\\fB\\-\\-version\\fR\nDisplay program version information and exit\n"
            ".TP\n\\fB\\-\\-log\\fR \\fIFILE\\fR\nA file\n"
            ".TP\n\\fB\\-\\-set\\fR \\fINAME=VALUE\\fR\nA value\n"
            ".TP\n\\fB\\-n, \\-\\-number\\fR \\fIN\\fR\nA number\n"
            ".SH EXIT STATUS\n0 done\n"
            ".SH EXAMPLE\n.nf\ncmd \\-\\-log f x\n.fi\n");
}

TEST(CommandPages, CompletionOffersFilesForAnOptionThatTakesOneAndNothingForOtherValues) {
  const std::string completion = bash_completion(Command().app);
  EXPECT_TRUE(contains(completion, "    --log) ;;\n"));
  EXPECT_TRUE(contains(completion, "    --set) return ;;\n"));
  EXPECT_TRUE(contains(completion, "    --number | -n) return ;;\n"));
  EXPECT_TRUE(contains(completion, "'--help --version --log --set --number'"));
  EXPECT_TRUE(contains(completion, "complete -o filenames -F _cmd cmd\n"));
}

TEST(CommandPages, AreGivenForTheirOwnWordsAloneOnly) {
  const Command command;
  const char* const man[] = {"cmd", "--man-page"};
  const char* const completion[] = {"cmd", "--bash-completion"};
  const char* const more[] = {"cmd", "--man-page", "x"};
  const char* const other[] = {"cmd", "--help"};
  EXPECT_EQ(command_page(command.app, 2, man), man_page(command.app));
  EXPECT_EQ(command_page(command.app, 2, completion), bash_completion(command.app));
  EXPECT_FALSE(command_page(command.app, 3, more));
  EXPECT_FALSE(command_page(command.app, 2, other));
  EXPECT_FALSE(command_page(command.app, 1, other));
}

}  // namespace tools::test
