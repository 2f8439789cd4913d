#include "script_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <utility/element.h>

#include "fwbase/script/document.h"
#include "support/messages.h"
#include "utility/xml_platform.h"

namespace fwrun {

namespace {

using fwbase::script::Document;

/// An element that is asked by names.
class Element {
 public:
  Element(const Document& document, Document::Element element)
      : m_document(&document), m_element(element) {}

  std::string name() const { return m_element.name(); }
  Place place() const { return {m_element.place().line, m_element.place().column}; }

  /// Empty where it has none, or one that cannot be converted.
  std::string text() const {
    std::string_view text;
    return m_element.text(text) == utility::XEC_OK ? std::string(text) : "";
  }

  bool has_attribute(const char* name) const {
    const std::optional<Document::NameId> id = m_document->find_name(name);
    return id && m_element.has_attribute(*id);
  }

  /// Likewise.
  std::string attribute(const char* name) const {
    const std::optional<Document::NameId> id = m_document->find_name(name);
    std::string_view value;
    return id && m_element.attribute(*id, value) == utility::XEC_OK ? std::string(value) : "";
  }

  std::vector<Element> children() const {
    std::vector<Element> all;
    for (const Document::Element child : m_element.children()) {
      all.emplace_back(*m_document, child);
    }
    return all;
  }

  std::vector<Element> children(const std::string& name) const {
    std::vector<Element> found;
    for (const Element& child : children()) {
      if (child.name() == name) {
        found.push_back(child);
      }
    }
    return found;
  }

  /// The text of the first child of that name; none without one.
  std::optional<std::string> child_text(const std::string& name) const {
    const std::vector<Element> found = children(name);
    return found.empty() ? std::nullopt : std::optional(found.front().text());
  }

 private:
  const Document* m_document;
  Document::Element m_element;
};

typedef std::vector<Element> Elements;

// This program's own use of the XML library, beside the shared library's.
class XmlPlatform {
 public:
  XmlPlatform() : m_is_started(utility::start_xml_platform()) {}
  ~XmlPlatform() {
    if (m_is_started) {
      utility::stop_xml_platform();
    }
  }
  XmlPlatform(const XmlPlatform&) = delete;
  XmlPlatform& operator=(const XmlPlatform&) = delete;

 private:
  const bool m_is_started;
};

Parameter read_parameter(const Element& element) {
  Parameter parameter{element.attribute("tag"), element.attribute("type"), {}};
  if (element.attribute("must") == "false") {
    const bool is_int = parameter.type == "int";
    parameter.default_value = element.has_attribute("defaultval") ? element.attribute("defaultval")
                                                                  : std::string(is_int ? "0" : "");
  }
  return parameter;
}

Function read_function(const Element& element) {
  Function function{element.attribute("name"), {}};
  for (const Element& child : element.children("param")) {
    function.parameters.push_back(read_parameter(child));
  }
  return function;
}

ScriptCall read_call(const std::string& function, const Element& arguments) {
  ScriptCall call{function, {}, arguments.child_text("ret").value_or(""), arguments.place()};
  for (const Element& child : arguments.children()) {
    const std::string tag = child.name();
    if (tag != "ret" && tag != "params") {
      const std::optional<std::string> variable = child.child_text("ref");
      call.arguments.push_back({tag, variable ? *variable : child.text(), variable.has_value()});
    }
  }
  return call;
}

Section read_section(const Element& element) {
  Section section{element.attribute("name"), {}};
  for (const Element& child : element.children()) {
    const std::string function = child.name();
    const Elements sets = child.children("params");
    for (const Element& set : sets) {
      section.calls.push_back(read_call(function, set));
    }
    if (sets.empty()) {
      section.calls.push_back(read_call(function, child));
    }
  }
  return section;
}

void read_process(const Element& process, ScriptFile& script) {
  for (const Element& data : process.children("Data")) {
    for (const Element& var : data.children("var")) {
      script.variables.push_back(
          {var.attribute("name"), var.attribute("type"), var.attribute("value")});
    }
  }
  for (const Element& exec : process.children("Exec")) {
    for (const Element& section : exec.children("section")) {
      script.sections.add(read_section(section));
    }
  }
}

void read_root(const Element& root, ScriptFile& script) {
  for (const Element& group : root.children("template")) {
    for (const Element& function : group.children("Func")) {
      script.functions.add(read_function(function));
    }
  }
  for (const Element& process : root.children("Process")) {
    const std::string name = process.attribute("name");
    if (name.empty()) {
      read_process(process, script);
    } else {
      script.other_processes.push_back(name);
    }
  }
}

}  // namespace

bool read_script_file(const std::string& path, ScriptFile& script, std::string& why) {
  why = reason_unreadable(path);
  if (!why.empty()) {
    return false;
  }
  const XmlPlatform platform;
  Document document;
  std::string bytes;
  if (document.load(path, bytes) != utility::XEC_OK) {
    why = tools::in_users_language(
        {"it is not well-formed XML, or beyond the limits of a script; fwcheck tells the place",
         "它不是格式良好的 XML，或超出了脚本的限制；fwcheck 会指出位置"});
    return false;
  }
  const Element root(document, document.root());
  if (root.name() != "korvid") {
    why = tools::in_users_language(
        {"its root element is '{1}', not 'korvid'", "它的根元素是“{1}”，不是“korvid”"},
        {root.name()});
    return false;
  }
  read_root(root, script);
  return true;
}

std::string reason_unreadable(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    return tools::reason_of(errno);
  }
  struct stat status {};
  const bool is_file = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  close(descriptor);
  return is_file ? "" : tools::in_users_language({"it is not a regular file", "它不是普通文件"});
}

}  // namespace fwrun
