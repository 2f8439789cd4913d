// Walks over the document as loading does, with one function for each kind of element. Warns once
// about an element that loading ignores, and does not look into it.
#include "fwbase/script/warnings.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <initializer_list>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include <utility/element.h>

namespace fwbase::script {

namespace {

using Element = Document::Element;

constexpr std::string_view kBlanks = " \t\n\v\f\r";

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

std::string lower(std::string_view text) {
  std::string all(text);
  std::transform(all.begin(), all.end(), all.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return all;
}

// The number of edits that make one text of the other.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) {
    row[j] = j;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] != b[j] ? 1 : 0);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

// "; did you mean "value"?", or nothing when no name is similar. Does not compare long names: they
// are no slip of the fingers, and a file may have many.
std::string suggestion(std::string_view name, const std::vector<std::string>& known) {
  constexpr std::size_t kLongest = 64;
  const std::string written = lower(name);
  const std::string* nearest = nullptr;
  std::size_t least = std::min<std::size_t>(2, name.size() / 2) + 1;
  for (const std::string& one : known) {
    if (one.size() > kLongest || written.size() > kLongest) {
      continue;
    }
    const std::size_t found = distance(written, lower(one));
    if (found < least) {
      least = found;
      nearest = &one;
    }
  }
  return nearest != nullptr ? "; did you mean " + quoted(*nearest) + "?" : "";
}

bool belongs_to_xml(std::string_view attribute) {
  return attribute == "xmlns" || attribute.starts_with("xmlns:") || attribute.starts_with("xsi:") ||
         attribute.starts_with("xml:");
}

/// A function as the file declares it, to check its calls.
struct Declaration {
  struct Param {
    std::string_view tag;
    std::optional<IScript::VType> type;  ///< none when the declaration is wrong
  };

  Element func;
  std::string name;
  std::vector<Param> params;
  std::unordered_map<std::string_view, std::size_t> by_tag;  // in params
  bool is_sound = true;      ///< false when the reader has found a mistake in it
  bool has_all_tags = true;  ///< false when an unknown argument may be meant for a parameter
  bool is_called = false;
};

// The names that an argument set may have, for suggestions. At most kMost: more would be slow.
std::vector<std::string> names_in(const Declaration& declaration) {
  constexpr std::size_t kMost = 50;
  std::vector<std::string> names = {"params", "ret"};
  for (const Declaration::Param& one : declaration.params) {
    if (names.size() < kMost) {
      names.emplace_back(one.tag);
    }
  }
  return names;
}

class Walk {
 public:
  Walk(const Document& document, const Signatures* signatures,
       const std::vector<std::string>& environment)
      : m_document(document),
        m_signatures(signatures),
        m_given(environment.begin(), environment.end()) {}

  std::vector<Finding> findings();

 private:
  void walk_root(const Element& root);
  void walk_template(const Element& element);
  void walk_func(const Element& func);
  void walk_param(const Element& param, Declaration& declaration);
  void walk_default(const Element& param);
  void walk_process(const Element& process);
  void walk_data(const Element& data);
  void walk_var(const Element& var);
  void walk_exec(const Element& exec);
  void walk_section(const Element& section);
  void walk_call(const Element& call);
  void walk_sets(const Element& call, const Declaration& declaration);
  void walk_set(const Element& set, const Declaration& declaration);
  void walk_argument(const Element& argument, std::optional<IScript::VType> type);
  void walk_literal(const Element& argument, std::optional<IScript::VType> type);
  void walk_ref_argument(const Element& argument);
  void walk_name(const Element& element);

  void note_results(const Element& call);
  void find_unset_variables();
  void find_stale_declarations();
  bool is_stale(const Declaration& declaration) const;

  void expect_attributes(const Element& element, const std::vector<std::string>& known);
  void expect_no_text(const Element& element);
  void expect_no_children(const Element& element);
  void ignored_text(const Element& element);
  void ignored_content(const Element& element, const std::string& why);
  void unknown_element(const Element& element, const std::vector<std::string>& known);
  void bad_int(const Element& element, std::string_view text);
  void warn(Place place, const char* rule, std::string message) {
    m_findings.push_back({false, place, rule, std::move(message), 0});
  }

  std::optional<std::string_view> attribute(const Element& element, const char* name) const {
    const std::optional<Document::NameId> id = m_document.find_name(name);
    std::string_view value;
    return id && element.attribute(*id, value) == utility::XEC_OK ? std::optional(value)
                                                                  : std::nullopt;
  }

