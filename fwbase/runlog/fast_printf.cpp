// Reads each conversion into a Directive, makes the digits of a number on the stack, and appends
// the result with its padding. Gives up at the first conversion that it does not know.
#include "fwbase/runlog/fast_printf.h"

#include <langinfo.h>

#include <algorithm>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace fwbase {

namespace {

constexpr int kMostDigits = 100;  // the largest width or precision

/// What stands between a "%" and its letter.
struct Directive {
  enum class Length { kNone, kLong, kLongLong, kSize };

  bool is_left = false;
  bool has_zeros = false;
  int width = 0;
  int precision = -1;  // none
  bool has_asked_precision = false;
  Length length = Length::kNone;
};

class Printer {
 public:
  Printer(char* text, std::size_t room, std::va_list args)
      : m_begin(text), m_at(text), m_end(text + room) {
    va_copy(m_args, args);
  }
  ~Printer() { va_end(m_args); }
  Printer(const Printer&) = delete;
  Printer& operator=(const Printer&) = delete;

  /// False for what is not known, and for a text that does not fit.
  bool print(const char* format);

  std::size_t size() const { return static_cast<std::size_t>(m_at - m_begin); }

 private:
  bool put(std::string_view piece);
  bool put_padded(std::string_view piece, const Directive& how);
  bool put_number(std::string_view digits, const Directive& how);
  bool convert(const char*& format);
  bool convert_text(const Directive& how);
  bool convert_signed(const Directive& how);
  bool convert_unsigned(const Directive& how, int base, bool is_upper);
  bool convert_address(const Directive& how);
  bool convert_double(const Directive& how);

