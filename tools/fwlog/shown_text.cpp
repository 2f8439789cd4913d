// Copies plain stretches whole. A table says which bytes need a closer look.
#include "shown_text.h"

#include <array>
#include <cstdio>

#include "command_line/text.h"

namespace fwlog {

namespace {

typedef unsigned char Byte;

// For each byte, whether a character that begins with it may have to be escaped.
typedef std::array<bool, 256> Special;

constexpr Byte kBeginOfC1 = 0xC2;

constexpr Special control_characters() {
  Special special{};
  for (std::size_t byte = 0; byte < 0x20; ++byte) {
    special[byte] = true;
  }
  special[0x7F] = special[kBeginOfC1] = true;
  return special;
}

constexpr Special special_in_text() {
  Special special = control_characters();
  special['\t'] = false;
  return special;
}

constexpr Special special_in_json() {
  Special special = control_characters();
  special['"'] = special['\\'] = true;
  return special;
}

// The length of the special character that `text` begins with; 0 when it only looks like one.
std::size_t length_of(std::string_view text) {
  if (static_cast<Byte>(text[0]) != kBeginOfC1) {
    return 1;
  }
  return text.size() > 1 && static_cast<Byte>(text[1]) < 0xA0 ? 2 : 0;
}

// Adds `text`, and for each special character what `add_escaped` adds.
template <typename AddEscaped>
void add_with_escapes(std::string_view text, const Special& special, Output& out,
                      AddEscaped add_escaped) {
  std::size_t plain = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length =
        special[static_cast<Byte>(text[at])] ? length_of(text.substr(at)) : 0;
    if (length == 0) {
      ++at;
      continue;
    }
    out.add(text.substr(plain, at - plain));
    add_escaped(static_cast<Byte>(text[at + length - 1]), length);
    at += length;
    plain = at;
  }
  out.add(text.substr(plain));
}

void add_number(const char* format, Byte character, Output& out) {
  char escape[8];
  std::snprintf(escape, sizeof escape, format, character);
  out.add(escape);
}

}  // namespace

void add_shown(std::string_view utf8, std::string_view indent, Output& out) {
  static constexpr Special kSpecial = special_in_text();
  add_with_escapes(utf8, kSpecial, out, [&](Byte character, std::size_t length) {
    if (character == '\n') {
      out.add('\n');
      out.add(indent);
    } else {
      add_number(length == 1 ? "\\x%02x" : "\\u%04x", character, out);
    }
  });
}

void add_json(std::string_view utf8, Output& out) {
  static constexpr Special kSpecial = special_in_json();
  add_with_escapes(utf8, kSpecial, out, [&](Byte character, std::size_t) {
    constexpr std::string_view kWithLetter = "\"\\\n\r\t";
    const std::size_t letter = kWithLetter.find(static_cast<char>(character));
    if (letter == kWithLetter.npos) {
      add_number("\\u%04x", character, out);
    } else {
      out.add('\\');
      out.add("\"\\nrt"[letter]);
    }
  });
}

std::string shown(std::string_view text) {
  std::string utf8;
  log_records::append_decoded(text, log_records::reading_of(text, log_records::Encoding::kAuto),
                              utf8);
  return tools::escaped(utf8);
}

void add_time(const log_records::Time& time, char between, Output& out) {
  char text[20];
  char* end = text;
  const auto add = [&end](int number, char behind) {
    *end++ = static_cast<char>('0' + number / 10);
    *end++ = static_cast<char>('0' + number % 10);
    *end++ = behind;
  };
  if (time.year < 1000) {
    out.add(std::string_view("000").substr(time.year < 10 ? 0 : time.year < 100 ? 1 : 2));
  }
  out.add_number(static_cast<std::uint64_t>(time.year));
  *end++ = '-';
  add(time.month, '-');
  add(time.day, between);
  add(time.hour, ':');
  add(time.minute, ':');
  add(time.second, ' ');
  out.add({text, static_cast<std::size_t>(end - 1 - text)});
}

std::string_view function_name(std::string_view signature) {
  constexpr std::string_view kNoName = "(anonymous";
  int depth = 0;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < signature.size(); ++at) {
    const char c = signature[at];
    if (c == '(' && depth == 0 && !signature.substr(at).starts_with(kNoName)) {
      const std::string_view name = signature.substr(begin, at - begin);
      const bool is_call_operator = name.ends_with("operator");
      const std::size_t end = is_call_operator ? at + 2 : at;
      return name.empty() ? signature : signature.substr(begin, end - begin);
    }
    if (c == '<' || c == '(') {
      ++depth;
    } else if ((c == '>' || c == ')') && depth > 0) {
      --depth;
    } else if (depth == 0 && (c == ' ' || c == '*' || c == '&')) {
      begin = at + 1;
    }
  }
  return signature;
}

}  // namespace fwlog
