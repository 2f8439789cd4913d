// Options of a command line: "--name VALUE" and "--flag".
#ifndef SESSION_SERVER_COMMAND_LINE_H
#define SESSION_SERVER_COMMAND_LINE_H

#include <string>
#include <vector>

namespace session_server {

class CommandLine {
 public:
  /// Declare options; names include their "--". The targets hold the defaults.
  void text(const std::string& name, std::string& target);
  void number(const std::string& name, int& target, int least, int most);
  void flag(const std::string& name, bool& target);

  /// Reads the arguments after the program's name. Returns an empty string, or one line that says
  /// what is wrong with the arguments.
  std::string parse(int argc, const char* const* argv);

 private:
  struct Option {
    std::string name;
    std::string* text = nullptr;
    bool* flag = nullptr;
    int* number = nullptr;
    int least = 0;
    int most = 0;
  };
  const Option* find(const std::string& name) const;
  static std::string set(const Option& option, const std::string& value);

  std::vector<Option> m_options;
};

}  // namespace session_server

#endif
