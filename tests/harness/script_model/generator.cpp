// A grammar of script files. Each element kind has a function; each choice takes a byte of the
// input, of which zero is the plain one.
#include "tests/harness/script_model/generator.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>
#include <vector>

#include "tests/harness/log_capture.h"

namespace fwbase::script_model {

namespace {

using fuzz::Input;

constexpr const char* kFunctionNames[] = {"f",   "g",      "h", "\xE5\x87\xBD\xE6\x95\xB0",
                                          "n:f", "section"};

struct DeclaredParam {
  std::string tag;
  bool is_int;
  bool must;
};

struct DeclaredFunction {
  std::string name;
  std::vector<DeclaredParam> params;
};

using Attributes = std::vector<std::pair<std::string, std::string>>;

}  // namespace

class ScriptGenerator::Grammar {
 public:
  explicit Grammar(Input& input) : m_input(input) {}

  std::string file() {
    m_mistakes = m_input.below(4);
    const unsigned int encoding = m_input.below(16);
    m_has_doctype = one_in(4);
    std::string body = doctype() + root() + trailer();
    return damaged(encoded_as(encoding, std::move(body)));
  }

 private:
  // --- Choices ---

  bool one_in(unsigned int count) { return m_input.below(count) == count - 1; }

  // Whether to do something wrong here: rarely, and as often as the file may have mistakes.
  bool mistake() {
    if (m_mistakes == 0 || !one_in(24)) return false;
    --m_mistakes;
    return true;
  }

  template <typename Choices>
  auto one_of(const Choices& choices) {
    return choices[m_input.below(static_cast<unsigned int>(std::size(choices)))];
  }
  std::string text_of(std::initializer_list<const char*> choices) {
    return std::data(choices)[m_input.below(static_cast<unsigned int>(choices.size()))];
  }

  // --- The document's frame ---

  std::string declaration(const std::string& encoding) {
    std::string text = mistake() ? "<?xml version='1.1'" : "<?xml version='1.0'";
    text += encoding.empty() ? "" : " encoding='" + encoding + "'";
    return text + (one_in(8) ? " standalone='yes'?>" : "?>");
  }

  // In an encoding that the file names or that its first bytes show, or in another one than that.
  std::string encoded_as(unsigned int encoding, std::string body) {
    switch (encoding) {
      case 8:
        return declaration("") + body;
      case 9:
        return declaration("UTF-8") + body;
      case 10:
        return "\xEF\xBB\xBF" + body;
      case 11:
        return "\xFF\xFE" + converted("UTF-16LE", declaration("UTF-16") + body);
      case 12:
        return "\xFE\xFF" + converted("UTF-16BE", body);
      case 13:
        return declaration("GBK") + converted("GBK", body);
      case 14:
        return declaration("ISO-8859-1") + converted("ISO-8859-1", body);
      case 15:
        return declaration(text_of({"US-ASCII", "UTF-16", "GBK", "x-none", "ISO-8859-15"})) + body;
      default:
        return body;
    }
  }

  static std::string converted(const char* encoding, const std::string& text) try {
    return test::encoded(encoding, text);
  } catch (const std::exception&) {
    return text;  // what the encoding lacks makes a file that is not what it says
  }

  std::string doctype() {
    if (!m_has_doctype) return "";
    std::string text = "<!DOCTYPE korvid";
    text += one_in(8) ? " SYSTEM 'other.dtd'" : "";
    text += " [\n";
    text += "<!ENTITY none ''><!ENTITY number '12'><!ENTITY text 'a&#38;b'>";
    text += "<!ENTITY nested '3&number;<!--c-->4'><!ENTITY name 'x'><!ENTITY ref '<ref>x</ref>'>";
    text += "<!ENTITY var '<var name=\"in\" type=\"int\" value=\"&number;\"/>'>";
    text += "<!ENTITY call '<f/><section/>'><!ENTITY blank ' \n '>";
    for (unsigned int count = m_input.below(6); count > 0; --count) text += markup_declaration();
    return text + "]>\n";
  }

