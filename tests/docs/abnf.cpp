#include "tests/docs/abnf.h"

#include <algorithm>
#include <bitset>
#include <cctype>
#include <functional>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace fwbase::test {

using NodePtr = std::shared_ptr<const Abnf::Node>;

struct Abnf::Node {
  enum class Kind { kText, kBytes, kRule, kSequence, kChoice, kRepeat };

  Kind kind{};
  std::string text;         // of kText; the name of kRule
  bool exact_case = false;  // of kText
  std::bitset<256> bytes;
  std::vector<NodePtr> parts;  // of kSequence, kChoice; the one of kRepeat
  std::size_t least = 0;
  std::size_t most = 0;
};

namespace {

using Node = Abnf::Node;

NodePtr byte_range(unsigned int first, unsigned int last) {
  Node node{Node::Kind::kBytes, {}, {}, {}, {}, {}, {}};
  for (unsigned int byte = first; byte <= last; ++byte) {
    node.bytes.set(byte);
  }
  return std::make_shared<Node>(node);
}

NodePtr repeated(NodePtr part, std::size_t least, std::size_t most) {
  return std::make_shared<Node>(
      Node{Node::Kind::kRepeat, {}, {}, {}, {std::move(part)}, least, most});
}

/// Alternatives of bytes are one set of bytes.
NodePtr choice_of(std::vector<NodePtr> parts) {
  Node node{Node::Kind::kBytes, {}, {}, {}, {}, {}, {}};
  for (const NodePtr& part : parts) {
    if (part->kind != Node::Kind::kBytes) {
      node.kind = Node::Kind::kChoice;
    }
    node.bytes |= part->bytes;
  }
  if (parts.size() == 1) {
    return parts.front();
  }
  node.parts = std::move(parts);
  return std::make_shared<Node>(node);
}

NodePtr sequence_of(std::vector<NodePtr> parts) {
  return parts.size() == 1 ? parts.front()
                           : std::make_shared<const Node>(
                                 Node{Node::Kind::kSequence, {}, {}, {}, std::move(parts), {}, {}});
}

/// Reads the right-hand side of a rule.
class Reader {
 public:
  explicit Reader(const std::string& text) : m_text(text) {}

  NodePtr whole() {
    NodePtr node = choice();
    if (m_at != m_text.size()) {
      throw std::runtime_error("not ABNF: " + m_text.substr(m_at));
    }
    return node;
  }

 private:
  NodePtr choice() {
    std::vector<NodePtr> parts{sequence()};
    while (take('/')) {
      parts.push_back(sequence());
    }
    return choice_of(std::move(parts));
  }

  NodePtr sequence() {
    std::vector<NodePtr> parts;
    skip_blanks();
    while (m_at < m_text.size() && std::string("/)]").find(m_text[m_at]) == std::string::npos) {
      parts.push_back(repetition());
      skip_blanks();
    }
    return sequence_of(std::move(parts));
  }

  NodePtr repetition() {
    const std::optional<std::size_t> least = number(10);
    if (!least && peek() != '*') {
      return element();
    }
    if (peek() != '*') {
      return repeated(element(), *least, *least);
    }
    ++m_at;
    const std::size_t most = number(10).value_or(std::numeric_limits<std::size_t>::max());
    return repeated(element(), least.value_or(0), most);
  }

  NodePtr element() {
    if (take('(')) {
      NodePtr node = choice();
      expect(')');
      return node;
    }
    if (take('[')) {
      NodePtr node = repeated(choice(), 0, 1);
      expect(']');
      return node;
    }
    if (take('%')) {
      return take('s') ? quoted(true) : bytes();
    }
    return peek() == '"' ? quoted(false) : rule();
  }

  NodePtr quoted(bool exact_case) {
    expect('"');
    const std::size_t end = m_text.find('"', m_at);
    Node node{Node::Kind::kText, m_text.substr(m_at, end - m_at), exact_case, {}, {}, {}, {}};
    m_at = end == std::string::npos ? m_text.size() : end;
    expect('"');
    return std::make_shared<Node>(node);
  }

  NodePtr bytes() {
    expect('x');
    const std::size_t first = number(16).value();
    const std::size_t last = take('-') ? number(16).value() : first;
    return byte_range(static_cast<unsigned int>(first), static_cast<unsigned int>(last));
  }

  NodePtr rule() {
    const std::size_t start = m_at;
    while (std::isalnum(static_cast<unsigned char>(peek())) != 0 || peek() == '-') {
      ++m_at;
    }
    if (m_at == start) {
      throw std::runtime_error("not ABNF: " + m_text.substr(start));
    }
    const std::string name = m_text.substr(start, m_at - start);
    return std::make_shared<Node>(Node{Node::Kind::kRule, name, {}, {}, {}, {}, {}});
  }

  std::optional<std::size_t> number(int base) {
    std::size_t length = 0;
    const char c = peek();
    if (base == 16 ? std::isxdigit(static_cast<unsigned char>(c)) == 0
                   : std::isdigit(static_cast<unsigned char>(c)) == 0) {
      return std::nullopt;
    }
    const std::size_t value = std::stoul(m_text.substr(m_at), &length, base);
    m_at += length;
    return value;
  }

  char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

  bool take(char c) {
    skip_blanks();
    if (peek() != c) {
      return false;
    }
    ++m_at;
    return true;
  }

  void expect(char c) {
    if (!take(c)) {
      throw std::runtime_error("not ABNF: " + m_text.substr(m_at));
    }
  }

  void skip_blanks() { m_at = std::min(m_text.find_first_not_of(' ', m_at), m_text.size()); }

