#include "tests/docs/markdown.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/harness/temp_dir.h"

namespace fwbase::test {

namespace {

constexpr const char* kFence = "```";

std::vector<std::string> lines_of(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// 0 for a line that is no heading.
std::size_t heading_level(const std::string& line) {
  const std::size_t level = std::min(line.find_first_not_of('#'), line.size());
  return level > 0 && level < line.size() && line[level] == ' ' ? level : 0;
}

/// Calls `visit(line, in_code)` for each line; fences count as code.
template <typename Visit>
void for_each_line(const std::string& text, Visit visit) {
  bool in_block = false;
  for (const std::string& line : lines_of(text)) {
    const bool is_fence = line.starts_with(kFence);
    in_block = in_block != is_fence;
    visit(line, in_block || is_fence || line.starts_with("    "));
  }
}

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  const std::size_t last = text.find_last_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

/// "| a | `b|c` |" as "a" and "`b|c`".
TableRow cells_of(const std::string& line) {
  TableRow cells;
  std::string cell;
  bool in_code = false;
  for (const char c : line.substr(1)) {
    in_code = in_code != (c == '`');
    if (c == '|' && !in_code) {
      cells.push_back(trimmed(cell));
      cell.clear();
    } else {
      cell += c;
    }
  }
  return cells;
}

std::string without_code_spans(const std::string& text) {
  std::string plain;
  bool in_code = false;
  for (const char c : text) {
    in_code = in_code != (c == '`');
    if (!in_code && c != '`') {
      plain += c;
    }
  }
  return plain;
}

}  // namespace

MarkdownPage::MarkdownPage(const std::string& file) : m_name(file) {
  if (!std::filesystem::is_regular_file(source_path(file))) {
    throw std::runtime_error("there is no " + file);
  }
  m_text = read_file(source_path(file));
}

MarkdownPage MarkdownPage::section(const std::string& heading) const {
  MarkdownPage found;
  found.m_name = m_name + ", " + heading;
  std::size_t level = 0;
  for_each_line(m_text, [&](const std::string& line, bool in_code) {
    const std::size_t here = in_code ? 0 : heading_level(line);
    if (level != 0 && here != 0 && here <= level) {
      level = 0;
    }
    if (level != 0) {
      found.m_text += line + "\n";
    } else if (here != 0 && line.substr(here + 1) == heading) {
      level = here;
    }
  });
  if (found.m_text.empty()) {
    throw std::runtime_error(m_name + " has no section " + heading);
  }
  return found;
}

std::vector<std::string> MarkdownPage::blocks(const std::string& language) const {
  std::vector<std::string> found;
  bool inside = false;
  for (const std::string& line : lines_of(m_text)) {
    if (!inside && line == kFence + language) {
      inside = true;
      found.emplace_back();
    } else if (line == kFence) {
      inside = false;
    } else if (inside) {
      found.back() += line + "\n";
    }
  }
  return found;
}

std::vector<std::string> MarkdownPage::code_blocks() const {
  std::vector<std::string> found;
  bool inside = false;
  for_each_line(m_text, [&](const std::string& line, bool in_code) {
    if (in_code && !inside) {
      found.emplace_back();
    }
    if (in_code) {
      found.back() += line + "\n";
    }
    inside = in_code;
  });
  return found;
}

std::vector<TableRow> MarkdownPage::table() const {
  std::vector<TableRow> rows;
  bool ended = false;
  for_each_line(m_text, [&](const std::string& line, bool in_code) {
    const bool is_row = !in_code && line.starts_with('|');
    ended = ended || (!rows.empty() && !is_row);
    if (is_row && !ended) {
      rows.push_back(cells_of(line));
    }
  });
  if (rows.size() < 3) {
    throw std::runtime_error(m_name + " has no table with rows");
  }
  rows.erase(rows.begin(), rows.begin() + 2);
  return rows;
}

std::vector<std::string> MarkdownPage::headings() const {
  std::vector<std::string> found;
  for_each_line(m_text, [&](const std::string& line, bool in_code) {
    if (const std::size_t level = in_code ? 0 : heading_level(line)) {
      found.push_back(line.substr(level + 1));
    }
  });
  return found;
}

std::vector<std::size_t> MarkdownPage::heading_levels() const {
  std::vector<std::size_t> found;
  for_each_line(m_text, [&](const std::string& line, bool in_code) {
    if (const std::size_t level = in_code ? 0 : heading_level(line)) {
      found.push_back(level);
    }
  });
  return found;
}

std::string MarkdownPage::prose() const {
  std::string found;
  for_each_line(
      m_text, [&](const std::string& line, bool in_code) { found += in_code ? "" : line + "\n"; });
  return found;
}

std::vector<std::string> MarkdownPage::links() const {
  const std::string text = without_code_spans(prose());
  std::vector<std::string> found;
  for (std::size_t at = text.find("]("); at != std::string::npos; at = text.find("](", at)) {
    at += 2;
    found.push_back(text.substr(at, text.find(')', at) - at));
  }
  return found;
}

std::vector<std::string> code_spans(const std::string& text) {
  std::vector<std::string> spans;
  for (std::size_t at = text.find('`'); at != std::string::npos;) {
    const std::size_t end = text.find('`', at + 1);
    if (end == std::string::npos) {
      break;
    }
    spans.push_back(text.substr(at + 1, end - at - 1));
    at = text.find('`', end + 1);
  }
  return spans;
}

std::string anchor_of(const std::string& heading) {
  std::string anchor;
  for (const char c : heading) {
    if (c == ' ') {
      anchor += '-';
    } else if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_') {
      anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return anchor;
}

std::string source_path(const std::string& file) {
  return std::string(FWBASE_SOURCE_DIR) + "/" + file;
}

}  // namespace fwbase::test
