// XML and string helpers. Of these some let std::bad_alloc or xercesc::OutOfMemoryException out,
// where their headers say so.
#include <utility/str.h>
#include <utility/xml.h>

#include <new>
#include <vector>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "tests/faults/alloc_faults.h"
#include "tests/harness/script_file.h"

namespace fwbase::faults {

namespace {

using test::ScriptFile;
using utility::CElement;
using utility::CStr;
using utility::CXml;

const std::string kLong(60, 'l');
const std::string kLonger(300, 'm');
const std::string kDocument =
    "<?xml version=\"1.0\" encoding=\"GBK\"?><!DOCTYPE r [<!ELEMENT r (b,(b|d)*)>"
    "<!ATTLIST b i ID #IMPLIED><!ATTLIST d z CDATA 'default'><!ENTITY e 'x'>]>"
    "<r a='1'><b i='first'>text</b><b c='\xC4\xE3'>&e;<d a='1' z='own'/></b>end</r>";

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
  CElement first() const { return found(&CElement::get_first_child_element, root()); }
  CElement last() const { return found(&CElement::get_last_child_element, root()); }
  CElement empty_element() const { return found(&CElement::get_first_child_element, last()); }

  // All of it, as it is now.
  std::string text() const {
    const std::string path = m_file.directory() + "/text.xml";
    expect(save_as(path) == utility::XEC_OK, "save_as()");
    const std::string text = test::read_file(path);
    std::filesystem::remove(path);
    return text;
  }
  const ScriptFile& file() const { return m_file; }
  const std::string& path() const { return m_path; }

