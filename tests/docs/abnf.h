// Matches bytes against a grammar in ABNF (RFC 5234 and the %s of RFC 7405), with backtracking.
#ifndef FWBASE_TESTS_DOCS_ABNF_H
#define FWBASE_TESTS_DOCS_ABNF_H

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fwbase::test {

/// What the rules matched, by their names; where a rule matched several times, the last time.
using AbnfMatch = std::map<std::string, std::string>;

class Abnf {
 public:
  /// Knows SP, CR, LF, DIGIT and the rules of `grammar`. Throws std::runtime_error when that cannot
  /// be read.
  explicit Abnf(const std::string& grammar);
  ~Abnf();
  Abnf(const Abnf&) = delete;
  Abnf& operator=(const Abnf&) = delete;

  /// Matches the whole text. Repetitions take as much as they can, alternatives are tried in order.
  std::optional<AbnfMatch> match(const std::string& rule, const std::string& text) const;

  struct Node;

 private:
  std::map<std::string, std::shared_ptr<const Node>> m_rules;
};

}  // namespace fwbase::test

#endif
