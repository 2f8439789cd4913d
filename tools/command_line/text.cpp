// Goes through texts character by character. Bytes that are not UTF-8 are GBK, or shown as bytes.
#include "command_line/text.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string_view>

#include "command_line/charset.h"
#include "command_line/utf8.h"

namespace tools {

namespace {

typedef unsigned char Byte;

bool is_ascii(char byte) { return static_cast<Byte>(byte) < 0x80; }

// True for UTF-8 whose characters have `shortest` bytes or more.
bool is_utf8(std::string_view text, std::size_t shortest) {
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    if (length < shortest) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

// One character of UTF-8.
bool is_control(std::string_view character) {
  const Byte last = static_cast<Byte>(character.back());
  return character.size() == 1 ? last < 0x20 || last == 0x7F
                               : character.size() == 2 && character[0] == '\xC2' && last < 0xA0;
}

// A control character, or a byte that is no character.
std::string escape(std::string_view character) {
  if (character == "\n" || character == "\t") {
    return character == "\n" ? "\\n" : "\\t";
  }
  char text[8];
  std::snprintf(text, sizeof text, character.size() == 1 ? "\\x%02x" : "\\u%04x",
                static_cast<Byte>(character.back()));
  return text;
}

}  // namespace

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += (all.empty() ? "" : ", ") + text;
  }
  return all;
}

std::string escaped(std::string_view text, std::string_view kept) {
  std::string all;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = utf8_length(text.substr(at));
    const std::string_view character = text.substr(at, std::max<std::size_t>(length, 1));
    const bool is_kept = length == 1 && kept.find(character[0]) != kept.npos;
    if (is_kept || (length != 0 && !is_control(character))) {
      all += character;
    } else {
      all += escape(character);
    }
    at += character.size();
  }
  return all;
}

std::string quoted(std::string_view text) {
  std::string all;
  for (const char byte : text) {
    if (byte == '"' || byte == '\\') {
      all += '\\';
    }
    all += byte;
  }
  return '"' + escaped(all) + '"';
}

std::string shown_name(const std::string& name) {
  const std::string in_quotes = quoted(name);
  const bool is_plain = !name.empty() && in_quotes.size() == name.size() + 2;
  return is_plain ? name : in_quotes;
}

std::string exception_text() {
  try {
    throw;
  } catch (const std::exception& error) {
    return std::string("an exception: ") + error.what();
  } catch (const abi::__forced_unwind&) {
    throw;
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
    if (is_utf8(std::string_view(message).substr(at, end - at), at == run ? 1 : 3)) {
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
