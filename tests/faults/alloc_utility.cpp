// XML and string helpers. Of these some let std::bad_alloc or xercesc::OutOfMemoryException out,
// where their headers say so.
#include <utility/str.h>
#include <utility/xml.h>

#include <new>
#include <vector>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "tests/faults/alloc_faults.h"
#include "tests/support/script_file.h"

namespace fwbase::faults {

namespace {

using test::ScriptFile;
using utility::CElement;
using utility::CStr;
using utility::CXml;

const std::string kLong(60, 'l');
const std::string kDocument =
    "<?xml version=\"1.0\" encoding=\"GBK\"?><!DOCTYPE r [<!ELEMENT r (b,(b|d)*)>"
    "<!ENTITY e 'x'>]>"
    "<r a='1'><b>text</b><b c='\xC4\xE3'>&e;<d a='1'/></b></r>";

Outcome outcome_of_xml(unsigned int code, unsigned int no_memory) {
  expect(code == utility::XEC_OK || code == no_memory, "the code");
  return code == utility::XEC_OK ? Outcome::kDone : Outcome::kNoMemory;
}

// A converter that cannot be made, for want of memory, is an encoding that the library lacks.
Outcome outcome_of_file(unsigned int code, unsigned int no_converter, unsigned int no_memory) {
  return outcome_of_xml(code == no_converter ? no_memory : code, no_memory);
}

// For an operation that lets running out of memory leave as an exception.
Act throwing(const std::function<bool()>& operation) {
  return [operation] {
    try {
      expect(operation(), "the operation failed");
      return Outcome::kDone;
    } catch (const std::bad_alloc&) {
      return Outcome::kNoMemory;
    } catch (const xercesc::OutOfMemoryException&) {
      return Outcome::kNoMemory;
    }
  };
}

class Document : public CXml {
 public:
  Document() : m_file(kDocument), m_path(m_file.path()) { renew(); }
  ~Document() { release(); }

  // What the XML library forgets when it has no memory is freed with its document.
  void renew() {
    release();
    expect(load(m_path) == utility::XEC_OK, "load()");
  }

  CElement root() const {
    CElement root;
    get_root_element(root);
    return root;
  }
  CElement empty_element() const {
    CElement element;
    root().get_last_child_element(element);
    element.get_first_child_element(element);
    return element;
  }
  const ScriptFile& file() const { return m_file; }
  const std::string& path() const { return m_path; }