  char* const m_begin;
  char* m_at;
  char* const m_end;
  std::va_list m_args;
};

int read_digits(const char*& at) {
  int number = 0;
  while (*at >= '0' && *at <= '9' && number <= kMostDigits) {
    number = 10 * number + (*at++ - '0');
  }
  return number;
}

// False where a number is too long.
bool read_directive(const char*& at, Directive& how) {
  for (;; ++at) {
    if (*at == '-') {
      how.is_left = true;
    } else if (*at == '0') {
      how.has_zeros = true;
    } else {
      break;
    }
  }
  how.width = read_digits(at);
  if (*at == '.') {
    ++at;
    how.has_asked_precision = *at == '*';
    how.precision = how.has_asked_precision ? 0 : read_digits(at);
    at += how.has_asked_precision ? 1 : 0;
  }
  if (*at == 'z') {
    how.length = Directive::Length::kSize;
    ++at;
  } else if (*at == 'l') {
    ++at;
    how.length = *at == 'l' ? Directive::Length::kLongLong : Directive::Length::kLong;
    at += *at == 'l' ? 1 : 0;
  }
  return how.width <= kMostDigits && how.precision <= kMostDigits;
}

__extension__ typedef unsigned __int128 Wide;

constexpr std::uint64_t kPowersOfTen[] = {1,      10,      100,      1000,      10000,
                                          100000, 1000000, 10000000, 100000000, 1000000000};

// The number of units of 10^-precision, rounded to the nearest, to the even one from half-way. It
// is exact: a double below 1e9 is less than 2^53 of some power of two.
std::uint64_t units_of(double number, std::uint64_t power) {
  constexpr int kMantissaBits = 53;
  constexpr int kProductBits = kMantissaBits + 30;
  int exponent = 0;
  const double fraction = std::frexp(number, &exponent);
  const int shift = kMantissaBits - exponent;
  if (shift > kProductBits + 1) {
    return 0;
  }
  const auto mantissa = static_cast<std::uint64_t>(fraction * 0x1p53);
  const Wide product = static_cast<Wide>(mantissa) * power;
  const Wide half = static_cast<Wide>(1) << (shift - 1);
  const Wide rest = product & (2 * half - 1);
  const auto units = static_cast<std::uint64_t>(product >> shift);
  return rest > half || (rest == half && units % 2 != 0) ? units + 1 : units;
}

// As "%.*f" prints a number below 1e9, for a precision up to 9. Gives the end.
char* print_units(char* at, double number, int precision) {
  const std::uint64_t power = kPowersOfTen[precision];
  const std::uint64_t units = units_of(std::abs(number), power);
  if (std::signbit(number)) {
    *at++ = '-';
  }
  at = std::to_chars(at, at + 24, units / power).ptr;
  if (precision > 0) {
    // A one in front keeps the zeros that the digits begin with.
    char* const point = at;
    at = std::to_chars(at, at + 24, units % power + power).ptr;
    *point = '.';
  }
  return at;
}

template <typename Number>
std::string_view digits_of(Number number, char (&room)[24], int base) {
  const char* const end = std::to_chars(room, room + sizeof room, number, base).ptr;
  return {room, static_cast<std::size_t>(end - room)};
}

bool Printer::print(const char* format) {
  while (const char* const percent = std::strchr(format, '%')) {
    if (!put({format, static_cast<std::size_t>(percent - format)})) {
      return false;
    }
    format = percent + 1;
    if (!convert(format)) {
      return false;
    }
  }
  return put(format);
}

// On return `format` stands behind the conversion.
bool Printer::convert(const char*& format) {
  if (*format == '%') {
    ++format;
    return put("%");
  }
  Directive how;
  if (!read_directive(format, how)) {
    return false;
  }
  switch (*format++) {
    case 's':
      return convert_text(how);
    case 'd':
    case 'i':
      return convert_signed(how);
    case 'u':
      return convert_unsigned(how, 10, false);
    case 'x':
      return convert_unsigned(how, 16, false);
    case 'X':
      return convert_unsigned(how, 16, true);
    case 'f':
      return convert_double(how);
    case 'p':
      return convert_address(how);
    default:
      return false;
  }
}

bool Printer::convert_text(const Directive& how) {
  if (how.has_zeros || how.length != Directive::Length::kNone) {
    return false;
  }
  const int precision = how.has_asked_precision ? va_arg(m_args, int) : how.precision;
  const char* const text = va_arg(m_args, const char*);
  if (text == nullptr) {
    return false;
  }
  const auto room = static_cast<std::size_t>(m_end - m_at) + 1;  // one more is too long, too
  const std::size_t most =
      precision < 0 ? room : std::min(room, static_cast<std::size_t>(precision));
  return put_padded({text, ::strnlen(text, most)}, how);
}

bool Printer::convert_signed(const Directive& how) {
  if (how.precision >= 0) {
    return false;
  }
  char digits[24];
  switch (how.length) {
    case Directive::Length::kNone:
      return put_number(digits_of(va_arg(m_args, int), digits, 10), how);
    case Directive::Length::kLong:
      return put_number(digits_of(va_arg(m_args, long), digits, 10), how);
    case Directive::Length::kLongLong:
      return put_number(digits_of(va_arg(m_args, long long), digits, 10), how);
    case Directive::Length::kSize:
      return put_number(digits_of(va_arg(m_args, ssize_t), digits, 10), how);
  }
  return false;
}

bool Printer::convert_unsigned(const Directive& how, int base, bool is_upper) {
  if (how.precision >= 0) {
    return false;
  }
  std::uint64_t number = 0;
  switch (how.length) {
    case Directive::Length::kNone:
      number = va_arg(m_args, unsigned int);
      break;
    case Directive::Length::kLong:
      number = va_arg(m_args, unsigned long);
      break;
    case Directive::Length::kLongLong:
      number = va_arg(m_args, unsigned long long);
      break;
    case Directive::Length::kSize:
      number = va_arg(m_args, std::size_t);
      break;
  }
  char digits[24];
  const std::string_view made = digits_of(number, digits, base);
  if (is_upper) {
    std::transform(made.begin(), made.end(), digits,
                   [](char digit) { return digit >= 'a' ? static_cast<char>(digit - 32) : digit; });
  }
  return put_number(made, how);
}

bool Printer::convert_address(const Directive& how) {
  if (how.has_zeros || how.precision >= 0 || how.length != Directive::Length::kNone) {
    return false;
  }
  const auto address = reinterpret_cast<std::uintptr_t>(va_arg(m_args, void*));
  if (address == 0) {
    return put_padded("(nil)", how);
  }
  char digits[26] = {'0', 'x'};
  const char* const end = std::to_chars(digits + 2, digits + sizeof digits, address, 16).ptr;
  return put_padded({digits, static_cast<std::size_t>(end - digits)}, how);
}

bool Printer::convert_double(const Directive& how) {
  constexpr double kMost = 1e15;
  constexpr int kUsualPrecision = 6;
  if (how.length != Directive::Length::kNone || how.has_asked_precision) {
    return false;
  }
  const double number = va_arg(m_args, double);
  // Not for numbers that are none, either: a comparison with those is false.
  if (!(std::abs(number) < kMost) || std::fegetround() != FE_TONEAREST ||
      std::strcmp(::nl_langinfo(RADIXCHAR), ".") != 0) {
    return false;
  }
  char digits[2 * kMostDigits];
  const int precision = how.precision < 0 ? kUsualPrecision : how.precision;
  const bool has_few_digits = std::abs(number) < 1e9 && precision <= 9;
  const char* const end = has_few_digits ? print_units(digits, number, precision)
                                         : std::to_chars(digits, digits + sizeof digits, number,
                                                         std::chars_format::fixed, precision)
                                               .ptr;
  return put_number({digits, static_cast<std::size_t>(end - digits)}, how);
}

bool Printer::put(std::string_view piece) {
  if (piece.size() > static_cast<std::size_t>(m_end - m_at)) {
    return false;
  }
  m_at += piece.copy(m_at, piece.size());
  return true;
}

bool Printer::put_padded(std::string_view piece, const Directive& how) {
  const auto width = static_cast<std::size_t>(how.width);
  const std::size_t padding = width > piece.size() ? width - piece.size() : 0;
  if (padding + piece.size() > static_cast<std::size_t>(m_end - m_at)) {
    return false;
  }
  if (how.is_left) {
    put(piece);
  }
  std::memset(m_at, ' ', padding);
  m_at += padding;
  return how.is_left || put(piece);
}

// Zeros stand between the sign and the digits.
bool Printer::put_number(std::string_view digits, const Directive& how) {
  if (!how.has_zeros || how.is_left) {
    return put_padded(digits, how);
  }
  const auto width = static_cast<std::size_t>(how.width);
  const std::size_t padding = width > digits.size() ? width - digits.size() : 0;
  if (padding + digits.size() > static_cast<std::size_t>(m_end - m_at)) {
    return false;
  }
  if (digits.front() == '-') {
    put("-");
    digits.remove_prefix(1);
  }
  std::memset(m_at, '0', padding);
  m_at += padding;
  return put(digits);
}

}  // namespace

std::optional<std::size_t> fast_printf(char* text, std::size_t room, const char* format,
                                       std::va_list args) {
  Printer printer(text, room, args);
  return printer.print(format) ? std::optional(printer.size()) : std::nullopt;
}

}  // namespace fwbase
