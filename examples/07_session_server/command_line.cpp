#include "command_line.h"

#include <charconv>

namespace session_server {

void CommandLine::text(const std::string& name, std::string& target) {
  Option option;
  option.name = name;
  option.text = &target;
  m_options.push_back(option);
}

void CommandLine::number(const std::string& name, int& target, int least, int most) {
  Option option;
  option.name = name;
  option.number = &target;
  option.least = least;
  option.most = most;
  m_options.push_back(option);
}

void CommandLine::flag(const std::string& name, bool& target) {
  Option option;
  option.name = name;
  option.flag = &target;
  m_options.push_back(option);
}

std::string CommandLine::parse(int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    const Option* const option = find(name);
    if (option == nullptr) {
      return "unknown option '" + name + "'";
    }
    if (option->flag != nullptr) {
      *option->flag = true;
      continue;
    }
    if (++i == argc) {
      return "option " + name + " needs a value";
    }
    std::string problem = set(*option, argv[i]);
    if (!problem.empty()) {
      return problem;
    }
  }
  return "";
}

const CommandLine::Option* CommandLine::find(const std::string& name) const {
  for (const Option& option : m_options) {
    if (option.name == name) {
      return &option;
    }
  }
  return nullptr;
}

std::string CommandLine::set(const Option& option, const std::string& value) {
  if (option.text != nullptr) {
    *option.text = value;
    return value.empty() ? "option " + option.name + " needs a value" : "";
  }
  int number = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc() || stop != end || number < option.least || number > option.most) {
    return "option " + option.name + " needs a number from " + std::to_string(option.least) +
           " to " + std::to_string(option.most) + ", not '" + value + "'";
  }
  *option.number = number;
  return "";
}

}  // namespace session_server