  std::string markup_declaration() {
    switch (m_input.below(16)) {
      case 0:
        return "<!ATTLIST var type CDATA 'int'>";
      case 1:
        return "<!ATTLIST var value NMTOKENS ' 7  8 '>";
      case 2:
        return "<!ATTLIST param must (true|false) 'false' defaultval CDATA '&number;'>";
      case 3:
        return "<!ATTLIST param type CDATA #FIXED 'string'>";
      case 4:
        return "<!ATTLIST Process name CDATA ''>";
      case 5:
        return "<!ATTLIST section name ID #IMPLIED>";
      case 6:
        return "<!ATTLIST Func name NMTOKEN #REQUIRED>";
      case 7:
        return "<!ATTLIST var name CDATA 'from_dtd' other CDATA '1'>";
      case 8:
        return "<!ELEMENT korvid (template*,Process+)><!ELEMENT section ANY>";
      case 9:
        return "<!ELEMENT Data (var*)><!ELEMENT var EMPTY><!ELEMENT a (ref)>";
      case 10:
        return "<!NOTATION n SYSTEM 's'><!ENTITY picture SYSTEM 'p' NDATA n>";
      case 11:
        return "<!ENTITY % part '<!ENTITY late \"z\">'>%part;";
      case 12:
        return "<!-- comment --><?pi in the subset?>";
      case 13:
        return "<!ENTITY outside SYSTEM 'file'>";
      case 14:
        return many_declarations();
      default:
        return "<!ENTITY number '99'><!ENTITY quoted \"it's 'so'\">";
    }
  }

  // About as many as a document may have.
  std::string many_declarations() {
    if (!one_in(32)) return "";
    std::string text;
    for (unsigned int i = 4980 + m_input.below(40); i > 0; --i) {
      text += "<!ENTITY m" + std::to_string(i) + " ''>";
    }
    return text;
  }

  std::string trailer() { return one_in(8) ? text_of({"\n", "<!-- end -->", "<?end?>\r\n"}) : ""; }

  // --- The document ---

  std::string root() {
    const std::string name = mistake() ? text_of({"Korvid", "korvid2", "n:korvid", "x"}) : "korvid";
    std::string templates;
    for (unsigned int count = 1 + few(); count > 0; --count)
      templates += template_element() + noise();
    std::string processes;
    const unsigned int count = mistake() ? 0 : 1 + few();
    for (unsigned int i = 0; i < count; ++i) processes += process() + noise();
    const bool templates_last = one_in(8);
    return element(name, extra({}),
                   noise() + (templates_last ? processes + templates : templates + processes));
  }

  // Mostly 0, at most 2.
  unsigned int few() { return std::max(m_input.below(8), 5U) - 5; }

  std::string template_element() {
    std::string content = noise();
    for (unsigned int count = 1 + m_input.below(3); count > 0; --count) content += func() + noise();
    return element("template", extra({}), content);
  }

  std::string func() {
    DeclaredFunction function{new_name(kFunctionNames, m_declared_names), {}};
    std::string content = noise();
    for (unsigned int count = m_input.below(4); count > 0; --count) {
      content += param(function) + noise();
    }
    m_functions.push_back(function);
    Attributes attributes{{"name", function.name}};
    if (mistake()) attributes[0].second = "";
    if (mistake()) attributes.clear();
    return element(mistake() ? "func" : "Func", extra(attributes), content);
  }

  std::string param(DeclaredFunction& function) {
    static constexpr const char* kTags[] = {"a", "b", "c", "\xE6\xA0\x87", "n:d"};
    DeclaredParam declared{kTags[function.params.size() % std::size(kTags)], !one_in(3), true};
    if (one_in(4)) declared.tag = one_of(kTags);  // which may be another one's, too
    if (mistake()) declared.tag = text_of({"params", "ret", "", "ref", "no such name", "&none;"});
    Attributes attributes{{"tag", declared.tag}, {"type", declared.is_int ? "int" : "string"}};
    if (mistake()) attributes[1].second = text_of({"Int", "", " int", "float", "int&number;"});
    if (m_input.below(3) != 0) {
      declared.must = one_in(2);
      attributes.emplace_back("must", declared.must ? "true" : "false");
      if (mistake()) attributes[2].second = text_of({"TRUE", "", "0", "false ", "no"});
      if (one_in(2)) attributes.emplace_back("defaultval", attribute_text(declared.is_int));
    }
    if (mistake()) attributes.erase(attributes.begin() + m_input.below(2));
    function.params.push_back(declared);
    return element("param", extra(attributes), one_in(8) ? noise() : "");
  }

  std::string process() {
    Attributes attributes{{"name", one_in(6) ? text_of({"other", " ", "&none;", "&#32;"}) : ""}};
    if (mistake()) attributes.clear();
    std::string content = noise();
    for (unsigned int count = 1 + m_input.below(4); count > 0; --count) {
      content += (one_in(3) ? data() : exec()) + noise();
    }
    return element("Process", extra(attributes), content);
  }

  std::string data() {
    std::string content = noise();
    for (unsigned int count = m_input.below(4); count > 0; --count) content += var() + noise();
    return element("Data", extra({}), content);
  }

  std::string var() {
    const bool is_int = !one_in(3);
    Attributes attributes{{"name", one_of(kVariableNames)},
                          {"type", is_int ? "int" : "string"},
                          {"value", attribute_text(is_int)}};
    if (mistake()) attributes[1].second = text_of({"Int", "", "STRING", "int ", "float"});
    if (mistake()) attributes.erase(attributes.begin() + m_input.below(3));
    return element("var", extra(attributes), "");
  }

