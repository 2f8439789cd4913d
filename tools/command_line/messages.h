// Messages of the commands in the user's language, English or Chinese.
//
// A message stands in both languages where it is used, so that neither is forgotten:
//
//   tools::complain({"cannot open {1}: {2}", "无法打开 {1}：{2}"}, {path, why});
//
// Messages are UTF-8 whatever the locale, as is all that the commands write.
#ifndef TOOLS_COMMAND_LINE_MESSAGES_H
#define TOOLS_COMMAND_LINE_MESSAGES_H

#include <initializer_list>
#include <string>
#include <string_view>

namespace tools {

enum class Language { kEnglish, kChinese };

/// The environment variables that choose the language of messages. Null when not set.
struct LanguageSettings {
  const char* lc_all = nullptr;
  const char* lc_messages = nullptr;
  const char* lang = nullptr;
  const char* language = nullptr;
};

/// Chooses as gettext does. The locale is the first of LC_ALL, LC_MESSAGES and LANG that is set and
/// not empty; it need not be installed. Unless it is C or POSIX, the first language of the list in
/// LANGUAGE that has messages takes precedence.
Language language_of(const LanguageSettings& settings);

/// The language that the environment chooses.
Language users_language();

/// A text in both languages. {1} to {9} are the places of arguments. A message whose languages have
/// different places does not compile.
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

/// The text with the arguments in their places. A place without an argument stays, and places in
/// arguments are not replaced.
std::string in_language(Language language, const Message& message, MessageArguments arguments = {});

/// The same in the user's language.
std::string in_users_language(const Message& message, MessageArguments arguments = {});

/// What an errno means: in the user's language for common errors of files, else as strerror() has
/// it.
std::string reason_of(int error_number);

}  // namespace tools

#endif
