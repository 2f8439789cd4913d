// CLI11 throws for wrong usage, --help and --version, and so does refuse(): parse() catches all.
#include "command_line/parsing.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "command_line/command.h"
#include "command_line/command_pages.h"

namespace tools {

namespace {

// CLI11's own errors are English.
std::string reason_of(const CLI::ParseError& error) {
  const std::string text = error.what();
  if (users_language() == Language::kEnglish ||
      dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) {
    return text;
  }
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    const std::size_t colon = text.rfind(": ");
    return "不认识的参数：" + text.substr(colon == text.npos ? 0 : colon + 2);
  }
  if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    return "缺少 " + text.substr(0, text.find(' '));
  }
  return "用法错误：" + text;
}

}  // namespace

const char* const kVersion = TOOLS_VERSION;

void name_command(CLI::App& app, const std::string& name, const std::string& help,
                  Language language) {
  app.name(name);
  app.set_help_flag(help, in_language(language, {"Print this help and exit", "打印本帮助后退出"}));
  app.set_version_flag("--version", name + " " + kVersion,
                       in_language(language, {"Print the version and exit", "打印版本后退出"}));
}

std::optional<int> parse(CLI::App& app, int argc, const char* const* argv,
                         const std::vector<Choice>& choices,
                         const std::function<int(const std::string&)>& write_out,
                         const std::function<void()>& interpret) {
  if (const std::optional<std::string> page = command_page(app, argc, argv, choices)) {
    return write_out(*page);
  }
  try {
    app.parse(argc, argv);
    interpret();
    return {};
  } catch (const CLI::CallForHelp&) {
    return write_out(app.help());
  } catch (const CLI::CallForVersion&) {
    return write_out(app.version() + "\n");
  } catch (const CLI::ParseError& error) {
    complain_text(reason_of(error));
    complain({"{1} --help shows the options", "{1} --help 显示全部选项"}, {app.get_name()});
    return 2;
  }
}

void refuse(const std::string& option, const Message& message, MessageArguments arguments) {
  throw CLI::ValidationError(option, in_users_language(message, arguments));
}

ModuleArgument module_of(const std::string& option, const std::string& text) {
  const std::optional<ModuleArgument> module = parse_module_argument(text);
  if (!module) {
    refuse(option,
           {"'{1}' is not PATH[:FUNCTION][=ARGUMENT]", "“{1}”不是 PATH[:FUNCTION][=ARGUMENT]"},
           {text});
  }
  return *module;
}

unsigned int bits_of(const std::string& option, const std::string& list,
                     const Words<unsigned int>& words) {
  unsigned int bits = 0;
  for (const std::string& text : CLI::detail::split(list, ',')) {
    const auto is_word = [word = CLI::detail::to_lower(text)](const auto& one) {
      return one.first == word;
    };
    const auto found = std::find_if(words.begin(), words.end(), is_word);
    if (found == words.end()) {
      refuse_word(option, text, words);
    }
    bits |= found->second;
  }
  return bits;
}

}  // namespace tools
