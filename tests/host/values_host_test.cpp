// <fwbase/values.h>: the operations of the engine, by type.
#include <fwbase/ifwbase.h>
#include <fwbase/values.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

struct Values : testing::Test {
  Values() { IFWBase::instance()->init(); }
  ~Values() override { IFWBase::instance()->release(); }

  char m_environment = 0;
};

}  // namespace

TEST_F(Values, AreSetAndReadByType) {
  ASSERT_EQ(fwbase::set("n", -7), ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::set("s", std::string("text")), ec::SCRIPT_OK);
  std::int32_t number = 0;
  std::string text;
  EXPECT_EQ(fwbase::get("n", number), ec::SCRIPT_OK);
  EXPECT_EQ(fwbase::get("s", text), ec::SCRIPT_OK);
  EXPECT_EQ(number, -7);
  EXPECT_EQ(text, "text");
}

TEST_F(Values, AreTextsWhereCharactersAreSet) {
  ASSERT_EQ(fwbase::set("a", "text"), ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::set_env(&m_environment, "a", "other"), ec::SCRIPT_OK);
  std::string text;
  EXPECT_EQ(fwbase::get("a", text), ec::SCRIPT_OK);
  EXPECT_EQ(text, "text");
  EXPECT_EQ(fwbase::get_env(&m_environment, "a", text), ec::SCRIPT_OK);
  EXPECT_EQ(text, "other");
}

TEST_F(Values, OfEnvironmentsAreApart) {
  char other = 0;
  ASSERT_EQ(fwbase::set_env(&m_environment, "n", 1), ec::SCRIPT_OK);
  std::int32_t number = 5;
  EXPECT_EQ(fwbase::get("n", number), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(fwbase::get_env(&other, "n", number), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(fwbase::get_env(&m_environment, "n", number), ec::SCRIPT_OK);
  EXPECT_EQ(number, 1);
}

TEST_F(Values, OfADroppedEnvironmentAreGone) {
  char other = 0;
  ASSERT_EQ(fwbase::set_env(&m_environment, "n", 1), ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::set_env(&other, "n", 2), ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::set("n", 3), ec::SCRIPT_OK);
  EXPECT_EQ(fwbase::drop_environment(&m_environment), ec::SCRIPT_OK);
  std::int32_t number = 5;
  EXPECT_EQ(fwbase::get_env(&m_environment, "n", number), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(fwbase::get_env(&other, "n", number), ec::SCRIPT_OK);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(fwbase::get("n", number), ec::SCRIPT_OK);
  EXPECT_EQ(number, 3);
}

TEST_F(Values, OfADroppedEnvironmentMayBeSetAnew) {
  ASSERT_EQ(fwbase::set_env(&m_environment, "n", 1), ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::drop_environment(&m_environment), ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::set_env(&m_environment, "m", 2), ec::SCRIPT_OK);
  std::int32_t number = 5;
  EXPECT_EQ(fwbase::get_env(&m_environment, "n", number), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(fwbase::get_env(&m_environment, "m", number), ec::SCRIPT_OK);
  EXPECT_EQ(number, 2);
}

TEST_F(Values, OfTheEnvironmentWithoutAnAddressAreDroppedToo) {
  ASSERT_EQ(fwbase::set_env(nullptr, "n", 1), ec::SCRIPT_OK);
  EXPECT_EQ(fwbase::drop_environment(nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(fwbase::drop_environment(nullptr), ec::SCRIPT_NOT_FOUND);
}

TEST_F(Values, OfAnotherTypeAreNotRead) {
  ASSERT_EQ(fwbase::set("n", 1), ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::set_env(&m_environment, "s", "x"), ec::SCRIPT_OK);
  std::string text = "kept";
  std::int32_t number = 5;
  EXPECT_EQ(fwbase::get("n", text), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(fwbase::get_env(&m_environment, "s", number), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(text, "kept");
  EXPECT_EQ(number, 5);
}

TEST_F(Values, NeedANameAndAText) {
  std::int32_t number = 5;
  std::string text = "kept";
  const char* const nothing = nullptr;
  EXPECT_EQ(fwbase::get(nothing, number), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::get(nothing, text), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set(nothing, 1), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set(nothing, "x"), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set("a", nothing), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::get_env(&m_environment, nothing, number), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set_env(&m_environment, nothing, 1), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set_env(&m_environment, "a", nothing), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(text, "kept");
}

TEST_F(Values, NeedAnEngine) {
  IFWBase::instance()->release();
  std::int32_t number = 5;
  std::string text = "kept";
  EXPECT_EQ(fwbase::get("a", number), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::get("a", text), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set("a", 1), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set("a", "x"), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::get_env(&m_environment, "a", number), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::set_env(&m_environment, "a", 1), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(fwbase::drop_environment(&m_environment), ec::SCRIPT_E_PARAM);
}
