// The XML Schema, as xmllint reads it: what declares as the template does passes, what is changed
// so that something is wrong with it mostly fails.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <set>

#include <utility/xml.h>
#include <xercesc/util/PlatformUtils.hpp>

#include "tests/harness/temp_dir.h"
#include "tests/tools/fwcheck/fwcheck_program.h"

using fwbase::test::read_file;
using fwbase::test::TempDir;
using fwbase::test::write_file;
using nlohmann::json;
using utility::CElement;

namespace fwcheck::test {

namespace {

namespace fs = std::filesystem;

typedef std::vector<CElement> Elements;

/// Each function called in each way.
std::string calls() {
  const json functions = json::parse(run_fwcheck({"--print", "catalogue"}).out).at("functions");
  std::string text;
  for (const json& function : functions) {
    const std::string name = function.at("name");
    std::string all;
    std::string required;
    std::string references;
    for (const json& parameter : function.at("parameters")) {
      const std::string tag = parameter.at("tag");
      all += "<" + tag + ">1</" + tag + ">";
      references = "<" + tag + "><ref>r</ref></" + tag + ">" + references;
      required += parameter.at("must") ? "<" + tag + ">1</" + tag + ">" : "";
    }
    text += "<" + name + ">" + all + "<ret>r</ret></" + name + ">\n";
    text += "<" + name + ">" + required + "</" + name + ">\n";
    text += "<" + name + "><params>" + references + "<ret>r</ret></params><params>" + all +
            "</params></" + name + ">\n";
  }
  return text;
}

std::string whole_script() {
  return "<korvid>\n" + run_fwcheck({"--print", "template"}).out +
         "<Process name=\"\"><Data><var name=\"a\" type=\"int\" value=\"1\"/></Data><Exec>"
         "<section name=\"run\">\n" +
         calls() + "</section></Exec></Process></korvid>\n";
}

/// The schema, and files in a directory of its own.
class Schema {
 public:
  Schema() { write_file(m_directory.path("script.xsd"), run_fwcheck({"--print", "xsd"}).out); }

  std::string path(const std::string& name) const { return m_directory.path(name); }

  /// Empty when the file is valid, else what xmllint says.
  std::string mistakes(const std::string& file) const {
    const ProgramResult result = fwbase::test::run_program(
        {XMLLINT, "--noout", "--schema", m_directory.path("script.xsd"), file});
    return result.status == 0 ? "" : result.err;
  }

 private:
  TempDir m_directory;
};

/// A document to change.
class Document {
 public:
  explicit Document(const std::string& path) {
    m_xml.init();
    EXPECT_EQ(m_xml.load(path), 0U);
  }
  ~Document() { m_xml.release(); }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  /// All elements but the root, in the order of the document.
  Elements elements() {
    CElement root;
    EXPECT_EQ(m_xml.get_root_element(root), 0U);
    Elements all;
    collect(root, all);
    return all;
  }

  CElement renamed(const CElement& element) {
    CElement other;
    EXPECT_EQ(m_xml.create_element(element.get_element_name() + "x", other), 0U);
    return other;
  }

  void save_as(const std::string& path) { EXPECT_EQ(m_xml.save_as(path), 0U); }

 private:
  static void collect(const CElement& parent, Elements& all) {
    Elements children;
    parent.get_all_child_element(children);
    for (const CElement& child : children) {
      all.push_back(child);
      collect(child, all);
    }
  }

