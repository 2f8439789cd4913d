// Turns mistakes and warnings into findings for hosts, and says why a file cannot be read at all.
#include "fwbase/script/findings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <tuple>
#include <unordered_set>

#include <fwbase/ifwbase.h>
#include <utility/element.h>

#include "fwbase/script/warnings.h"
#include "utility/text_codec.h"

namespace fwbase::script {

namespace {

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

fwbase::Finding unreadable(const std::string& why, ec::EC code) {
  return {true, 1, 1, "unreadable", "the file cannot be read: " + why, code};
}

fwbase::Finding malformed(const Document& document) {
  const std::string& why = document.refusal();
  return {true,
          static_cast<int>(document.stopped().line),
          static_cast<int>(document.stopped().column),
          "malformed",
          why.empty() ? "the document is beyond the limits of a script" : why,
          ec::SCRIPT_E_LOAD};
}

bool is_about_the_same(const fwbase::Finding& told, const Finding& one) {
  return told.line == static_cast<int>(one.place.line) &&
         told.column == static_cast<int>(one.place.column) && told.rule == one.rule;
}

std::vector<fwbase::Finding> shown(std::vector<Finding> findings) {
  std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
    return std::tuple(a.place.line, a.place.column, std::string_view(a.rule)) <
           std::tuple(b.place.line, b.place.column, std::string_view(b.rule));
  });
  std::vector<fwbase::Finding> all;
  std::unordered_set<std::string_view> told;  // of one rule, at one place
  for (const Finding& one : findings) {
    if (all.empty() || !is_about_the_same(all.back(), one)) {
      told.clear();
    }
    if (!told.insert(one.message).second) {
      continue;  // parameters with the same tag have the same argument
    }
    all.push_back({one.is_error, static_cast<int>(one.place.line),
                   static_cast<int>(one.place.column), one.rule, utility::to_utf8_text(one.message),
                   one.code});
  }
  return all;
}

std::vector<fwbase::Finding> findings_in(const Document& document, const Signatures* signatures,
                                         const std::vector<std::string>& environment) {
  EmptyEngine engine(signatures);
  std::vector<Finding> findings = find_mistakes(document, engine);
  for (Finding& one : find_warnings(document, signatures, environment)) {
    findings.push_back(std::move(one));
  }
  return shown(std::move(findings));
}

}  // namespace

std::vector<fwbase::Finding> findings_of(const char* path, const Document& document,
                                         unsigned int code, const Signatures* signatures,
                                         const std::vector<std::string>& environment) {
  switch (code) {
    case utility::XEC_OK:
      return findings_in(document, signatures, environment);
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

fwbase::Finding nameless() { return unreadable("it has no name", ec::SCRIPT_E_PARAM); }

}  // namespace fwbase::script
