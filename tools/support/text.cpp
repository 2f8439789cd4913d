#include "support/text.h"

#include <algorithm>
#include <cstdio>
#include <exception>

#include "support/charset.h"

namespace tools {

namespace {

typedef unsigned char Byte;

bool is_ascii(char byte) { return static_cast<Byte>(byte) < 0x80; }

// The length of the UTF-8 character at `at`, 0 when there is none.
std::size_t utf8_length(const std::string& text, std::size_t at) {
  const Byte lead = static_cast<Byte>(text[at]);
  const std::size_t length = lead < 0x80                   ? 1
                             : lead >= 0xC2 && lead < 0xE0 ? 2
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xF0 && lead < 0xF5 ? 4
                                                           : 0;
  if (length == 0 || text.size() - at < length) {
    return 0;
  }
  const auto is_continuation = [](char byte) { return (static_cast<Byte>(byte) & 0xC0) == 0x80; };
  const auto first = text.begin() + static_cast<std::ptrdiff_t>(at);
  return std::all_of(first + 1, first + static_cast<std::ptrdiff_t>(length), is_continuation)
             ? length
             : 0;
}

// True when [from, to) is UTF-8 whose characters have `shortest` bytes or more.
bool is_utf8(const std::string& text, std::size_t from, std::size_t to, std::size_t shortest) {
  while (from < to) {
    const std::size_t length = utf8_length(text, from);
    if (length < shortest) {
      return false;
    }
    from += length;
  }
  return true;
}

}  // namespace

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += (all.empty() ? "" : ", ") + text;
  }
  return all;
}

std::string quoted(const std::string& text) {
  std::string all = "\"";
  for (const char byte : text) {
    if (byte == '"' || byte == '\\') {
      all += {'\\', byte};
    } else if (byte == '\n') {
      all += "\\n";
    } else if (byte == '\t') {
      all += "\\t";
    } else if (static_cast<Byte>(byte) < 0x20 || byte == 0x7F) {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned int>(byte));
      all += escape;
    } else {
      all += byte;
    }
  }
  return all + "\"";
}

std::string described(ec::EC code) {
  char number[16];
  std::snprintf(number, sizeof number, " (0x%08x): ", code);
  return ec::name(code) + std::string(number) + ec::text(code);
}

std::string exception_text() {
  try {
    throw;
  } catch (const std::exception& error) {
    return std::string("an exception: ") + error.what();
  } catch (...) {
    return "an exception of unknown type";
  }
}

std::string readable(const std::string& message) {
  std::string all;
  std::size_t run = 0;  // where the bytes that are not ASCII began
  for (std::size_t at = 0; at < message.size();) {
    if (is_ascii(message[at])) {
      all += message[at++];
      run = at;
      continue;
    }
    const std::size_t end = static_cast<std::size_t>(
        std::find_if(message.begin() + static_cast<std::ptrdiff_t>(at), message.end(), is_ascii) -
        message.begin());
    // Two bytes of GBK can look like a character of UTF-8, longer stretches of it do not.
    if (is_utf8(message, at, end, at == run ? 1 : 3)) {
      all.append(message, at, end - at);
      at = end;
    } else {
      all += utf8_of(message.substr(at, 2));
      at = std::min(at + 2, message.size());
    }
  }
  return all;
}

}  // namespace tools