  static bool has_child(const Element& parent, std::string_view name) {
    for (const Element child : parent.children()) {
      if (child.name() == name) {
        return true;
      }
    }
    return false;
  }

  struct Reference {
    Place place;
    std::string_view name;
  };

  const Document& m_document;
  const Signatures* const m_signatures;
  std::unordered_map<std::string_view, std::size_t> m_by_name;  // in m_declarations
  std::vector<Declaration> m_declarations;
  std::unordered_set<std::string_view> m_variables;
  std::unordered_set<std::string_view> m_given;  // variables that a "ret" or the host sets
  std::vector<Reference> m_references;
  std::vector<Finding> m_findings;
};

std::vector<Finding> Walk::findings() {
  const Element root = m_document.root();
  if (root.name() != "korvid") {
    return {};
  }
  if (const std::optional<Place> doctype = m_document.doctype()) {
    warn(*doctype, "doctype", "scripts need no document type; remove it");
  }
  if (m_document.is_in_doubtful_encoding()) {
    warn({}, "suspect-encoding",
         "the file declares another encoding, but all of it is UTF-8; declare UTF-8");
  }
  walk_root(root);
  find_unset_variables();
  find_stale_declarations();
  return std::move(m_findings);
}

// Walks over the templates first, as loading does.
void Walk::walk_root(const Element& root) {
  expect_attributes(root, {});
  expect_no_text(root);
  for (const Element child : root.children()) {
    if (child.name() == "template") {
      walk_template(child);
    } else if (child.name() != "Process") {
      unknown_element(child, {"template", "Process"});
    }
  }
  for (const Element child : root.children()) {
    if (child.name() == "Process") {
      walk_process(child);
    }
  }
}

void Walk::walk_template(const Element& element) {
  expect_attributes(element, {});
  expect_no_text(element);
  for (const Element child : element.children()) {
    if (child.name() == "Func") {
      walk_func(child);
    } else {
      unknown_element(child, {"Func"});
    }
  }
}

void Walk::walk_func(const Element& func) {
  expect_attributes(func, {"name"});
  expect_no_text(func);
  const std::optional<std::string_view> name = attribute(func, "name");
  Declaration declaration{func, std::string(name.value_or("")), {}, {}, name.has_value(), true,
                          false};
  for (const Element child : func.children()) {
    if (child.name() == "param") {
      walk_param(child, declaration);
    } else {
      unknown_element(child, {"param"});
    }
  }
  if (name && m_by_name.emplace(*name, m_declarations.size()).second) {
    m_declarations.push_back(std::move(declaration));
  }
}

void Walk::walk_param(const Element& param, Declaration& declaration) {
  expect_attributes(param, {"tag", "type", "must", "defaultval"});
  expect_no_text(param);
  expect_no_children(param);
  const std::optional<std::string_view> tag = attribute(param, "tag");
  const std::optional<std::string_view> type = attribute(param, "type");
  Declaration::Param known{tag.value_or(""), std::nullopt};
  IScript::VType read = IScript::VT_INT;
  if (type && type_of(*type, read)) {
    known.type = read;
  }
  declaration.is_sound = declaration.is_sound && tag && known.type;
  declaration.has_all_tags = declaration.has_all_tags && tag;
  declaration.by_tag.emplace(known.tag, declaration.params.size());
  declaration.params.push_back(known);
  if (known.type == IScript::VT_INT) {
    walk_default(param);
  }
}

void Walk::walk_default(const Element& param) {
  const std::optional<std::string_view> left_out = attribute(param, "defaultval");
  if (attribute(param, "must") == "false" && left_out) {
    bad_int(param, *left_out);
  }
}

void Walk::walk_process(const Element& process) {
  const std::optional<std::string_view> name = attribute(process, "name");
  const std::optional<Document::NameId> id = m_document.find_name("name");
  if (!name && id && process.has_attribute(*id)) {
    return;  // of whatever name it is
  }
  if (name && !name->empty()) {
    warn(process.place(), "ignored-process",
         "the process " + quoted(*name) + " is ignored: only those with an empty name are read");
    return;
  }
  expect_attributes(process, {"name"});
  expect_no_text(process);
  for (const Element child : process.children()) {
    if (child.name() == "Data") {
      walk_data(child);
    } else if (child.name() == "Exec") {
      walk_exec(child);
    } else {
      unknown_element(child, {"Data", "Exec"});
    }
  }
}

void Walk::walk_data(const Element& data) {
  expect_attributes(data, {});
  expect_no_text(data);
  for (const Element child : data.children()) {
    if (child.name() == "var") {
      walk_var(child);
    } else {
      unknown_element(child, {"var"});
    }
  }
}

void Walk::walk_var(const Element& var) {
  expect_attributes(var, {"name", "type", "value"});
  expect_no_text(var);
  expect_no_children(var);
  const std::optional<std::string_view> name = attribute(var, "name");
  const std::optional<std::string_view> value = attribute(var, "value");
  if (name && !m_variables.insert(*name).second) {
    warn(var.place(), "duplicate-variable",
         "the variable " + quoted(*name) + " is there already; this value replaces the other");
  }
  if (value && attribute(var, "type") == "int") {
    bad_int(var, *value);
  }
}

void Walk::walk_exec(const Element& exec) {
  expect_attributes(exec, {});
  expect_no_text(exec);
  for (const Element child : exec.children()) {
    if (child.name() == "section") {
      walk_section(child);
    } else {
      unknown_element(child, {"section"});
    }
  }
}

void Walk::walk_section(const Element& section) {
  expect_attributes(section, {"name"});
  expect_no_text(section);
  for (const Element child : section.children()) {
    walk_call(child);
  }
}

void Walk::walk_call(const Element& call) {
  note_results(call);
  const auto found = m_by_name.find(call.name());
  if (found == m_by_name.end()) {
    return;
  }
  Declaration& declaration = m_declarations[found->second];
  declaration.is_called = true;
  if (m_signatures != nullptr && !m_signatures->contains(declaration.name)) {
    return;
  }
  expect_attributes(call, {});
  expect_no_text(call);
  walk_sets(call, declaration);
}

void Walk::walk_sets(const Element& call, const Declaration& declaration) {
  if (!has_child(call, "params")) {
    walk_set(call, declaration);
    return;
  }
  for (const Element child : call.children()) {
    if (child.name() == "params") {
      expect_attributes(child, {});
      expect_no_text(child);
      walk_set(child, declaration);
    } else {
      ignored_content(child, "it stands beside \"params\"");
    }
  }
}

void Walk::walk_set(const Element& set, const Declaration& declaration) {
  bool has_ret = false;
  std::unordered_set<std::string_view> seen;
  for (const Element child : set.children()) {
    if (child.name() == "ret") {
      if (has_ret) {
        ignored_content(child, "only the first \"ret\" counts");
      } else {
        walk_name(child);
      }
      has_ret = true;
      continue;
    }
    if (const auto found = declaration.by_tag.find(child.name());
        found != declaration.by_tag.end()) {
      const Declaration::Param& param = declaration.params[found->second];
      if (seen.insert(param.tag).second) {
        walk_argument(child, param.type);
      }
    } else if (declaration.has_all_tags) {
      unknown_element(child, names_in(declaration));
    }
  }
}

void Walk::walk_argument(const Element& argument, std::optional<IScript::VType> type) {
  expect_attributes(argument, {});
  if (has_child(argument, "ref")) {
    walk_ref_argument(argument);
  } else {
    walk_literal(argument, type);
  }
}

void Walk::walk_literal(const Element& argument, std::optional<IScript::VType> type) {
  for (const Element child : argument.children()) {
    unknown_element(child, {"ref"});
  }
  std::string_view text;
  if (argument.text(text) != utility::XEC_OK) {
    return;
  }
  if (text.empty() && argument.has_other_than_text()) {
    warn(argument.place(), "empty-argument",
         "nothing of " + quoted(argument.name()) +
             " is read, since it does not begin with plain text");
    return;
  }
  if (argument.has_later_text()) {
    ignored_text(argument);
  }
  if (type == IScript::VT_INT) {
    bad_int(argument, text);
  }
}

void Walk::walk_ref_argument(const Element& argument) {
  expect_no_text(argument);
  bool has_ref = false;
  for (const Element child : argument.children()) {
    if (child.name() != "ref") {
      ignored_content(child, "it stands beside a \"ref\"");
    } else if (has_ref) {
      ignored_content(child, "only the first \"ref\" counts");
    } else {
      has_ref = true;
      walk_name(child);
      std::string_view name;
      if (child.text(name) == utility::XEC_OK && !name.empty()) {
        m_references.push_back({child.place(), name});
      }
    }
  }
}

// A "ref" or a "ret".
void Walk::walk_name(const Element& element) {
  expect_attributes(element, {});
  expect_no_children(element);
  if (element.has_later_text()) {
    ignored_text(element);
  }
}

// Notes the variable that a "ret" names, whatever else is wrong with the call: it is not missing.
void Walk::note_results(const Element& call) {
  const auto note = [this](const Element& set) {
    for (const Element child : set.children()) {
      if (child.name() == "ret") {
        std::string_view name;
        if (child.text(name) == utility::XEC_OK) {
          m_given.insert(name);
        }
        return;
      }
    }
  };
  bool has_sets = false;
  for (const Element child : call.children()) {
    if (child.name() == "params") {
      has_sets = true;
      note(child);
    }
  }
  if (!has_sets) {
    note(call);
  }
}

void Walk::find_unset_variables() {
  for (const Reference& reference : m_references) {
    if (!m_given.contains(reference.name)) {
      const bool is_global = m_variables.contains(reference.name);
      warn(reference.place, "unset-variable",
           "no \"ret\" sets the variable " + quoted(reference.name) + " of the environment" +
               (is_global ? "; a \"ref\" does not read the global variables of \"Data\": the "
                            "functions load_int and load_string do"
                          : ""));
    }
  }
}

void Walk::find_stale_declarations() {
  if (m_signatures == nullptr) {
    return;
  }
  for (const Declaration& declaration : m_declarations) {
    if (declaration.is_called) {
      continue;
    }
    if (!m_signatures->contains(declaration.name)) {
      warn(declaration.func.place(), "stale-declaration",
           "nothing calls " + quoted(declaration.name) + ", and no host has it");
    } else if (is_stale(declaration)) {
      warn(declaration.func.place(), "stale-declaration",
           "nothing calls " + quoted(declaration.name) +
               ", and its parameters are not those of the host's function");
    }
  }
}

bool Walk::is_stale(const Declaration& declaration) const {
  const std::vector<IScript::VType>& types = m_signatures->find(declaration.name)->second;
  return declaration.is_sound &&
         !std::equal(
             types.begin(), types.end(), declaration.params.begin(), declaration.params.end(),
             [](IScript::VType host, const Declaration::Param& one) { return host == one.type; });
}

void Walk::expect_attributes(const Element& element, const std::vector<std::string>& known) {
  for (const std::string_view name : element.attribute_names()) {
    if (!belongs_to_xml(name) && std::find(known.begin(), known.end(), name) == known.end()) {
      warn(element.place(), "unknown-attribute",
           "nothing looks for the attribute " + quoted(name) + " of " + quoted(element.name()) +
               suggestion(name, known));
    }
  }
}

void Walk::expect_no_text(const Element& element) {
  std::string_view text;
  const bool is_read = element.text(text) == utility::XEC_OK;  // else it is some text, too
  if (element.has_later_text() || !is_read || !text.empty()) {
    ignored_text(element);
  }
}

void Walk::expect_no_children(const Element& element) {
  for (const Element child : element.children()) {
    unknown_element(child, {});
  }
}

void Walk::ignored_text(const Element& element) {
  warn(element.place(), "ignored-text", "text in " + quoted(element.name()) + " is ignored");
}

void Walk::ignored_content(const Element& element, const std::string& why) {
  warn(element.place(), "ignored-content", quoted(element.name()) + " is ignored: " + why);
}

void Walk::unknown_element(const Element& element, const std::vector<std::string>& known) {
  warn(element.place(), "unknown-element",
       "nothing looks for the element " + quoted(element.name()) + " here" +
           suggestion(element.name(), known));
}

void Walk::bad_int(const Element& element, std::string_view text) {
  if (!is_whole_number(text)) {
    warn(element.place(), "bad-int",
         quoted(text) + " is no whole number of 32 bits; " + std::to_string(int_of(text)) +
             " is read");
  }
}

}  // namespace

std::vector<Finding> find_warnings(const Document& document, const Signatures* signatures,
                                   const std::vector<std::string>& environment) {
  return Walk(document, signatures, environment).findings();
}

bool is_whole_number(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return false;
  }
  text = text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
  if (text.starts_with('+') && !text.starts_with("+-")) {
    text.remove_prefix(1);
  }
  std::int32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

}  // namespace fwbase::script