  std::string exec() {
    std::string content = noise();
    for (unsigned int count = 1 + few(); count > 0; --count) content += section() + noise();
    return element("Exec", extra({}), content);
  }

  std::string section() {
    Attributes attributes{{"name", new_name(kSectionNames, m_section_names)}};
    if (mistake()) attributes.clear();
    std::string content = noise_in_section();
    for (unsigned int count = m_input.below(6); count > 0; --count) {
      content += call() + noise_in_section();
    }
    return element("section", extra(attributes), content);
  }

  // --- Calls ---

  std::string call() {
    if (m_functions.empty()) return "";
    const DeclaredFunction& function =
        m_functions[m_input.below(static_cast<unsigned int>(m_functions.size()))];
    std::string content;
    if (one_in(3)) {
      for (unsigned int count = 1 + few(); count > 0; --count) {
        content += noise() + element("params", extra({}), argument_set(function));
      }
    } else {
      content = argument_set(function);
    }
    const std::string name =
        mistake() ? text_of({"nobody", "F", "params", "ret", "f2", "\xE4\xB8\xAD"}) : function.name;
    return element(name, extra({}), content);
  }

  std::string argument_set(const DeclaredFunction& function) {
    std::vector<std::string> parts;
    for (const DeclaredParam& param : function.params) {
      const bool left_out = param.must ? mistake() : one_in(2);
      if (!left_out) parts.push_back(argument(param));
      if (mistake()) parts.push_back(argument(param));
    }
    if (one_in(3)) parts.push_back(ret());
    if (one_in(8)) parts.push_back("<unknown>9<ref>y</ref></unknown>");
    if (one_in(16)) parts.push_back(ret());
    if (one_in(4)) std::reverse(parts.begin(), parts.end());
    std::string content = noise();
    for (const std::string& part : parts) content += part + noise();
    return content;
  }

  std::string argument(const DeclaredParam& param) {
    std::string content;
    if (one_in(3)) {
      content = one_in(3) ? argument_text(param.is_int) : "";
      content += element("ref", extra({}), name_text());
      content += one_in(6) ? element("ref", {}, name_text()) : "";
      content += one_in(6) ? argument_text(param.is_int) : "";
    } else {
      content = argument_text(param.is_int);
    }
    return element(param.tag.empty() || param.tag[0] == '&' ? "a" : param.tag, extra({}), content);
  }

  std::string ret() { return element("ret", extra({}), name_text()); }

  // --- Texts ---

  std::string entity(const char* name) {
    return m_has_doctype ? "&" + std::string(name) + ";" : "1";
  }

  std::string name_text() {
    if (mistake()) return text_of({"", " ", "<!--c-->x", "<![CDATA[x]]>", "<x/>", "\t\n"});
    switch (m_input.below(12)) {
      case 8:
        return " " + std::string(one_of(kVariableNames)) + "\n";
      case 9:
        return "x<![CDATA[y]]>";
      case 10:
        return "y<!--c-->z";
      case 11:
        return entity("name");
      default:
        return one_of(kVariableNames);
    }
  }

  std::string attribute_text(bool is_int) {
    switch (m_input.below(12)) {
      case 8:
        return "&lt;&#65;&amp;\n\t &quot;";
      case 9:
        return entity("number");
      case 10:
        return "\xE4\xBD\xA0\xF0\x9F\x98\x80";
      case 11:
        return is_int ? number() : long_text();
      default:
        return is_int ? number() : text_of({"text", "", " blanks ", "\xE4\xB8\xAD"});
    }
  }

  std::string number() {
    return text_of({"1", "-7", "12ab", " +5", "", "ab", "0x10", "2147483647", "2147483648",
                    "-2147483649", "99999999999999999999", "+-3", "1 2", "007"});
  }

  std::string argument_text(bool is_int) {
    const std::string plain =
        is_int ? number() : text_of({"text", "", " a  b ", "\xE6\x96\x87", "&lt;"});
    switch (m_input.below(24)) {
      case 10:
        return "<!--c-->" + plain;
      case 11:
        return "<![CDATA[" + text_of({"5", "", " &lt; "}) + "]]>" + plain;
      case 12:
        return plain + "<![CDATA[6<7]]>" + plain;
      case 13:
        return plain + "<!--c-->8";
      case 14:
        return plain + "<?pi?>8";
      case 15:
        return plain + "<x/>8";
      case 16:
        return plain + entity("nested") + "9";
      case 17:
        return entity(one_in(2) ? "none" : "number") + plain;
      case 18:
        return plain + entity("none") + plain;
      case 19:
        return entity("ref") + plain;
      case 20:
        return "\r\n" + plain + "\r" + entity("blank");
      case 21:
        return "&#49;&#x4E2D;" + plain + "&#13;";
      case 22:
        return long_text();
      case 23:
        return one_in(4) ? text_of({"&unknown;", "&outside;", "&picture;", "&late;"}) : "&amp;#49;";
      default:
        return plain;
    }
  }

