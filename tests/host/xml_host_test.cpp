// The XML classes as a host program uses them: public headers and the shared library.

#include <utility/xml.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>
#include <xercesc/util/PlatformUtils.hpp>

#include "tests/harness/temp_dir.h"

namespace {

using utility::CElement;
using utility::CXml;

class XmlHost : public testing::Test {
 protected:
  XmlHost() { xercesc::XMLPlatformUtils::Initialize(); }

  ~XmlHost() override {
    m_xml.release();
    xercesc::XMLPlatformUtils::Terminate();
  }

  unsigned int load(const std::string& text) {
    fwbase::test::write_file(m_path, text);
    return m_xml.load(m_path);
  }

  std::string file_text() const { return fwbase::test::read_file(m_path); }

  CXml m_xml;

 private:
  const fwbase::test::TempDir m_directory;
  const std::string m_path = m_directory.path("x.xml");
};

TEST_F(XmlHost, LoadsChangesAndSavesADocument) {
  ASSERT_EQ(load("<korvid><Data><var name='a'/></Data><n> 5 </n></korvid>"), utility::XEC_OK);
  CElement root, data, var;
  ASSERT_EQ(m_xml.get_root_element(root), utility::XEC_OK);
  EXPECT_EQ(root.get_element_name(), "korvid");
  EXPECT_EQ(root.get_child_text("n"), "5");
  ASSERT_EQ(root.get_first_child_element("Data", data), utility::XEC_OK);
  ASSERT_EQ(m_xml.create_element("var", var), utility::XEC_OK);
  ASSERT_EQ(var.insert_attr("name", "b"), utility::XEC_OK);
  ASSERT_EQ(data.insert_back_child(var), utility::XEC_OK);
  ASSERT_EQ(m_xml.set_xpath_text("n", "6"), utility::XEC_OK);
  ASSERT_EQ(m_xml.save(), utility::XEC_OK);
  EXPECT_NE(file_text().find("<Data><var name=\"a\"/><var name=\"b\"/></Data><n>6</n></korvid>"),
            std::string::npos)
      << file_text();
}

TEST_F(XmlHost, AHandleIsTwoPointers) { EXPECT_EQ(sizeof(CElement), 2 * sizeof(void*)); }

}  // namespace
