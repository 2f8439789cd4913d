// One script for each shell, from the same list of options: words, files, or what a command prints.
#include "command_line/completion.h"

#include <algorithm>

#include <CLI/CLI.hpp>

namespace tools {

namespace {

// In single quotes, for each of the shells.
std::string quoted_word(const std::string& text) {
  std::string all = "'";
  for (const char c : text) {
    all += c == '\'' ? "'\\''" : std::string(1, c);
  }
  return all + "'";
}

struct KnownOption {
  std::string name;
  std::vector<std::string> short_names;  ///< letters
  std::string value;                     ///< what --help calls it; empty for a flag
  std::string description;
  const Choice* choice = nullptr;
};

const Choice* choice_of(const std::vector<Choice>& choices, const std::string& option) {
  const auto found = std::find_if(choices.begin(), choices.end(),
                                  [&](const Choice& one) { return one.option == option; });
  return found != choices.end() ? &*found : nullptr;
}

std::vector<KnownOption> options_of(const CLI::App& app, const std::vector<Choice>& choices) {
  std::vector<KnownOption> all;
  for (const CLI::Option* const option :
       app.get_options([](const CLI::Option* one) { return !one->get_positional(); })) {
    const bool takes_value = option->get_items_expected_max() > 0;
    std::string description = option->get_description();
    std::replace(description.begin(), description.end(), '\n', ' ');
    all.push_back({option->get_name(), option->get_snames(),
                   takes_value ? option->get_type_name() : "", description,
                   choice_of(choices, option->get_name())});
  }
  return all;
}

bool is_file(const KnownOption& option) {
  return option.value.starts_with("FILE") || option.value.starts_with("PATH");
}

// "--lines | -n", with another text between them.
std::string ways(const KnownOption& option, const std::string& between) {
  std::string all = option.name;
  for (const std::string& letter : option.short_names) {
    all += between + "-" + letter;
  }
  return all;
}

// The names of the options with a value, separated by blanks.
std::string with_value(const std::vector<KnownOption>& options) {
  std::string names;
  for (const KnownOption& option : options) {
    names += option.value.empty() ? "" : ways(option, " ") + " ";
  }
  return names;
}

std::string bash_words(const Choice& choice) {
  return choice.command.empty()
             ? quoted_word(choice.words)
             : "\"$(sh -c " + quoted_word(choice.command) + " sh \"$script\" 2>/dev/null)\"";
}

std::string bash_case(const KnownOption& option) {
  if (is_file(option)) {
    return "    " + ways(option, " | ") + ") ;;\n";
  }
  if (option.choice == nullptr) {
    return "    " + ways(option, " | ") + ") return ;;\n";
  }
  if (option.choice->is_list) {
    return "    " + ways(option, " | ") +
           ")\n      compopt -o nospace 2>/dev/null || :\n"
           "      mapfile -t COMPREPLY < <(compgen -P \"${word%\"${word##*,}\"}\" -W " +
           bash_words(*option.choice) + " -- \"${word##*,}\")\n      return\n      ;;\n";
  }
  return "    " + ways(option, " | ") + ")\n      mapfile -t COMPREPLY < <(compgen -W " +
         bash_words(*option.choice) + " -- \"$word\")\n      return\n      ;;\n";
}

// Sets "script" to the first argument, which is a file and no option's value.
std::string bash_script(const std::vector<KnownOption>& options) {
  return "  local i script=\n"
         "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
         "    if [[ -f ${COMP_WORDS[i]} && ' " +
         with_value(options) +
         "' != *\" ${COMP_WORDS[i - 1]} \"* ]]; then\n"
         "      script=${COMP_WORDS[i]}\n      break\n    fi\n  done\n";
}

// A text in the brackets of _arguments.
std::string zsh_text(const std::string& text) {
  std::string all;
  for (const char c : text) {
    all +=
        c == '[' || c == ']' || c == ':' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  }
  return all;
}

std::string zsh_action(const std::string& function, const Choice& choice) {
  if (!choice.command.empty()) {
    return function;
  }
  return choice.is_list ? "_values -s , value " + choice.words : "(" + choice.words + ")";
}

// Completes what a command prints.
std::string zsh_function(const std::string& name, const Choice& choice,
                         const std::vector<KnownOption>& options) {
  return name +
         "() {\n  local i script=\n"
         "  for ((i = 2; i < CURRENT; ++i)); do\n"
         "    if [[ -f $words[i] && ' " +
         with_value(options) +
         "' != *\" $words[i-1] \"* ]]; then\n      script=$words[i]\n      break\n    fi\n  done\n"
         "  local -a found\n  found=(${(f)\"$(sh -c " +
         quoted_word(choice.command) +
         " sh \"$script\" 2>/dev/null)\"})\n  compadd -a found\n}\n\n";
}

std::string fish_values(const Choice& choice, const std::string& command) {
  if (!choice.command.empty()) {
    return "(sh -c " + quoted_word(choice.command) + " sh (__" + command + "_script) 2>/dev/null)";
  }
  return choice.is_list ? "(__fish_append , " + choice.words + ")" : choice.words;
}

// In double quotes, where fish expands variables only.
std::string fish_quoted(const std::string& text) {
  std::string all = "\"";
  for (const char c : text) {
    all += c == '"' || c == '$' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  }
  return all + "\"";
}

std::string function_name(const std::string& command, const std::string& option) {
  std::string name = "_" + command + "_";
  for (const char c : option.empty() ? std::string("arguments") : option) {
    name += c == '-' ? "" : std::string(1, c);
  }
  return name;
}

}  // namespace

std::string bash_completion(const CLI::App& app, const std::vector<Choice>& choices) {
  const std::string& name = app.get_name();
  const std::vector<KnownOption> options = options_of(app, choices);
  std::string names;
  std::string text = "# bash completion of " + name + "\n_" + name + "() {\n";
  text += "  local IFS=$' \\n' word=${COMP_WORDS[COMP_CWORD]}\n  COMPREPLY=()\n";
  text += bash_script(options) + "  case ${COMP_WORDS[COMP_CWORD - 1]} in\n";
  for (const KnownOption& option : options) {
    names += (names.empty() ? "" : " ") + option.name;
    text += option.value.empty() ? "" : bash_case(option);
  }
  text +=
      "    *)\n      if [[ $word == -* ]]; then\n        mapfile -t COMPREPLY < <(compgen -W '" +
      names + "' -- \"$word\")\n        return\n      fi\n";
  if (const Choice* const rest = choice_of(choices, "")) {
    text += "      if [[ -n $script ]]; then\n        mapfile -t COMPREPLY < <(compgen -W " +
            bash_words(*rest) + " -- \"$word\")\n        return\n      fi\n";
  }
  text += "      ;;\n  esac\n  mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n}\n";
  return text + "complete -o filenames -F _" + name + " " + name + "\n";
}

std::string zsh_completion(const CLI::App& app, const std::vector<Choice>& choices) {
  const std::string& name = app.get_name();
  const std::vector<KnownOption> options = options_of(app, choices);
  std::string text = "#compdef " + name + "\n\n";
  for (const Choice& choice : choices) {
    text += choice.command.empty()
                ? ""
                : zsh_function(function_name(name, choice.option), choice, options);
  }
  text += "_arguments";
  for (const KnownOption& option : options) {
    std::string spec = "[" + zsh_text(option.description) + "]";
    if (!option.value.empty()) {
      spec += ":" + zsh_text(option.value) + ":";
      spec += option.choice != nullptr
                  ? zsh_action(function_name(name, option.name), *option.choice)
              : is_file(option) ? "_files"
                                : "";
    }
    text += " \\\n  " + quoted_word("*" + option.name + spec);
    for (const std::string& letter : option.short_names) {
      text += " \\\n  " + quoted_word("*-" + letter + spec);
    }
  }
  const Choice* const rest = choice_of(choices, "");
  text += " \\\n  '1:file:_files' \\\n  " +
          quoted_word("*:argument:" +
                      (rest != nullptr ? zsh_action(function_name(name, ""), *rest) : "_files"));
  return text + "\n";
}

std::string fish_completion(const CLI::App& app, const std::vector<Choice>& choices) {
  const std::string& name = app.get_name();
  const std::vector<KnownOption> options = options_of(app, choices);
  std::string text = "# fish completion of " + name + "\nfunction __" + name +
                     "_script\n  set -l before\n  for word in (commandline -opc)[2..-1]\n"
                     "    if test -f \"$word\"; and not contains -- \"$before\" " +
                     with_value(options) +
                     "\n      echo \"$word\"\n      return\n    end\n    set before \"$word\"\n"
                     "  end\nend\n\n";
  for (const KnownOption& option : options) {
    text += "complete -c " + name + " -l " + option.name.substr(2);
    for (const std::string& letter : option.short_names) {
      text += " -s " + letter;
    }
    text += option.value.empty() ? "" : is_file(option) ? " -r" : " -x";
    text += " -d " + fish_quoted(option.description);
    text += option.choice != nullptr ? " -a " + fish_quoted(fish_values(*option.choice, name)) : "";
    text += "\n";
  }
  if (const Choice* const rest = choice_of(choices, "")) {
    text += "complete -c " + name + " -n " +
            fish_quoted("__" + name + "_script | string length -q") + " -f -a " +
            fish_quoted(fish_values(*rest, name)) + "\n";
  }
  return text;
}

}  // namespace tools