  // Longer than a parser's buffers, with a character of several units near their ends.
  std::string long_text() {
    static constexpr std::size_t kSizes[] = {100, 1020, 4095, 8191, 16383, 32767, 49151};
    std::string text(one_of(kSizes) + m_input.below(4), one_in(8) ? '\n' : 'l');
    return text + text_of({"", "\xF0\x9F\x98\x80", "\r\n", "&amp;"}) + "end";
  }

  // What a reader passes over between elements; in a section each element is a call.
  std::string noise_in_section() {
    return mistake() ? noise() : text_of({"", "", "", "\n", "<!-- <f/> -->", "<?f?>", "5", "\r\n"});
  }

  std::string noise() {
    switch (m_input.below(32)) {
      case 16:
        return "\n  ";
      case 17:
        return "\r\n";
      case 18:
        return "<!-- <var/> -->";
      case 19:
        return "<?pi <section?>";
      case 20:
        return "text 5";
      case 21:
        return "<![CDATA[<f/>]]>";
      case 22:
        return m_has_doctype ? entity(one_of(kEntities)) : "\t";
      case 23:
        return element("unknown", extra({}), "<var name='q'/><ref/>");
      case 24:
        return one_in(32) ? nested(one_in(2) ? 100 : 990 + m_input.below(16)) : "";
      default:
        return "";
    }
  }

  // About as deep as elements may be nested.
  static std::string nested(unsigned int depth) {
    std::string opened;
    std::string closed;
    for (unsigned int i = 0; i < depth; ++i) {
      opened += "<d>";
      closed += "</d>";
    }
    return opened + closed;
  }

  // --- Tags ---

  template <typename Names>
  std::string new_name(const Names& names, unsigned int& used) {
    const unsigned int number = mistake() ? m_input.below(used + 1) : used++;
    const std::size_t round = number / std::size(names);
    return std::string(names[number % std::size(names)]) +
           (round == 0 ? "" : std::to_string(round));
  }

  // Attributes that nobody reads, and another order.
  Attributes extra(Attributes attributes) {
    if (one_in(16)) attributes.emplace_back("other", attribute_text(false));
    if (one_in(16)) attributes.emplace_back("xml:space", "preserve");
    if (!attributes.empty() && mistake()) attributes.push_back(attributes.front());  // twice
    if (one_in(8)) std::reverse(attributes.begin(), attributes.end());
    return attributes;
  }

  std::string element(const std::string& name, const Attributes& attributes,
                      const std::string& content) {
    std::string text = "<" + name;
    const char quote = one_in(4) ? '\'' : '"';
    for (const auto& [attribute, value] : attributes) {
      text +=
          (one_in(8) ? "\n " : " ") + attribute + (one_in(8) ? " = " : "=") + quote + value + quote;
    }
    if (content.empty() && !one_in(4)) return text + (one_in(4) ? " />" : "/>");
    return text + ">" + content + "</" + name + (one_in(8) ? "\n>" : ">");
  }

  // --- Damage ---

  std::string damaged(std::string text) {
    for (unsigned int count = one_in(8) ? 1 + m_input.below(2) : 0; count > 0 && !text.empty();
         --count) {
      const std::size_t at = m_input.word() % text.size();
      const unsigned int length = 1 + m_input.below(8);
      switch (m_input.below(6)) {
        case 0:
          text[at] = static_cast<char>(m_input.byte());
          break;
        case 1:
          text.erase(at, length);
          break;
        case 2:
          text.insert(at, 1, static_cast<char>(m_input.byte()));
          break;
        case 3:
          text.resize(at);
          break;
        case 4:
          text.insert(at, text.substr(at, 8 * length));
          break;
        default:
          text.append(length, '\0');
          break;
      }
    }
    return text;
  }

  static constexpr const char* kEntities[] = {"none", "number", "var", "call", "nested", "blank"};

  Input& m_input;
  unsigned int m_mistakes = 0;
  bool m_has_doctype = false;
  unsigned int m_declared_names = 0;
  unsigned int m_section_names = 0;
  std::vector<DeclaredFunction> m_functions;
};

ScriptGenerator::ScriptGenerator(Input& input) : m_grammar(std::make_unique<Grammar>(input)) {}
ScriptGenerator::~ScriptGenerator() = default;

std::string ScriptGenerator::file() { return m_grammar->file(); }

}  // namespace fwbase::script_model