 private:
  static CElement found(unsigned int (CElement::*find)(CElement&) const, const CElement& from) {
    CElement element;
    expect((from.*find)(element) == utility::XEC_OK, "an element");
    return element;
  }

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

// An operation that changes the document: all of it is as it should be then, or as it was.
void change(Document& xml, const std::string& operation,
            const std::function<unsigned int()>& change_it) {
  const std::string before = xml.text();
  expect(change_it() == utility::XEC_OK, "the operation failed");
  const std::string after = xml.text();
  expect(after != before, "the operation changes nothing");
  xml.renew();
  fail_each_allocation(operation, throwing([&] { return change_it() == utility::XEC_OK; }),
                       [&](Outcome outcome) {
                         expect(xml.text() == (outcome == Outcome::kDone ? after : before),
                                "the document is neither as it was nor as it should be");
                         xml.renew();
                       });
}

// An operation that tells something and changes nothing.
void read(Document& xml, const std::string& operation, const std::string& expected,
          const std::function<std::string()>& read_it) {
  const std::string before = xml.text();
  std::string told;
  fail_each_allocation(operation, throwing([&] {
                         told = read_it();
                         return true;
                       }),
                       [&](Outcome outcome) {
                         expect(outcome == Outcome::kNoMemory || told == expected, "the answer");
                         expect(xml.text() == before, "the document has changed");
                         xml.renew();
                       });
}

void read_elements(Document& xml) {
  read(xml, "get_text", "text", [&] { return xml.first().get_text(); });
  read(xml, "get_child_text", "text", [&] { return xml.root().get_child_text("b"); });
  read(xml, "get_element_name", "r", [&] { return xml.root().get_element_name(); });
  read(xml, "has_attr, has_child_element", "yes", [&] {
    const CElement root = xml.root();
    const bool right = root.has_attr("a") && !root.has_attr(kLong) && !root.has_attr("\xC3\xA9") &&
                       root.has_child_element("b") && !root.has_child_element(kLong);
    return right ? "yes" : "no";
  });
  read(xml, "get_attr", "\xE4\xBD\xA0", [&] {
    std::string value;
    xml.last().get_attr("c", value);
    return value;
  });
  read(xml, "get_attr of all", "a=1 z=own ", [&] {
    std::vector<std::pair<std::string, std::string>> attrs;
    xml.empty_element().get_attr(attrs);
    std::string all;
    for (const auto& [name, value] : attrs) {
      all.append(name).append("=").append(value).append(" ");
    }
    return all;
  });
  read(xml, "get_child_element, get_all_child_element", "22", [&] {
    std::vector<CElement> named;
    std::vector<CElement> all;
    xml.root().get_child_element("b", named);
    xml.root().get_all_child_element(all);
    return std::to_string(named.size()) + std::to_string(all.size());
  });
  read(xml, "from element to element", "bbdbr", [&] {
    CElement at;
    std::string names;
    const auto go = [&](unsigned int code) {
      expect(code == utility::XEC_OK, "an element");
      names += at.get_element_name();
    };
    go(xml.root().get_first_child_element("b", at));
    go(at.get_next_element("b", at));
    go(at.get_first_child_element("d", at));
    go(xml.last().get_pre_element("b", at));
    go(at.get_parent_element(at));
    expect(at.get_pre_element(at) == utility::XEC_NOT_FOUND, "an element");
    expect(at.get_next_element(at) == utility::XEC_NOT_FOUND, "an element");
    return names;
  });
}

void change_attributes(Document& xml) {
  change(xml, "set_attr", [&] { return xml.empty_element().set_attr("new", kLonger); });
  change(xml, "insert_attr", [&] { return xml.empty_element().insert_attr("new", kLonger); });
  change(xml, "set_attr again", [&] { return xml.empty_element().set_attr("a", kLonger); });
  change(xml, "set_attr of a default", [&] { return xml.empty_element().set_attr("z", kLonger); });
  change(xml, "set_attr of an identifier", [&] { return xml.first().set_attr("i", kLonger); });
  change(xml, "remove_attr", [&] { return xml.empty_element().remove_attr("a"); });
  change(xml, "remove_attr of a default", [&] { return xml.empty_element().remove_attr("z"); });
}

void change_texts(Document& xml) {
  change(xml, "insert_text", [&] { return xml.root().insert_text(kLonger); });
  change(xml, "set_text", [&] { return xml.empty_element().set_text(kLonger); });
  change(xml, "set_text again", [&] { return xml.first().set_text(kLonger); });
  change(xml, "set_text, shorter", [&] { return xml.first().set_text("t"); });
  change(xml, "remove_text", [&] { return xml.first().remove_text(); });
  change(xml, "set_xpath_text", [&] { return xml.set_xpath_text("b", kLonger); });
}

void move_elements(Document& xml) {
  change(xml, "create_element, insert_back_child", [&] {
    CElement made;
    const unsigned int code = xml.create_element("made", made);
    return code != utility::XEC_OK ? code : xml.root().insert_back_child(made);
  });
  change(xml, "insert_front_child",
         [&] { return xml.root().insert_front_child(xml.empty_element()); });
  change(xml, "insert_pre_child_element",
         [&] { return xml.root().insert_pre_child_element(xml.first(), xml.last()); });
  change(xml, "insert_next_child_element",
         [&] { return xml.root().insert_next_child_element(xml.first(), xml.empty_element()); });
  change(xml, "insert_pre_element", [&] { return xml.first().insert_pre_element(xml.last()); });
  change(xml, "insert_next_element",
         [&] { return xml.last().insert_next_element(xml.empty_element()); });
  change(xml, "remove_child_element", [&] { return xml.root().remove_child_element(xml.last()); });
  change(xml, "discard_child_element",
         [&] { return xml.root().discard_child_element(xml.last()); });
}

// Makes the document larger in memory than it needs to be.
void grow(Document& xml) {
  xml.renew();
  const std::string large(1'000'000, 'x');
  expect(xml.root().set_attr("grown", large) == utility::XEC_OK, "set_attr()");
  expect(xml.root().remove_attr("grown") == utility::XEC_OK, "remove_attr()");
}

void compact_document(Document& xml) {
  const std::string text = xml.text();
  grow(xml);
  fail_each_allocation(
      "compact", [&] { return xml.compact() ? Outcome::kDone : Outcome::kNoMemory; },
      [&](Outcome) {
        expect(xml.text() == text, "the document has changed");
        grow(xml);
      });
  xml.renew();
}

void save_document(Document& xml) {
  const auto change_it = [&] {
    xml.renew();
    expect(xml.root().set_attr("a", kLong) == utility::XEC_OK, "set_attr()");
  };
  change_it();
  const std::string changed = xml.text();
  fail_each_allocation(
      "save",
      [&] { return outcome_of_file(xml.save(), utility::XEC_WRITE, utility::XEC_NO_TARGET); },
      [&](Outcome outcome) {
        expect(xml.file().text() == (outcome == Outcome::kDone ? changed : kDocument),
               "the file is wrong");
        test::write_file(xml.path(), kDocument);
        change_it();
      });
  xml.renew();
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
  save_document(xml);
  compact_document(xml);
  find_in_document(xml);
  read(xml, "get_xpath_result, get_root_element", "b", [&] {
    xercesc::DOMXPathResult* const result = xml.get_xpath_result("b");
    if (expect(result != nullptr, "a result")) {
      result->release();
    }
    return xml.first().get_element_name();
  });
}

void xml_elements() {
  Document xml;
  read_elements(xml);
  change_attributes(xml);
  change_texts(xml);
  move_elements(xml);
  CElement copy;
  fail_each_allocation(
      "clone", throwing([&] { return xml.root().clone(true, copy) == utility::XEC_OK; }),
      [&](Outcome outcome) {
        expect((copy.get_element_name() == "r") == (outcome == Outcome::kDone), "the copy");
        copy = CElement();
        xml.renew();
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
      {"left_trim, right_trim",
       [&] {
         CStr::left_trim(text);
         CStr::right_trim(text);
       }},
      {"left_trim_byte, right_trim_byte",
       [&] {
         CStr::left_trim_byte(' ', text);
         CStr::right_trim_byte(' ', text);
       }},
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
