// Collects findings in one list and writes it at the end, in the form that was asked for.
#include "report.h"

#include <set>

#include <nlohmann/json.hpp>

#include "command_line/parsing.h"
#include "findings/finding_text.h"
#include "output.h"

namespace fwcheck {

namespace {

using tools::severity;
using Json = nlohmann::ordered_json;

std::string dumped(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

// A path as a URI reference (RFC 3986).
std::string uri_of(const std::string& path) {
  std::string uri = path.starts_with("//") ? "/." : "";  // otherwise a host name would follow
  for (const char c : path) {
    const bool is_plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') ||
                          std::string("-._~/").find(c) != std::string::npos;
    if (is_plain) {
      uri += c;
    } else {
      constexpr char kDigits[] = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      uri += {'%', kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
  }
  return uri;
}

std::string counted(std::size_t count, const tools::Message& one, const tools::Message& several) {
  return tools::in_users_language(count == 1 ? one : several, {std::to_string(count)});
}

}  // namespace

void Report::add(const std::string& file, const std::vector<fwbase::Finding>& findings) {
  for (const fwbase::Finding& finding : findings) {
    m_all.push_back({file, finding});
    m_errors += finding.error ? 1 : 0;
  }
}

bool Report::write() const {
  switch (m_format) {
    case Format::kJson:
      return write_out(json());
    case Format::kSarif:
      return write_out(sarif());
    case Format::kText:
      break;
  }
  return write_text();
}

bool Report::write_text() const {
  const bool colour = wants_colour();
  std::string text;
  for (const auto& [file, finding] : m_all) {
    text += tools::finding_line(file, finding, colour);
  }
  if (!write_out(text)) {
    return false;
  }
  if (!m_all.empty()) {
    complain({"{1}, {2}", "{1}，{2}"},
             {counted(errors(), {"{1} error", "{1} 个错误"}, {"{1} errors", "{1} 个错误"}),
              counted(warnings(), {"{1} warning", "{1} 个警告"}, {"{1} warnings", "{1} 个警告"})});
  }
  return true;
}

std::string Report::json() const {
  Json all = Json::array();
  for (const auto& [file, finding] : m_all) {
    Json one;
    one["file"] = file;
    one["line"] = finding.line;
    one["column"] = finding.column;
    one["severity"] = severity(finding);
    one["rule"] = finding.rule;
    one["message"] = finding.message;
    if (finding.error) {
      one["code"] = ec::name(finding.code);
    }
    all.push_back(std::move(one));
  }
  return dumped(all);
}

std::string Report::sarif() const {
  std::set<std::string> rules;
  Json results = Json::array();
  for (const auto& [file, finding] : m_all) {
    rules.insert(finding.rule);
    Json place;
    place["physicalLocation"]["artifactLocation"]["uri"] = uri_of(file);
    place["physicalLocation"]["region"] = {{"startLine", finding.line},
                                           {"startColumn", finding.column}};
    Json one;
    one["ruleId"] = finding.rule;
    one["level"] = severity(finding);
    one["message"]["text"] = finding.message;
    one["locations"] = Json::array({std::move(place)});
    if (finding.error) {
      one["properties"]["code"] = ec::name(finding.code);
    }
    results.push_back(std::move(one));
  }
  Json driver;
  driver["name"] = "fwcheck";
  driver["version"] = tools::kVersion;
  driver["rules"] = Json::array();
  for (const std::string& rule : rules) {
    driver["rules"].push_back({{"id", rule}});
  }
  Json run;
  run["tool"]["driver"] = std::move(driver);
  run["columnKind"] = "unicodeCodePoints";
  run["results"] = std::move(results);
  Json all;
  all["$schema"] = "https://json.schemastore.org/sarif-2.1.0.json";
  all["version"] = "2.1.0";
  all["runs"] = Json::array({std::move(run)});
  return dumped(all);
}

}  // namespace fwcheck
