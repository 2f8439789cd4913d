#include "script_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <utility/xml.h>

namespace fwrun {

namespace {

using utility::CElement;

typedef std::vector<CElement> Elements;

// Frees the document when the scope ends.
class Document {
 public:
  Document() { m_xml.init(); }
  ~Document() { m_xml.release(); }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  utility::CXml& xml() { return m_xml; }

 private:
  utility::CXml m_xml;
};

Elements children(const CElement& parent, const char* name) {
  Elements found;
  parent.get_child_element(name, found);
  return found;
}

Elements children(const CElement& parent) {
  Elements found;
  parent.get_all_child_element(found);
  return found;
}

std::string attribute(const CElement& element, const char* name) {
  std::string value;
  element.get_attr(name, value);
  return value;
}

Parameter read_parameter(const CElement& element) {
  Parameter parameter{attribute(element, "tag"), attribute(element, "type"), {}};
  if (attribute(element, "must") == "false") {
    const bool is_int = parameter.type == "int";
    parameter.default_value = element.has_attr("defaultval") ? attribute(element, "defaultval")
                                                             : std::string(is_int ? "0" : "");
  }
  return parameter;
}

Function read_function(const CElement& element) {
  Function function{attribute(element, "name"), {}};
  for (const CElement& child : children(element, "param")) {
    function.parameters.push_back(read_parameter(child));
  }
  return function;
}

ScriptCall read_call(const std::string& function, const CElement& arguments) {
  ScriptCall call{function, {}, arguments.get_child_text("ret")};
  for (const CElement& child : children(arguments)) {
    const std::string tag = child.get_element_name();
    if (tag != "ret" && tag != "params") {
      const bool is_variable = child.has_child_element("ref");
      call.arguments.push_back(
          {tag, is_variable ? child.get_child_text("ref") : child.get_text(), is_variable});
    }
  }
  return call;
}

Section read_section(const CElement& element) {
  Section section{attribute(element, "name"), {}};
  for (const CElement& child : children(element)) {
    const std::string function = child.get_element_name();
    const Elements sets = children(child, "params");
    for (const CElement& set : sets) {
      section.calls.push_back(read_call(function, set));
    }
    if (sets.empty()) {
      section.calls.push_back(read_call(function, child));
    }
  }
  return section;
}

void read_process(const CElement& process, ScriptFile& script) {
  for (const CElement& data : children(process, "Data")) {
    for (const CElement& var : children(data, "var")) {
      script.variables.push_back(
          {attribute(var, "name"), attribute(var, "type"), attribute(var, "value")});
    }
  }
  for (const CElement& exec : children(process, "Exec")) {
    for (const CElement& section : children(exec, "section")) {
      script.sections.add(read_section(section));
    }
  }
}

void read_root(const CElement& root, ScriptFile& script) {
  for (const CElement& group : children(root, "template")) {
    for (const CElement& function : children(group, "Func")) {
      script.functions.add(read_function(function));
    }
  }
  for (const CElement& process : children(root, "Process")) {
    const std::string name = attribute(process, "name");
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
  Document document;
  CElement root;
  if (document.xml().load(path) != 0 || document.xml().get_root_element(root) != 0) {
    why =
        "it is not well-formed XML (xmllint --noout tells the line), has more than the limits "
        "allow, or refers to an entity of another file, which is not read: its text must stand "
        "in the script";
    return false;
  }
  if (root.get_element_name() != "korvid") {
    why = "its root element is '" + root.get_element_name() + "', not 'korvid'";
    return false;
  }
  read_root(root, script);
  return true;
}

std::string reason_unreadable(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    return std::strerror(errno);
  }
  struct stat status {};
  const bool is_file = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  close(descriptor);
  return is_file ? "" : "it is not a regular file";
}

}  // namespace fwrun
