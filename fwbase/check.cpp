// Checking a script: what the reader finds, and what loading accepts but hardly anybody means.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <tuple>

#include <fwbase/check.h>
#include <utility/element.h>

#include "fwbase/cfwbase.h"
#include "fwbase/script/document.h"
#include "fwbase/script/reader.h"
#include "fwbase/script/warnings.h"
#include "utility/text_codec.h"

namespace fwbase {

namespace {

/// An empty engine with these functions.
class EmptyEngine final : public script::Surroundings {
 public:
  explicit EmptyEngine(const script::Signatures* signatures) : m_signatures(signatures) {}

  const script::Signatures* signatures() const override { return m_signatures; }

 private:
  const script::Signatures* m_signatures;
};

std::string why_unreadable(const char* path) {
  struct stat status {};
  if (stat(path, &status) != 0) {
    return std::strerror(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return "it is not a regular file";
  }
  return access(path, R_OK) != 0 ? std::strerror(errno) : "it could not be read to its end";
}

Finding unreadable(const std::string& why, ec::EC code) {
  return {true, 1, 1, "unreadable", "the file cannot be read: " + why, code};
}

Finding malformed(const script::Document& document) {
  const std::string& why = document.refusal();
  return {true,
          static_cast<int>(document.stopped().line),
          static_cast<int>(document.stopped().column),
          "malformed",
          why.empty() ? "the document is beyond the limits of a script" : why,
          ec::SCRIPT_E_LOAD};
}

std::vector<Finding> shown(std::vector<script::Finding> findings) {
  std::stable_sort(findings.begin(), findings.end(),
                   [](const script::Finding& a, const script::Finding& b) {
                     return std::tuple(a.place.line, a.place.column, std::string_view(a.rule)) <
                            std::tuple(b.place.line, b.place.column, std::string_view(b.rule));
                   });
  std::vector<Finding> all;
  for (const script::Finding& one : findings) {
    all.push_back({one.is_error, static_cast<int>(one.place.line),
                   static_cast<int>(one.place.column), one.rule, utility::to_utf8_text(one.message),
                   one.code});
  }
  return all;
}

std::vector<Finding> findings_of(const script::Document& document, const CheckOptions& options) {
  const script::Signatures registered =
      static_cast<CFWBase*>(IFWBase::instance())->built_in_script().signatures();
  const script::Signatures* const signatures = options.any_function ? nullptr : &registered;
  EmptyEngine engine(signatures);
  script::Program program;
  std::vector<script::Finding> findings = script::find_mistakes(document, engine, program);
  for (script::Finding& one : script::find_warnings(document, signatures, options.environment)) {
    findings.push_back(std::move(one));
  }
  return shown(std::move(findings));
}

}  // namespace

std::vector<Finding> check_script(const char* path) { return check_script(path, {}); }

std::vector<Finding> check_script(const char* path, const CheckOptions& options) {
  if (path == nullptr || *path == '\0') {
    return {unreadable("it has no name", ec::SCRIPT_E_PARAM)};
  }
  script::Document document;
  std::string bytes;
  switch (document.load(path, bytes)) {
    case utility::XEC_OK:
      return findings_of(document, options);
    case utility::XEC_PARSE:
      return {malformed(document)};
    case utility::XEC_NO_MEMORY:
      if (IFWBase::instance()->script() != nullptr) {
        throw std::bad_alloc();
      }
      return {unreadable("the library is not in service", ec::SCRIPT_E_LOAD)};
    default:
      return {unreadable(why_unreadable(path), ec::SCRIPT_E_LOAD)};
  }
}

}  // namespace fwbase
