// formats COUNT [SEED]: random formats with random values. IRunLog::FormatStr must make of them
// what snprintf makes, to the byte.
#include <fwbase/irunlog.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

namespace {

using Text = std::unique_ptr<char[]>;

constexpr std::size_t kRoom = 1023;  // as FormatStr cuts

long found = 0;

template <typename... Values>
void compare(const std::string& format, Values... values) {
  const Text ours(fwbase::IRunLog::FormatStr(format.c_str(), values...));
  char theirs[1024] = {};
  std::snprintf(theirs, kRoom, format.c_str(), values...);
  if (ours == nullptr || std::memcmp(ours.get(), theirs, sizeof theirs) != 0) {
    std::fprintf(stderr, "formats: \"%s\"\n  is    \"%s\"\n  ought \"%s\"\n", format.c_str(),
                 ours.get(), theirs);
    ++found;
  }
}

class Formats {
 public:
  explicit Formats(unsigned int seed) : m_random(seed) {}

  void compare_one() {
    const std::string before = literal();
    switch (pick(4)) {
      case 0:
        return add_value(before);
      case 1:
        return with_value(
            [&](const std::string& one, auto value) { add_value(before + one, value); });
      case 2:
        return compare(before);
      default:
        return with_value(
            [&](const std::string& one, auto value) { compare(before + one + literal(), value); });
    }
  }

 private:
  template <typename... Values>
  void add_value(const std::string& before, Values... values) {
    with_value([&](const std::string& one, auto value) {
      compare(before + one + literal(), values..., value);
    });
  }

  std::size_t pick(std::size_t count) { return m_random() % count; }

  bool rarely() { return pick(8) == 0; }

  std::string literal() {
    static constexpr std::string_view kPieces[] = {"",   "",         "a",         " is ",
                                                   "%%", "\xC4\xE3", "100 %% of "};
    std::string text(kPieces[pick(std::size(kPieces))]);
    return pick(200) == 0 ? text + std::string(pick(1100), 'x') : text;
  }

  // Flags, a width and a precision, such as "-08.3"; mostly none.
  std::string directive(bool has_precision) {
    static constexpr std::string_view kFlags[] = {"-", "0", "-0", "+", " ", "#", "'", "0-", "I"};
    std::string text = rarely() ? std::string(kFlags[pick(std::size(kFlags))]) : "";
    text += rarely() ? std::to_string(1 + pick(pick(20) == 0 ? 1200 : 40)) : "";
    if (has_precision && pick(2) == 0) {
      text += "." + (rarely() ? std::string() : std::to_string(pick(pick(20) == 0 ? 400 : 12)));
    }
    return text;
  }

  template <typename Number>
  Number integer() {
    const std::uint64_t bits = m_random();
    switch (pick(4)) {
      case 0:
        return static_cast<Number>(bits % 100);
      case 1:
        return std::numeric_limits<Number>::max();
      case 2:
        return std::numeric_limits<Number>::min();
      default:
        return static_cast<Number>(bits);
    }
  }

  double real() {
    static constexpr double kSpecial[] = {0.0,       -0.0, 0.5,    1.5,           2.5,   0.125,
                                          -0.0004,   1e15, -1e15,  1e22,          1e300, INFINITY,
                                          -INFINITY, NAN,  5e-324, 999999.9999995};
    const double small = static_cast<double>(static_cast<std::int64_t>(m_random())) / 1e12;
    switch (pick(4)) {
      case 0:
        return kSpecial[pick(std::size(kSpecial))];
      case 1:
        return small;
      case 2:
        return std::ldexp(small, static_cast<int>(pick(400)) - 200);
      default:
        return static_cast<double>(pick(100000)) / 8;  // exactly between two decimals, often
    }
  }

  // Calls use(format, value).
  template <typename Use>
  void with_value(Use use) {
    static constexpr char kSigned[] = "di";
    static constexpr char kUnsigned[] = "uxXo";
    static constexpr char kReal[] = "fffffFeg";
    const std::string flags = "%" + directive(rarely());
    switch (pick(9)) {
      case 0:
        return use(flags + kSigned[pick(2)], integer<int>());
      case 1:
        return use(flags + "l" + kSigned[pick(2)], integer<long>());
      case 2:
        return use(flags + kUnsigned[pick(4)], integer<unsigned int>());
      case 3:
        return use(flags + "ll" + kUnsigned[pick(4)], integer<unsigned long long>());
      case 4:
        return use(flags + "z" + kUnsigned[pick(4)], integer<std::size_t>());
      case 5:
        return use("%" + directive(true) + kReal[pick(8)], real());
      case 6:
        return use(flags + "p", reinterpret_cast<const void*>(pick(3) == 0 ? 0 : m_random()));
      case 7:
        return use(flags + (rarely() ? "hhd" : "c"), static_cast<int>(1 + pick(255)));
      default:
        return use("%" + directive(true) + "s", text());
    }
  }

  const char* text() {
    if (pick(50) == 0) {
      return nullptr;
    }
    m_text.assign(pick(pick(30) == 0 ? 1200 : 30), static_cast<char>('a' + pick(26)));
    return m_text.c_str();
  }

  std::mt19937_64 m_random;
  std::string m_text;
};

}  // namespace

int main(int argc, char** argv) {
  const long count = argc >= 2 ? std::atol(argv[1]) : 0;
  if (count <= 0) {
    std::fprintf(stderr, "formats: usage: formats COUNT [SEED]\n");
    return 2;
  }
  const unsigned int seed =
      argc > 2 ? static_cast<unsigned int>(std::atol(argv[2])) : std::random_device()();
  std::printf("seed %u\n", seed);
  Formats formats(seed);
  for (long i = 0; i < count && found < 10; ++i) {
    formats.compare_one();
  }
  std::printf("%ld formats, %ld differences\n", count, found);
  return found == 0 ? 0 : 1;
}
