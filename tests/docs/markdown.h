// Reads the documentation as it is printed: its sections, tables and blocks of code.
#ifndef FWBASE_TESTS_DOCS_MARKDOWN_H
#define FWBASE_TESTS_DOCS_MARKDOWN_H

#include <string>
#include <utility>
#include <vector>

namespace fwbase::test {

/// The cells of a row, without blanks around them.
using TableRow = std::vector<std::string>;

class MarkdownPage {
 public:
  /// Reads a file of the source tree, such as "docs/threads.md". Throws std::runtime_error when
  /// there is none.
  explicit MarkdownPage(const std::string& file);

  const std::string& text() const { return m_text; }

  /// The part under the heading with this text, up to the next heading of the same or a higher
  /// level. Throws std::runtime_error when there is no such heading.
  MarkdownPage section(const std::string& heading) const;

  /// The contents of all fenced blocks of a language, in order.
  std::vector<std::string> blocks(const std::string& language) const;

  /// The rows of the first table, without its head. Throws std::runtime_error without a table.
  std::vector<TableRow> table() const;

  /// All blocks of code, fenced ones with their fences and indented ones, in order.
  std::vector<std::string> code_blocks() const;

  /// The headings' texts, in order.
  std::vector<std::string> headings() const;

  /// The headings' levels, in order: 1 for a title.
  std::vector<std::size_t> heading_levels() const;

  /// The lines that are not code, tables included.
  std::string prose() const;

  /// The targets of the links, in order; those within code do not count.
  std::vector<std::string> links() const;

 private:
  MarkdownPage() = default;

  std::string m_name;
  std::string m_text;
};

/// The texts between backticks, in order.
std::vector<std::string> code_spans(const std::string& text);

/// The anchor that a forge makes for a heading.
std::string anchor_of(const std::string& heading);

/// The path of a file of the source tree.
std::string source_path(const std::string& file);

}  // namespace fwbase::test

#endif