  utility::CXml m_xml;
};

struct Platform {
  Platform() { xercesc::XMLPlatformUtils::Initialize(); }
  ~Platform() { xercesc::XMLPlatformUtils::Terminate(); }
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;
};

/// Changes one element; false when that cannot be changed so.
typedef std::function<bool(Document&, Elements&, std::size_t)> Mutation;

bool rename_element(Document& document, Elements& all, std::size_t at) {
  CElement other = document.renamed(all[at]);
  Elements children;
  all[at].get_all_child_element(children);
  CElement parent;
  all[at].get_parent_element(parent);
  all[at].insert_next_element(other);
  parent.remove_child_element(all[at]);
  return true;
}

bool remove_element(Document&, Elements& all, std::size_t at) {
  CElement parent;
  all[at].get_parent_element(parent);
  return parent.remove_child_element(all[at]) == 0;
}

bool move_element(Document&, Elements& all, std::size_t at) {
  CElement parent;
  all[at].get_parent_element(parent);
  CElement copy;
  all[at].clone(true, copy);
  parent.remove_child_element(all[at]);
  return all[(at * 7 + 3) % at].insert_back_child(copy) == 0;
}

/// "must" and "defaultval" need not be there.
bool without_attribute(const CElement& element, std::size_t number, bool is_renamed) {
  const std::vector<std::string> required = {"name", "tag", "type", "value"};
  const std::string& name = required[number % required.size()];
  std::string value;
  if (element.get_attr(name, value) != 0) {
    return false;
  }
  element.remove_attr(name);
  if (is_renamed) {
    element.insert_attr(name + "x", value);
  }
  return true;
}

bool change_type(Document&, Elements& all, std::size_t at) {
  return all[at].has_attr("type") && all[at].set_attr("type", "integer") == 0;
}

bool call_unknown(Document& document, Elements& all, std::size_t at) {
  CElement parent;
  all[at].get_parent_element(parent);
  return parent.get_element_name() == "section" && rename_element(document, all, at);
}

}  // namespace

TEST(FwcheckSchema, TakesEveryCallOfEveryFunction) {
  const Schema schema;
  write_file(schema.path("whole.xml"), whole_script());
  EXPECT_EQ(schema.mistakes(schema.path("whole.xml")), "");
  EXPECT_EQ(run_fwcheck({"--strict", schema.path("whole.xml")}).out, "");
}

TEST(FwcheckSchema, TakesTheCleanFilesThatDeclareAsTheTemplateDoes) {
  // These have tags of their own.
  const std::set<std::string> others = {"declaration_not_called.xml",
                                        "default_not_read.xml",
                                        "must_true.xml",
                                        "other_tags.xml",
                                        "tag_ref.xml",
                                        "default_of_an_int.xml"};
  const Schema schema;
  std::size_t taken = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(CORPUS "/clean")) {
    if (others.count(entry.path().filename().string()) == 0) {
      EXPECT_EQ(schema.mistakes(entry.path().string()), "");
      ++taken;
    }
  }
  EXPECT_GE(taken, 30U);
}

TEST(FwcheckSchema, RefusesMistakesThatItCanKnow) {
  const Schema schema;
  for (const char* const file : {"root_another_case",
                                 "process_none",
                                 "process_without_name",
                                 "func_without_name",
                                 "func_twice",
                                 "param_type_Int",
                                 "param_must_no",
                                 "var_without_value",
                                 "var_type_float",
                                 "section_without_name",
                                 "section_twice",
                                 "section_in_section",
                                 "call_undeclared",
                                 "call_of_a_function_that_is_there_but_undeclared",
                                 "argument_missing",
                                 "argument_misspelt",
                                 "argument_twice",
                                 "ref_empty",
                                 "ret_empty",
                                 "element_misspelt_section",
                                 "attribute_of_var",
                                 "text_in_section",
                                 "content_second_ret"}) {
    EXPECT_NE(schema.mistakes(std::string(CORPUS "/faulty/") + file + ".xml"), "") << file;
  }
}

// A change that leaves a script without findings is none that a schema could refuse: an optional
// argument that is gone, or a call.
TEST(FwcheckSchema, RefusesNineOfTenStructuralChangesThatMakeAScriptFaulty) {
  const Platform platform;
  const Schema schema;
  write_file(schema.path("whole.xml"), whole_script());
  const std::vector<Mutation> mutations = {
      rename_element,
      remove_element,
      move_element,
      change_type,
      call_unknown,
      [](Document&, Elements& all, std::size_t at) {
        return without_attribute(all[at], at, false);
      },
      [](Document&, Elements& all, std::size_t at) { return without_attribute(all[at], at, true); },
  };
  std::mt19937 random(20141029);  // the same changes on each run
  std::size_t faulty = 0;
  std::size_t refused = 0;
  for (int round = 0; round < 25; ++round) {
    for (const Mutation& mutate : mutations) {
      Document document(schema.path("whole.xml"));
      Elements all = document.elements();
      if (!mutate(document, all, 2 + random() % (all.size() - 2))) {
        continue;
      }
      document.save_as(schema.path("changed.xml"));
      if (run_fwcheck({"--strict", schema.path("changed.xml")}).status != 0) {
        ++faulty;
        refused += schema.mistakes(schema.path("changed.xml")).empty() ? 0 : 1;
      }
    }
  }
  EXPECT_GE(faulty, 50U);
  EXPECT_GE(10 * refused, 9 * faulty) << refused << " of " << faulty;
}

}  // namespace fwcheck::test
