// CXml: loads a document, evaluates an XPath expression, changes what it selects, saves, and loads
// what was saved.
//
// Input: a line that is the expression, a line that is the new text (an empty one changes nothing),
// and the document.
#include <utility/str.h>
#include <utility/xml.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "fuzz/harness/check.h"
#include "fuzz/harness/dom.h"
#include "fuzz/harness/input.h"
#include "tests/harness/temp_dir.h"

namespace {

using namespace utility;
using fwbase::fuzz::description;
using fwbase::fuzz::Document;
using fwbase::fuzz::element_of;
using fwbase::test::read_file;
using fwbase::test::TempDir;

struct World {
  const fwbase::fuzz::XmlPlatform platform;
  const TempDir directory;
  const std::string path = directory.path("document.xml");
  const std::string saved_path = directory.path("saved.xml");
};

World& world() {
  static World one;
  return one;
}

bool is_one_of(unsigned int code, std::initializer_list<unsigned int> codes) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

void check_that_nothing_is_loaded(const CXml& document) {
  CElement root;
  std::string text;
  FUZZ_CHECK(document.get_root_element(root) == XEC_NO_DOCUMENT);
  FUZZ_CHECK(document.save() == XEC_BAD_PARAM);
  FUZZ_CHECK(document.get_xpath_text("r", text) == XEC_NO_DOCUMENT);
}

// The text of the first element that an expression selects, in both ways to get there.
void check_reading(const CXml& document, const std::string& xpath) {
  std::vector<CElement> selected;
  const unsigned int code = document.get_xpath_element(xpath, selected);
  FUZZ_CHECK(is_one_of(code, {XEC_OK, XEC_XPATH, XEC_XPATH_EMPTY}));
  std::string text = "untouched";
  const unsigned int text_code = document.get_xpath_text(xpath, text);
  if (code == XEC_XPATH) {
    FUZZ_CHECK(selected.empty() && text_code == XEC_XPATH);
  } else if (selected.empty()) {
    FUZZ_CHECK(text_code == XEC_XPATH_EMPTY);
  } else {
    FUZZ_CHECK(is_one_of(text_code, {XEC_OK, XEC_NO_TEXT}));
    FUZZ_CHECK(text_code != XEC_OK || text == selected.front().get_text());
    FUZZ_CHECK(text_code == XEC_OK || selected.front().get_text().empty());
  }
  FUZZ_CHECK(text_code == XEC_OK || text == "untouched");

  std::vector<CElement> named;
  const bool is_name = document.search_element(xpath, named) == XEC_OK && !named.empty();
  FUZZ_CHECK(!is_name || named.front().get_element_name() == xpath || xpath == "*");
}

void check_changing(const CXml& document, const std::string& xpath, const std::string& text) {
  std::vector<CElement> selected;
  const bool found = document.get_xpath_element(xpath, selected) == XEC_OK && !selected.empty();
  const bool is_empty = found && !element_of(selected.front())->hasChildNodes();
  const std::string before = description(document);
  const unsigned int code = document.set_xpath_text(xpath, text);
  FUZZ_CHECK(found ? is_one_of(code, {XEC_OK, XEC_ENCODING, XEC_SET_TEXT, XEC_APPEND_TEXT})
                   : is_one_of(code, {XEC_XPATH, XEC_XPATH_EMPTY}));
  FUZZ_CHECK(code == XEC_OK || description(document) == before);
  if (code == XEC_OK && is_empty) {
    std::string expected = text;
    CStr::trim(expected);
    FUZZ_CHECK(selected.front().get_text() == expected);
  }
}

// What is saved is the same document. False when it cannot be saved.
bool check_saving(const CXml& document) {
  const unsigned int code = document.save_as(world().saved_path);
  FUZZ_CHECK(is_one_of(code, {XEC_OK, XEC_WRITE}));
  if (code != XEC_OK) return false;
  Document again;
  FUZZ_CHECK(again.load(world().saved_path) == XEC_OK);
  FUZZ_CHECK(description(again) == description(document));
  return true;
}

// What was loaded from a saved file is saved as the same bytes.
void check_saving_again() {
  const std::string saved = read_file(world().saved_path);
  Document document;
  FUZZ_CHECK(document.load(world().saved_path) == XEC_OK && document.save() == XEC_OK);
  FUZZ_CHECK(read_file(world().saved_path) == saved);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fwbase::fuzz::Input input(data, size);
  const std::string xpath = input.line();
  const std::string text = input.line();
  const std::string& path = world().path;
  fwbase::test::write_file(path, input.rest());
  Document document;
  const unsigned int code = document.load(path);
  FUZZ_CHECK(is_one_of(code, {XEC_OK, XEC_PARSE}));
  if (code != XEC_OK) {
    check_that_nothing_is_loaded(document);
    return 0;
  }
  const std::string loaded = description(document);
  FUZZ_CHECK(document.load(path) == XEC_OK && description(document) == loaded);
  check_reading(document, xpath);
  FUZZ_CHECK(description(document) == loaded);
  if (!text.empty()) check_changing(document, xpath, text);
  if (check_saving(document) && text.empty()) check_saving_again();
  return 0;
}
