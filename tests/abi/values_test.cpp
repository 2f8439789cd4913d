// The numbers of the public enumerations and the layout of values: they are compiled into hosts,
// and nothing that the library exports names them all. (Result codes: ec_test.cpp.)
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>
#include <utility/element.h>

#include <cstddef>
#include <utility>
#include <vector>

using fwbase::IRunLog;
using fwbase::IScript;

TEST(Values, OfLevelsAndDetailsOfTheRunLog) {
  EXPECT_EQ(IRunLog::TRACE, 1u);
  EXPECT_EQ(IRunLog::DEBUG, 2u);
  EXPECT_EQ(IRunLog::WARN, 4u);
  EXPECT_EQ(IRunLog::ERROR, 8u);
  EXPECT_EQ(IRunLog::ALERT, 16u);
  EXPECT_EQ(IRunLog::DUMP, 32u);
  EXPECT_EQ(IRunLog::INFO_TIME, 2u);
  EXPECT_EQ(IRunLog::INFO_PID, 4u);
  EXPECT_EQ(IRunLog::INFO_TID, 8u);
}

TEST(Values, OfFacilities) {
  EXPECT_EQ(ec::FAC_GENV, 0u);
  EXPECT_EQ(ec::FAC_MM, 1u);
  EXPECT_EQ(ec::FAC_SCRIPT, 2u);
  EXPECT_EQ(ec::FAC_LOG, 3u);
  EXPECT_EQ(ec::FAC_FW, 4u);
  EXPECT_EQ(ec::FAC_DB, 5u);
}

TEST(Values, OfScriptsAreTwoTypesInOneWordOfTheMachine) {
  EXPECT_EQ(IScript::VT_INT, 0);
  EXPECT_EQ(IScript::VT_STRING, 1);
  EXPECT_EQ(sizeof(IScript::VType), sizeof(int));
  EXPECT_EQ(sizeof(IScript::VValue), sizeof(void*));
  EXPECT_EQ(offsetof(IScript::VValue, int_value), 0u);
  EXPECT_EQ(offsetof(IScript::VValue, string_value), 0u);
}

TEST(Values, OfXmlResults) {
  using namespace utility;
  const std::vector<std::pair<unsigned int, unsigned int>> results = {{XEC_OK, 0},
                                                                      {XEC_NO_MEMORY, 2},
                                                                      {XEC_NO_TARGET, 3},
                                                                      {XEC_PARSE, 4},
                                                                      {XEC_WRITE, 5},
                                                                      {XEC_EMPTY_TAG, 6},
                                                                      {XEC_CREATE_ELEMENT, 7},
                                                                      {XEC_NO_NODE_LIST, 8},
                                                                      {XEC_NO_ELEMENT, 9},
                                                                      {XEC_BAD_PARAM, 10},
                                                                      {XEC_APPEND_TEXT, 11},
                                                                      {XEC_INSERT_BEFORE, 13},
                                                                      {XEC_INSERT_AFTER, 14},
                                                                      {XEC_NO_PARENT, 15},
                                                                      {XEC_NO_ATTR_MAP, 17},
                                                                      {XEC_REMOVE_ATTR, 18},
                                                                      {XEC_ATTR_EXISTS, 20},
                                                                      {XEC_SET_ATTR, 22},
                                                                      {XEC_NO_TEXT, 24},
                                                                      {XEC_SET_TEXT, 25},
                                                                      {XEC_XPATH_EMPTY, 26},
                                                                      {XEC_XPATH, 28},
                                                                      {XEC_REMOVE_CHILD, 29},
                                                                      {XEC_INSERT_FRONT, 30},
                                                                      {XEC_INSERT_BACK, 31},
                                                                      {XEC_NO_DOCUMENT, 32},
                                                                      {XEC_NOT_FOUND, 35},
                                                                      {XEC_NO_ATTR, 36},
                                                                      {XEC_CREATE_ATTR, 37},
                                                                      {XEC_ENCODING, 38}};
  for (const auto& [result, number] : results) {
    EXPECT_EQ(result, number);
  }
}
