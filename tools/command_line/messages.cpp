// The environment alone chooses the language; no catalogue of messages has to be installed.
#include "command_line/messages.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace tools {

namespace {

bool is_set(const char* value) { return value != nullptr && *value != '\0'; }

std::string_view locale_of(const LanguageSettings& settings) {
  for (const char* const value : {settings.lc_all, settings.lc_messages, settings.lang}) {
    if (is_set(value)) {
      return value;
    }
  }
  return "C";
}

// "zh", "zh_CN", "zh_CN.UTF-8", "zh@pinyin", but not "zha".
bool names_language(std::string_view locale, std::string_view language) {
  return locale.starts_with(language) &&
         (locale.size() == language.size() ||
          std::string_view("_.@").find(locale[language.size()]) != std::string_view::npos);
}

std::optional<Language> language_in(std::string_view locale) {
  if (names_language(locale, "zh")) {
    return Language::kChinese;
  }
  if (names_language(locale, "en")) {
    return Language::kEnglish;
  }
  return {};
}

}  // namespace

Language language_of(const LanguageSettings& settings) {
  const std::string_view locale = locale_of(settings);
  if (names_language(locale, "C") || names_language(locale, "POSIX")) {
    return Language::kEnglish;
  }
  std::string_view list = is_set(settings.language) ? settings.language : "";
  while (!list.empty()) {
    const std::size_t end = list.find(':');
    if (const std::optional<Language> language = language_in(list.substr(0, end))) {
      return *language;
    }
    list.remove_prefix(end == list.npos ? list.size() : end + 1);
  }
  return language_in(locale).value_or(Language::kEnglish);
}

Language users_language() {
  static const Language language = language_of({std::getenv("LC_ALL"), std::getenv("LC_MESSAGES"),
                                                std::getenv("LANG"), std::getenv("LANGUAGE")});
  return language;
}

std::string in_language(Language language, const Message& message, MessageArguments arguments) {
  const std::string_view text = message.in(language);
  std::string all;
  for (std::size_t at = 0; at < text.size();) {
    const bool is_place = text[at] == '{' && at + 2 < text.size() && text[at + 2] == '}';
    const auto number = static_cast<std::size_t>(is_place ? text[at + 1] - '0' : 0);
    if (is_place && number >= 1 && number <= arguments.size()) {
      all += arguments.begin()[number - 1];
      at += 3;
    } else {
      all += text[at++];
    }
  }
  return all;
}

std::string in_users_language(const Message& message, MessageArguments arguments) {
  return in_language(users_language(), message, arguments);
}

std::string reason_of(int error_number) {
  if (users_language() == Language::kChinese) {
    switch (error_number) {
      case ENOENT:
        return "没有那个文件或目录";
      case EACCES:
        return "权限不够";
      case EISDIR:
        return "是一个目录";
      case ENOTDIR:
        return "不是目录";
      case ENOSPC:
        return "设备上没有空间";
      case EBADF:
        return "错误的文件描述符";
      case EPIPE:
        return "断开的管道";
      case EIO:
        return "输入/输出错误";
      case ENOMEM:
        return "无法分配内存";
      default:
        break;
    }
  }
  return std::strerror(error_number);
}

}  // namespace tools