  const std::string m_text;
  std::size_t m_at = 0;
};

/// The rules of a grammar as their names and right-hand sides, comments and line ends removed.
std::vector<std::pair<std::string, std::string>> rules_of(const std::string& grammar) {
  std::vector<std::pair<std::string, std::string>> rules;
  std::istringstream in(grammar);
  for (std::string line; std::getline(in, line);) {
    line.erase(std::min(line.find(';'), line.size()));
    const std::size_t equals = line.find(" = ");
    if (line.empty()) {
      continue;
    }
    if (line.front() == ' ' && !rules.empty()) {
      rules.back().second += line;
    } else if (equals == std::string::npos) {
      throw std::runtime_error("not ABNF: " + line);
    } else {
      rules.emplace_back(line.substr(0, line.find(' ')), line.substr(equals + 3));
    }
  }
  return rules;
}

/// One attempt to match a text.
class Matcher {
 public:
  using Rules = std::map<std::string, NodePtr>;
  using Next = std::function<bool(std::size_t)>;

  Matcher(const Rules& rules, const std::string& text) : m_rules(rules), m_text(text) {}

  /// Whether the node matches at `at` so that `next` agrees with what is left.
  bool match(const Node& node, std::size_t at, const Next& next) {
    switch (node.kind) {
      case Node::Kind::kText:
        return has_text(node, at) && next(at + node.text.size());
      case Node::Kind::kBytes:
        return has_byte(node, at) && next(at + 1);
      case Node::Kind::kRule:
        return match_rule(node, at, next);
      case Node::Kind::kSequence:
        return match_sequence(node, 0, at, next);
      case Node::Kind::kChoice:
        for (const NodePtr& part : node.parts) {
          if (match(*part, at, next)) {
            return true;
          }
        }
        return false;
      case Node::Kind::kRepeat:
        return match_repeat(node, at, next);
    }
    return false;
  }

  AbnfMatch found() const {
    AbnfMatch match;
    for (const auto& [name, range] : m_found) {
      match[name] = m_text.substr(range.first, range.second - range.first);
    }
    return match;
  }

 private:
  bool has_text(const Node& node, std::size_t at) const {
    if (m_text.size() - at < node.text.size()) {
      return false;
    }
    for (std::size_t i = 0; i < node.text.size(); ++i) {
      const auto wanted = static_cast<unsigned char>(node.text[i]);
      const auto given = static_cast<unsigned char>(m_text[at + i]);
      if (node.exact_case ? wanted != given : std::tolower(wanted) != std::tolower(given)) {
        return false;
      }
    }
    return true;
  }

  bool has_byte(const Node& node, std::size_t at) const {
    return at < m_text.size() && node.bytes.test(static_cast<unsigned char>(m_text[at]));
  }

  bool match_rule(const Node& node, std::size_t at, const Next& next) {
    return match(*m_rules.at(node.text), at, [&](std::size_t end) {
      m_found.emplace_back(node.text, std::make_pair(at, end));
      if (next(end)) {
        return true;
      }
      m_found.pop_back();
      return false;
    });
  }

  bool match_sequence(const Node& node, std::size_t index, std::size_t at, const Next& next) {
    if (index == node.parts.size()) {
      return next(at);
    }
    return match(*node.parts[index], at,
                 [&](std::size_t end) { return match_sequence(node, index + 1, end, next); });
  }

  bool match_repeat(const Node& node, std::size_t at, const Next& next) {
    const Node& part = resolved(*node.parts.front());
    return part.kind == Node::Kind::kBytes ? match_run(node, part, at, next)
                                           : match_again(node, 0, at, next);
  }

  bool match_again(const Node& node, std::size_t count, std::size_t at, const Next& next) {
    const bool more = count < node.most && match(*node.parts.front(), at, [&](std::size_t end) {
                        return end > at && match_again(node, count + 1, end, next);
                      });
    return more || (count >= node.least && next(at));
  }

  // Long runs of bytes take no recursion.
  bool match_run(const Node& node, const Node& part, std::size_t at, const Next& next) {
    std::size_t count = 0;
    while (count < node.most && has_byte(part, at + count)) {
      ++count;
    }
    for (;; --count) {
      if (count < node.least) {
        return false;
      }
      if (next(at + count)) {
        return true;
      }
      if (count == 0) {
        return false;
      }
    }
  }

  const Node& resolved(const Node& node) const {
    return node.kind == Node::Kind::kRule ? resolved(*m_rules.at(node.text)) : node;
  }

  const Rules& m_rules;
  const std::string& m_text;
  std::vector<std::pair<std::string, std::pair<std::size_t, std::size_t>>> m_found;
};

}  // namespace

Abnf::Abnf(const std::string& grammar) {
  m_rules["SP"] = byte_range(' ', ' ');
  m_rules["CR"] = byte_range('\r', '\r');
  m_rules["LF"] = byte_range('\n', '\n');
  m_rules["DIGIT"] = byte_range('0', '9');
  for (const auto& [name, definition] : rules_of(grammar)) {
    if (!m_rules.emplace(name, Reader(definition).whole()).second) {
      throw std::runtime_error("defined twice: " + name);
    }
  }
}

Abnf::~Abnf() = default;

std::optional<AbnfMatch> Abnf::match(const std::string& rule, const std::string& text) const {
  Matcher matcher(m_rules, text);
  AbnfMatch found;
  const bool matches = matcher.match(*m_rules.at(rule), 0, [&](std::size_t end) {
    if (end != text.size()) {
      return false;
    }
    found = matcher.found();
    return true;
  });
  return matches ? std::optional(found) : std::nullopt;
}

}  // namespace fwbase::test
