// Plain ASCII, the usual text, is copied; everything else goes through iconv(3).
#include "utility/text_codec.h"

#include <iconv.h>
#include <langinfo.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

namespace utility {
namespace {

constexpr const char* kDomEncoding =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// The code page of the calling thread's locale, as iconv names it.
const char* code_page() {
  const char* const name = nl_langinfo(CODESET);
  return std::strcmp(name, "ANSI_X3.4-1968") == 0 ? "UTF-8" : name;
}

// One direction of conversion. Opening a descriptor may load a table, so each thread keeps one
// per direction until its locale's code page changes.
class Converter {
 public:
  enum class Direction { kToDom, kToNarrow };

  explicit Converter(Direction direction) : m_direction(direction) {}
  ~Converter() { close(); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // Converts all of in to out, which has room for out_size bytes; gives the bytes written, or
  // kFailed when in is not valid, not complete or not expressible.
  static constexpr std::size_t kFailed = static_cast<std::size_t>(-1);
  std::size_t convert(const char* in, std::size_t in_size, char* out, std::size_t out_size) {
    if (!open_for(code_page())) {
      return kFailed;
    }
    iconv(m_descriptor, nullptr, nullptr, nullptr, nullptr);
    char* source = const_cast<char*>(in);  // iconv(3) does not write to it
    char* target = out;
    std::size_t room = out_size;
    // A positive result counts characters that were replaced.
    if (iconv(m_descriptor, &source, &in_size, &target, &room) != 0 || in_size != 0 ||
        iconv(m_descriptor, nullptr, nullptr, &target, &room) != 0) {
      return kFailed;
    }
    return out_size - room;
  }

  // False when there is no such conversion, or no memory for it.
  bool open_for(const char* wanted) {
    if (is_open() && m_code_page == wanted) {
      return true;
    }
    close();
    m_code_page = wanted;
    m_descriptor = m_direction == Direction::kToDom ? iconv_open(kDomEncoding, wanted)
                                                    : iconv_open(wanted, kDomEncoding);
    m_process = ::getpid();
    return is_open();
  }

 private:
  bool is_open() const { return m_descriptor != closed(); }

  // Closing takes the lock that opening takes. A forked child may find it held for ever, when it
  // exits, and keeps what it has from its parent, where tools that look for leaks find it.
  void close() {
    [[maybe_unused]] static volatile iconv_t kept[2] = {};
    if (is_open() && m_process == ::getpid()) {
      iconv_close(m_descriptor);
    } else if (is_open()) {
      kept[m_direction == Direction::kToDom ? 0 : 1] = m_descriptor;
    }
    m_descriptor = closed();
  }

  static iconv_t closed() { return reinterpret_cast<iconv_t>(-1); }

  const Direction m_direction;
  iconv_t m_descriptor = closed();
  pid_t m_process = 0;  // that has opened it
  std::string m_code_page;
};

struct Converters {
  Converter to_dom{Converter::Direction::kToDom};
  Converter to_narrow{Converter::Direction::kToNarrow};
};

pthread_key_t key;
const bool has_key =
    ::pthread_key_create(&key, [](void* own) { delete static_cast<Converters*>(own); }) == 0;

// Those of the calling thread, null without memory. Not thread_local: the C library ends the
// process when it has no memory to note a destructor.
Converters* converters() {
  auto* const own = has_key ? static_cast<Converters*>(::pthread_getspecific(key)) : nullptr;
  if (own != nullptr || !has_key) {
    return own;
  }
  std::unique_ptr<Converters> made(new (std::nothrow) Converters);
  const bool is_kept = made != nullptr && ::pthread_setspecific(key, made.get()) == 0;
  return is_kept ? made.release() : nullptr;
}

std::size_t convert(Converter Converters::*direction, const char* in, std::size_t in_size,
                    char* out, std::size_t out_size) {
  Converters* const own = converters();
  return own == nullptr ? Converter::kFailed
                        : (own->*direction).convert(in, in_size, out, out_size);
}

bool is_plain(char c) { return static_cast<unsigned char>(c) - 1U < 0x7FU; }  // ASCII, not zero
bool is_plain(XMLCh c) { return c - 1U < 0x7FU; }

constexpr std::size_t kMaxBytesPerUnit = 8;  // more than any code page takes for one UTF-16 unit

void append_utf8(char32_t c, std::string& out) {
  constexpr unsigned char kLeads[] = {0, 0xC0, 0xE0, 0xF0};  // by the bytes that follow
  const unsigned int trails = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  out.push_back(static_cast<char>(kLeads[trails] | c >> 6 * trails));
  for (unsigned int left = trails; left-- > 0;) {
    out.push_back(static_cast<char>(0x80U | (c >> 6 * left & 0x3FU)));
  }
}

}  // namespace

bool to_dom_text(std::string_view narrow, DomText& out) {
  if (std::all_of(narrow.begin(), narrow.end(), [](char c) { return is_plain(c); })) {
    out.assign(narrow.begin(), narrow.end());
    return true;
  }
  if (narrow.find('\0') != std::string_view::npos) {
    return false;
  }
  out.resize(2 * narrow.size());  // a byte may stand for two units (a base and a mark)
  const std::size_t bytes =
      convert(&Converters::to_dom, narrow.data(), narrow.size(),
              reinterpret_cast<char*>(out.data()), out.size() * sizeof(XMLCh));
  if (bytes == Converter::kFailed) {
    return false;
  }
  out.resize(bytes / sizeof(XMLCh));
  return true;
}

bool to_narrow_text(std::basic_string_view<XMLCh> text, std::string& out) {
  if (std::all_of(text.begin(), text.end(), [](XMLCh c) { return is_plain(c); })) {
    out.resize(text.size());
    std::transform(text.begin(), text.end(), out.begin(),
                   [](XMLCh c) { return static_cast<char>(c); });
    return true;
  }
  if (text.find(XMLCh(0)) != text.npos) {
    return false;
  }
  out.resize(kMaxBytesPerUnit * text.size());
  const std::size_t bytes =
      convert(&Converters::to_narrow, reinterpret_cast<const char*>(text.data()),
              text.size() * sizeof(XMLCh), out.data(), out.size());
  if (bytes == Converter::kFailed) {
    return false;
  }
  out.resize(bytes);
  return true;
}

std::string to_utf8_text(std::basic_string_view<XMLCh> text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if ((c & 0xFC00U) == 0xD800U && i + 1 < text.size()) {
      c = 0x10000 + ((c & 0x3FFU) << 10U) + (text[++i] & 0x3FFU);
    }
    append_utf8(c, out);
  }
  return out;
}

std::string to_utf8_text(const std::string& narrow) {
  DomText wide;
  return to_dom_text(narrow, wide) ? to_utf8_text(std::basic_string_view<XMLCh>(wide)) : narrow;
}

void prepare_conversions() noexcept {
  try {
    if (Converters* const own = converters()) {
      own->to_dom.open_for(code_page());
      own->to_narrow.open_for(code_page());
    }
  } catch (const std::bad_alloc&) {  // the child tries again
  }
}

}  // namespace utility
