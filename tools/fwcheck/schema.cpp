// --print xsd: an XML Schema 1.0, for validators, and for editors, which offer what fits.
//
// XML Schema 1.0 has one type for all elements of the same name and parent. So a "Func" and its
// "param" may have what any function declares, while the arguments of a call are exact.
#include <algorithm>
#include <set>

#include "printing.h"

namespace fwcheck {

namespace {

constexpr char kHead[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema">

  <xs:element name="korvid">
    <xs:complexType>
      <xs:sequence>
        <xs:element name="template" type="template" minOccurs="0" maxOccurs="unbounded"/>
        <xs:element name="Process" type="Process"/>
        <xs:choice minOccurs="0" maxOccurs="unbounded">
          <xs:element name="template" type="template"/>
          <xs:element name="Process" type="Process"/>
        </xs:choice>
      </xs:sequence>
      <xs:attributeGroup ref="xml"/>
    </xs:complexType>
    <xs:key name="functions">
      <xs:selector xpath="template/Func"/>
      <xs:field xpath="@name"/>
    </xs:key>
    <!-- Each call has the attribute by default: the name of what must be declared. -->
    <xs:keyref name="calls" refer="functions">
      <xs:selector xpath="Process/Exec/section/*"/>
      <xs:field xpath="@function"/>
    </xs:keyref>
    <xs:unique name="sections">
      <xs:selector xpath="Process/Exec/section"/>
      <xs:field xpath="@name"/>
    </xs:unique>
    <xs:unique name="variables">
      <xs:selector xpath="Process/Data/var"/>
      <xs:field xpath="@name"/>
    </xs:unique>
  </xs:element>

  <xs:attributeGroup name="xml">
    <xs:anyAttribute namespace="http://www.w3.org/XML/1998/namespace" processContents="lax"/>
  </xs:attributeGroup>

  <xs:complexType name="template">
    <xs:sequence>
      <xs:element name="Func" type="Func" minOccurs="0" maxOccurs="unbounded">
        <xs:unique name="tags">
          <xs:selector xpath="param"/>
          <xs:field xpath="@tag"/>
        </xs:unique>
      </xs:element>
    </xs:sequence>
    <xs:attributeGroup ref="xml"/>
  </xs:complexType>

  <xs:simpleType name="type">
    <xs:restriction base="xs:string">
      <xs:enumeration value="int"/>
      <xs:enumeration value="string"/>
    </xs:restriction>
  </xs:simpleType>

  <xs:simpleType name="must">
    <xs:restriction base="xs:string">
      <xs:enumeration value="true"/>
      <xs:enumeration value="false"/>
    </xs:restriction>
  </xs:simpleType>

  <xs:complexType name="param">
    <xs:attribute name="tag" type="tag" use="required"/>
    <xs:attribute name="type" type="type" use="required"/>
    <xs:attribute name="must" type="must"/>
    <xs:attribute name="defaultval" type="xs:string"/>
    <xs:attributeGroup ref="xml"/>
  </xs:complexType>

  <xs:complexType name="Process">
    <xs:choice minOccurs="0" maxOccurs="unbounded">
      <xs:element name="Data" type="Data"/>
      <xs:element name="Exec" type="Exec"/>
    </xs:choice>
    <xs:attribute name="name" type="xs:string" fixed="" use="required"/>
    <xs:attributeGroup ref="xml"/>
  </xs:complexType>

  <xs:complexType name="Data">
    <xs:sequence>
      <xs:element name="var" type="var" minOccurs="0" maxOccurs="unbounded"/>
    </xs:sequence>
    <xs:attributeGroup ref="xml"/>
  </xs:complexType>

  <xs:complexType name="var">
    <xs:attribute name="name" type="xs:string" use="required"/>
    <xs:attribute name="type" type="type" use="required"/>
    <xs:attribute name="value" type="xs:string" use="required"/>
    <xs:attributeGroup ref="xml"/>
  </xs:complexType>

  <xs:complexType name="Exec">
    <xs:sequence>
      <xs:element name="section" type="section" minOccurs="0" maxOccurs="unbounded"/>
    </xs:sequence>
    <xs:attributeGroup ref="xml"/>
  </xs:complexType>

  <xs:complexType name="variable">
    <xs:simpleContent>
      <xs:extension base="name">
        <xs:attributeGroup ref="xml"/>
      </xs:extension>
    </xs:simpleContent>
  </xs:complexType>

  <xs:simpleType name="name">
    <xs:restriction base="xs:string">
      <xs:pattern value="[\s\S]*\S[\s\S]*"/>
    </xs:restriction>
  </xs:simpleType>

  <!-- A text, or the value of a variable. -->
  <xs:complexType name="argument" mixed="true">
    <xs:sequence>
      <xs:element name="ref" type="variable" minOccurs="0"/>
    </xs:sequence>
    <xs:attributeGroup ref="xml"/>
  </xs:complexType>
)";

/// A child of a set of arguments.
struct Child {
  std::string tag;
  bool must;
};

typedef std::vector<Child> Children;

// With all orders of more children than this the schema would be too long to be useful.
constexpr std::size_t kMostInAllOrders = 5;

bool is_ascii_name_start(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// Whether an element can have the name. It has no colon, which would begin another namespace. Most
// characters beyond ASCII are fine.
bool is_element_name(const std::string& text) {
  const auto is_part = [](char c) {
    return is_ascii_name_start(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           static_cast<unsigned char>(c) >= 0x80;
  };
  return !text.empty() &&
         (is_ascii_name_start(text[0]) || static_cast<unsigned char>(text[0]) >= 0x80) &&
         std::all_of(text.begin(), text.end(), is_part);
}

bool is_callable(const Function& function) {
  return is_element_name(function.name) &&
         std::all_of(function.parameters.begin(), function.parameters.end(),
                     [](const Parameter& one) { return is_element_name(one.tag); });
}

std::string indented(std::size_t depth) { return std::string(2 * depth, ' '); }

std::string occurs(bool must) { return must ? "" : " minOccurs=\"0\""; }

std::string element(const Child& child, bool must, std::size_t depth) {
  return indented(depth) + "<xs:element name=\"" + child.tag + "\" type=\"" +
         (child.tag == "ret" ? "variable" : "argument") + "\"" + occurs(must) + "/>\n";
}

// The children in any order, each once, or at most once when it is optional.
std::string in_all_orders(const Children& children, std::size_t depth) {
  if (children.empty()) {
    return "";
  }
  if (children.size() == 1) {
    return element(children[0], children[0].must, depth);
  }
  const bool must =
      std::any_of(children.begin(), children.end(), [](const Child& one) { return one.must; });
  std::string text = indented(depth) + "<xs:choice" + occurs(must) + ">\n";
  for (std::size_t i = 0; i < children.size(); ++i) {
    Children rest = children;
    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(i));
    text += indented(depth + 1) + "<xs:sequence>\n" + element(children[i], true, depth + 2) +
            in_all_orders(rest, depth + 2) + indented(depth + 1) + "</xs:sequence>\n";
  }
  return text + indented(depth) + "</xs:choice>\n";
}

// As many children as are allowed, even if one comes twice.
std::string in_any_number(const Children& children, std::size_t depth) {
  const auto required = static_cast<std::size_t>(
      std::count_if(children.begin(), children.end(), [](const Child& one) { return one.must; }));
  std::string text = indented(depth) + "<xs:choice minOccurs=\"" + std::to_string(required) +
                     "\" maxOccurs=\"" + std::to_string(children.size()) + "\">\n";
  for (const Child& child : children) {
    text += element(child, true, depth + 1);
  }
  return text + indented(depth) + "</xs:choice>\n";
}

// The children of a set of arguments. A tag that comes twice is one element.
Children children_of(const Function& function) {
  Children children;
  std::set<std::string> tags = {"ret"};
  for (const Parameter& parameter : function.parameters) {
    if (tags.insert(parameter.tag).second) {
      children.push_back({parameter.tag, !parameter.default_value});
    }
  }
  children.push_back({"ret", false});
  return children;
}

std::string call_types(const Function& function) {
  const Children children = children_of(function);
  const std::string& name = function.name;
  std::string text = "\n  <xs:group name=\"arguments-of-" + name + "\">\n    <xs:sequence>\n";
  text +=
      children.size() <= kMostInAllOrders ? in_all_orders(children, 3) : in_any_number(children, 3);
  text += "    </xs:sequence>\n  </xs:group>\n\n";
  text += "  <xs:complexType name=\"set-of-" + name + "\">\n    <xs:group ref=\"arguments-of-" +
          name + "\"/>\n    <xs:attributeGroup ref=\"xml\"/>\n  </xs:complexType>\n\n";
  text += "  <xs:complexType name=\"call-of-" + name + "\">\n    <xs:choice>\n";
  text += "      <xs:element name=\"params\" type=\"set-of-" + name +
          "\" maxOccurs=\"unbounded\"/>\n      <xs:group ref=\"arguments-of-" + name +
          "\"/>\n    </xs:choice>\n";
  text += "    <xs:attribute name=\"function\" type=\"xs:string\" fixed=\"" + name +
          "\"/>\n    <xs:attributeGroup ref=\"xml\"/>\n  </xs:complexType>\n";
  return text;
}

std::string call_element(const Function& function) {
  std::string text =
      "      <xs:element name=\"" + function.name + "\" type=\"call-of-" + function.name + "\"";
  if (function.description.empty()) {
    return text + "/>\n";
  }
  return text + ">\n        <xs:annotation>\n          <xs:documentation>" +
         xml_value(function.description) +
         "</xs:documentation>\n        </xs:annotation>\n      </xs:element>\n";
}

std::string section_type(const std::vector<Function>& functions) {
  std::string calls;
  for (const Function& function : functions) {
    calls += is_callable(function) ? call_element(function) : "";
  }
  std::string text = "\n  <xs:complexType name=\"section\">\n";
  if (!calls.empty()) {
    text +=
        "    <xs:choice minOccurs=\"0\" maxOccurs=\"unbounded\">\n" + calls + "    </xs:choice>\n";
  }
  return text +
         "    <xs:attribute name=\"name\" type=\"xs:string\" use=\"required\"/>\n"
         "    <xs:attributeGroup ref=\"xml\"/>\n  </xs:complexType>\n";
}

std::string enumeration(const std::string& name, const std::set<std::string>& values) {
  std::string text =
      "\n  <xs:simpleType name=\"" + name + "\">\n    <xs:restriction base=\"xs:string\">\n";
  for (const std::string& value : values) {
    text += "      <xs:enumeration value=\"" + xml_value(value) + "\"/>\n";
  }
  if (values.empty()) {
    text += "      <xs:length value=\"0\"/>\n";
  }
  return text + "    </xs:restriction>\n  </xs:simpleType>\n";
}

std::string func_type(const std::vector<Function>& functions) {
  std::set<std::string> names;
  std::set<std::string> tags;
  std::size_t most = 0;
  for (const Function& function : functions) {
    names.insert(function.name);
    most = std::max(most, function.parameters.size());
    for (const Parameter& parameter : function.parameters) {
      tags.insert(parameter.tag);
    }
  }
  std::string text = enumeration("function", names) + enumeration("tag", tags);
  text += "\n  <xs:complexType name=\"Func\">\n";
  if (most > 0) {
    text +=
        "    <xs:sequence>\n      <xs:element name=\"param\" type=\"param\" minOccurs=\"0\" "
        "maxOccurs=\"" +
        std::to_string(most) + "\"/>\n    </xs:sequence>\n";
  }
  return text +
         "    <xs:attribute name=\"name\" type=\"function\" use=\"required\"/>\n"
         "    <xs:attributeGroup ref=\"xml\"/>\n  </xs:complexType>\n";
}

}  // namespace

std::string schema_text(const std::vector<Function>& functions) {
  std::string text = kHead + func_type(functions) + section_type(functions);
  for (const Function& function : functions) {
    text += is_callable(function) ? call_types(function) : "";
  }
  return text + "\n</xs:schema>\n";
}

}  // namespace fwcheck
