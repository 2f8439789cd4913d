// A manual page in troff, from what CLI11 knows of the options.
#include "command_line/command_pages.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

namespace tools {

namespace {

// Text as troff shows it unchanged: with plain hyphens, and no line that begins with a request.
std::string troff(std::string_view text) {
  std::string escaped;
  bool line_begins = true;
  for (const char c : text) {
    if (line_begins && (c == '.' || c == '\'')) {
      escaped += "\\&";
    }
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else {
      escaped += c;
    }
    line_begins = c == '\n';
  }
  return escaped;
}

std::string bold(const std::string& text) { return "\\fB" + troff(text) + "\\fR"; }

std::string italic(const std::string& text) { return "\\fI" + troff(text) + "\\fR"; }

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

// "Runs sections." in the line that apropos shows: "runs sections".
std::string summary_of(const CLI::App& app) {
  std::string summary = app.get_description();
  if (!summary.empty() && summary.back() == '.') {
    summary.pop_back();
  }
  if (!summary.empty()) {
    summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
  }
  return summary;
}

bool takes_value(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

// Empty for a flag.
std::string value_of(const CLI::Option& option) {
  return takes_value(option) ? option.get_type_name() : std::string();
}

// "-f, --follow", or "--help"; without the dashes of a positional argument.
std::string names_of(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) {
    names += "-" + name + ", ";
  }
  return names + option.get_name();
}

std::vector<const CLI::Option*> options_of(const CLI::App& app, bool positional) {
  return app.get_options(
      [positional](const CLI::Option* option) { return option->get_positional() == positional; });
}

std::string synopsis_of(const CLI::App& app) {
  std::string line = ".B " + troff(app.get_name()) + "\n[\\fIOPTIONS\\fR]";
  for (const CLI::Option* const argument : options_of(app, true)) {
    const std::string name = italic(argument->get_name(true));
    const std::string many = argument->get_items_expected_max() > 1 ? "..." : "";
    line += argument->get_required() ? " " + name + many : " [" + name + many + "]";
  }
  return line + "\n";
}

std::string items(const std::vector<const CLI::Option*>& options, bool positional) {
  std::string text;
  for (const CLI::Option* const option : options) {
    const std::string value = value_of(*option);
    text += ".TP\n";
    if (positional) {
      text += italic(option->get_name(true));
    } else {
      text += bold(names_of(*option)) + (value.empty() ? "" : " " + italic(value));
    }
    text += "\n" + troff(option->get_description()) + "\n";
  }
  return text;
}

std::vector<std::string> paragraphs_of(const std::string& text) {
  std::vector<std::string> paragraphs;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find("\n\n", begin), text.size());
    paragraphs.push_back(text.substr(begin, end - begin));
    begin = end + 2;
  }
  return paragraphs;
}

constexpr std::string_view kStatus = "Exit status: ";
constexpr std::string_view kExample = "Example: ";

}  // namespace

std::string man_page(const CLI::App& app) {
  const std::string& name = app.get_name();
  std::string page = ".TH " + upper(name) + " 1 \"\" \"" + app.version() + "\" \"User Commands\"\n";
  page += ".SH NAME\n" + name + " \\- " + troff(summary_of(app)) + "\n";
  page += ".SH SYNOPSIS\n" + synopsis_of(app);

  page += ".SH DESCRIPTION\n" + troff(app.get_description()) + "\n";
  page += items(options_of(app, true), true);
  std::string status;
  std::string example;
  for (const std::string& paragraph : paragraphs_of(app.get_footer())) {
    if (paragraph.starts_with(kStatus)) {
      status = paragraph.substr(kStatus.size());
    } else if (paragraph.starts_with(kExample)) {
      example = paragraph.substr(kExample.size());
    } else {
      page += ".PP\n" + troff(paragraph) + "\n";
    }
  }
  page += ".SH OPTIONS\n" + items(options_of(app, false), false);
  page += ".SH EXIT STATUS\n" + troff(status) + "\n";
  page += ".SH EXAMPLE\n.nf\n" + troff(example) + "\n.fi\n";
  return page;
}

bool asks_for_page(int argc, const char* const* argv) {
  const std::string_view word = argc == 2 ? argv[1] : "";
  return word == "--man-page" || word == "--bash-completion" || word == "--zsh-completion" ||
         word == "--fish-completion";
}

std::optional<std::string> command_page(const CLI::App& app, int argc, const char* const* argv,
                                        const std::vector<Choice>& choices) {
  const std::string_view word = argc == 2 ? argv[1] : "";
  if (word == "--man-page") {
    return man_page(app);
  }
  if (word == "--bash-completion") {
    return bash_completion(app, choices);
  }
  if (word == "--zsh-completion") {
    return zsh_completion(app, choices);
  }
  if (word == "--fish-completion") {
    return fish_completion(app, choices);
  }
  return {};
}

}  // namespace tools