 private:
  ScriptFile m_file;
  std::string m_path;
};

void find_in_document(Document& xml) {
  std::vector<CElement> found;
  const auto check = [&](Outcome outcome) {
    expect(outcome == Outcome::kNoMemory || found.size() == 2, "elements are missing");
    found.clear();
    xml.renew();
  };
  fail_each_allocation("search_element",
                       throwing([&] { return xml.search_element("b", found) == utility::XEC_OK; }),
                       check);
  fail_each_allocation(
      "get_xpath_element",
      throwing([&] { return xml.get_xpath_element("b", found) == utility::XEC_OK; }), check);
  std::string text;
  fail_each_allocation("get_xpath_text",
                       throwing([&] { return xml.get_xpath_text("b", text) == utility::XEC_OK; }),
                       [&](Outcome outcome) {
                         expect(text == (outcome == Outcome::kDone ? "text" : ""), "the text");
                         text.clear();
                         xml.renew();
                       });
}

// An operation on the empty element, which is changed then or as it was.
void change_element(Document& xml, const std::string& operation,
                    const std::function<unsigned int(const CElement&)>& change,
                    const std::function<bool(const CElement&)>& is_changed) {
  CElement element = xml.empty_element();
  fail_each_allocation(operation, throwing([&] { return change(element) == utility::XEC_OK; }),
                       [&](Outcome outcome) {
                         expect(is_changed(element) == (outcome == Outcome::kDone),
                                "the element is neither as it was nor as it should be");
                         xml.renew();
                         element = xml.empty_element();
                       });
}

bool has_value(const CElement& element, const std::string& name, const std::string& value) {
  std::string found;
  return element.get_attr(name, found) == utility::XEC_OK && found == value;
}

}  // namespace

void xml_document() {
  Document xml;
  CXml other;
  fail_each_allocation(
      "load",
      [&] {
        return outcome_of_file(other.load(xml.path()), utility::XEC_PARSE, utility::XEC_NO_MEMORY);
      },
      [&](Outcome outcome) {
        CElement root;
        expect((other.get_root_element(root) == utility::XEC_OK) == (outcome == Outcome::kDone),
               "a document in spite of the code");
        other.release();
      });
  fail_each_allocation(
      "release",
      [&] {
        other.release();
        return Outcome::kDone;
      },
      [&](Outcome) { expect(other.load(xml.path()) == utility::XEC_OK, "load()"); });
  other.release();
  const std::string target = xml.file().directory() + "/saved.xml";
  fail_each_allocation(
      "save_as",
      [&] {
        return outcome_of_file(xml.save_as(target), utility::XEC_WRITE, utility::XEC_NO_TARGET);
      },
      [&](Outcome outcome) {
        expect((test::read_file(target).find("</r>") != std::string::npos) ==
                   (outcome == Outcome::kDone),
               "the file is wrong");
        std::filesystem::remove(target);
      });
  find_in_document(xml);
  fail_each_allocation("set_xpath_text",
                       throwing([&] { return xml.set_xpath_text("b", kLong) == utility::XEC_OK; }),
                       [&](Outcome outcome) {
                         std::string text;
                         expect(xml.get_xpath_text("b", text) == utility::XEC_OK, "get");
                         expect(text == (outcome == Outcome::kDone ? kLong : "text"), "the text");
                         xml.renew();
                       });
}

void xml_elements() {
  Document xml;
  const auto has_new = [](const CElement& element) { return has_value(element, "new", kLong); };
  const auto has_text = [](const CElement& element) { return element.get_text() == kLong; };
  change_element(
      xml, "set_attr", [](const CElement& element) { return element.set_attr("new", kLong); },
      has_new);
  change_element(
      xml, "insert_attr", [](const CElement& element) { return element.insert_attr("new", kLong); },
      has_new);
  change_element(
      xml, "set_attr again", [](const CElement& element) { return element.set_attr("a", kLong); },
      [](const CElement& element) { return has_value(element, "a", kLong); });
  change_element(
      xml, "insert_text", [](const CElement& element) { return element.insert_text(kLong); },
      has_text);
  change_element(
      xml, "set_text", [](const CElement& element) { return element.set_text(kLong); }, has_text);
  change_element(
      xml, "create_element, insert_back_child",
      [&](const CElement& element) {
        CElement made;
        const unsigned int code = xml.create_element("made", made);
        return code != utility::XEC_OK ? code : element.insert_back_child(made);
      },
      [](const CElement& element) { return element.has_child_element("made"); });
  CElement copy;
  fail_each_allocation(
      "clone", throwing([&] { return xml.root().clone(true, copy) == utility::XEC_OK; }),
      [&](Outcome outcome) {
        expect((copy.get_element_name() == "r") == (outcome == Outcome::kDone), "the copy");
        copy = CElement();
        xml.renew();
      });
  std::vector<std::pair<std::string, std::string>> attrs;
  const CElement element = xml.empty_element();
  fail_each_allocation("get_attr of all",
                       throwing([&] { return element.get_attr(attrs) == utility::XEC_OK; }),
                       [&](Outcome outcome) {
                         expect(outcome == Outcome::kNoMemory || attrs.size() == 1, "attributes");
                         attrs.clear();
                       });
}

void strings() {
  std::string text;
  std::vector<std::string> parts;
  const auto restore = [&](Outcome) {
    text = " \t/* a */ one, two /* b */, " + kLong + "// c ";
    parts.clear();
  };
  restore(Outcome::kDone);
  const std::pair<const char*, std::function<void()>> operations[] = {
      {"trim", [&] { CStr::trim(text); }},
      {"trim_byte", [&] { CStr::trim_byte(' ', text); }},
      {"trim_remark to the end", [&] { CStr::trim_remark("//", text); }},
      {"trim_remark", [&] { CStr::trim_remark("/*", "*/", text); }},
      {"string_replace", [&] { CStr::string_replace(text, "l", kLong); }},
      {"ext_line of words", [&] { CStr::ext_line(parts, text); }},
      {"ext_line", [&] { CStr::ext_line(",", parts, text); }},
      {"atol", [&] { expect(CStr::atol(" -42abc") == -42, "atol()"); }},
      {"atoll", [&] { expect(CStr::atoll("42") == 42, "atoll()"); }},
      {"atoull", [&] { expect(CStr::atoull("42") == 42, "atoull()"); }},
      {"lltoa", [&] { expect(CStr::lltoa(-42) == "-42", "lltoa()"); }},
      {"ulltoa", [&] { expect(CStr::ulltoa(~0ull) == "18446744073709551615", "ulltoa()"); }}};
  for (const auto& [name, operation] : operations) {
    const std::function<void()>& run = operation;
    fail_each_allocation(name, throwing([&] {
                           run();
                           return true;
                         }),
                         restore);
  }
}

}  // namespace fwbase::faults
