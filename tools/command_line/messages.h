// Messages of the commands in the user's language: English, or Chinese.
//
// A message stands where it is used, in both languages, so that neither is forgotten:
//
//   complain(tools::in_users_language({"cannot open {1}: {2}", "无法打开 {1}：{2}"}, {path, why}));
//
// It is UTF-8 whatever the locale, as all that the commands write.
#ifndef TOOLS_COMMAND_LINE_MESSAGES_H
#define TOOLS_COMMAND_LINE_MESSAGES_H

#include <initializer_list>
#include <string>
#include <string_view>

namespace tools {

enum class Language { kEnglish, kChinese };

/// The variables of the environment that tell the language of messages. Null is not set.
struct LanguageSettings {
  const char* lc_all = nullptr;
  const char* lc_messages = nullptr;
  const char* lang = nullptr;
  const char* language = nullptr;
};

/// As gettext has it: the first of LC_ALL, LC_MESSAGES and LANG that is set and not empty is the
/// locale; where that is not C or POSIX, the first language of the list in LANGUAGE that there are
/// messages in goes before it. The locale need not be installed.
Language language_of(const LanguageSettings& settings);

/// That of the environment.
Language users_language();

/// A text in both languages. {1} to {9} are the places of arguments; a message whose languages do
/// not have the same ones is not compiled.
class Message {
 public:
  consteval Message(const char* english, const char* chinese)
      : m_english(english), m_chinese(chinese) {
    if (places(english) != places(chinese)) {
      throw "the places of arguments differ";
    }
  }

  std::string_view in(Language language) const {
    return language == Language::kChinese ? m_chinese : m_english;
  }

 private:
  // One bit for each place.
  static consteval unsigned int places(const char* text) {
    unsigned int bits = 0;
    for (; *text != '\0'; ++text) {
      if (text[0] == '{' && text[1] >= '1' && text[1] <= '9' && text[2] == '}') {
        bits |= 1U << (text[1] - '0');
      }
    }
    return bits;
  }

  const char* m_english;
  const char* m_chinese;
};

typedef std::initializer_list<std::string_view> MessageArguments;

/// The text with the arguments in their places. A place without an argument stays as it is, and
/// what arguments hold is not looked at.
std::string in_language(Language language, const Message& message, MessageArguments arguments = {});

/// The same in the language of the environment.
std::string in_users_language(const Message& message, MessageArguments arguments = {});

/// What an error number of the system means, in the user's language where it is one that files
/// often give; else as strerror() has it.
std::string reason_of(int error_number);

}  // namespace tools

#endif
