// Findings as text, JSON and SARIF.
#ifndef FWCHECK_REPORT_H
#define FWCHECK_REPORT_H

#include <cstddef>
#include <string>
#include <vector>

#include <fwbase/check.h>

#include "options.h"

namespace fwcheck {

/// Collects findings and writes them.
class Report {
 public:
  explicit Report(Format format) : m_format(format) {}

  void add(const std::string& file, const std::vector<fwbase::Finding>& findings);

  /// Writes all findings, and for text their number to standard error. Complains when that fails,
  /// and returns false.
  bool write() const;

  std::size_t errors() const { return m_errors; }
  std::size_t warnings() const { return m_all.size() - m_errors; }

 private:
  struct Located {
    std::string file;
    fwbase::Finding finding;
  };

  bool write_text() const;
  std::string json() const;
  std::string sarif() const;

  const Format m_format;
  std::vector<Located> m_all;
  std::size_t m_errors = 0;
};

}  // namespace fwcheck

#endif
