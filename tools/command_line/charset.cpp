// Conversion by the C library's iconv, one bad character at a time replaced by "?".
#include "command_line/charset.h"

#include <iconv.h>
#include <langinfo.h>

#include <algorithm>
#include <clocale>

#include "command_line/utf8.h"

namespace tools {

namespace {

class Converter {
 public:
  Converter(const char* to, const char* from) : m_handle(iconv_open(to, from)) {}
  ~Converter() {
    if (usable()) {
      iconv_close(m_handle);
    }
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // False on a system without the tables of GBK.
  bool usable() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

  // Converts from `in` on until the end or the first bad character; returns where it stopped.
  const char* convert(const char* in, const char* end, std::string& out) const {
    while (in != end) {
      char buffer[1024];
      char* from = const_cast<char*>(in);
      char* to = buffer;
      std::size_t in_left = static_cast<std::size_t>(end - in);
      std::size_t out_left = sizeof buffer;
      iconv(m_handle, &from, &in_left, &to, &out_left);
      out.append(buffer, to);
      if (from == in) {
        break;
      }
      in = from;
    }
    return in;
  }

 private:
  iconv_t m_handle;
};

bool is_ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

std::string only_ascii(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char byte) { return !is_ascii(byte); }, '?');
  return text;
}

std::string convert(const char* to, const char* from, const std::string& text,
                    bool (*is_rest_of_bad)(char)) {
  if (std::all_of(text.begin(), text.end(), is_ascii)) {
    return text;
  }
  const Converter converter(to, from);
  if (!converter.usable()) {
    return only_ascii(text);
  }
  std::string converted;
  const char* in = text.data();
  const char* const end = in + text.size();
  while ((in = converter.convert(in, end, converted)) != end) {
    converted += '?';
    in = std::find_if_not(in + 1, end, is_rest_of_bad);
  }
  return converted;
}

}  // namespace

std::string locale_text_of(const std::string& utf8) {
  const char* const locale = std::setlocale(LC_CTYPE, nullptr);
  const std::string name = locale != nullptr ? locale : "C";
  const char* const code_page = nl_langinfo(CODESET);
  const bool is_utf8 = name == "C" || name == "POSIX" || std::string(code_page) == "UTF-8";
  return is_utf8 ? utf8 : convert(code_page, "UTF-8", utf8, is_utf8_continuation);
}

std::string gbk_of(const std::string& utf8) {
  return convert("GBK", "UTF-8", utf8, is_utf8_continuation);
}

std::string utf8_of(const std::string& gbk) {
  return convert("UTF-8", "GBK", gbk, [](char) { return false; });
}

}  // namespace tools
