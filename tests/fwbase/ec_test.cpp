#include <fwbase/ec.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

struct Row {
  ec::EC code;
  const char* name;
  const char* text;
};

std::vector<Row> all_codes() {
#define ROW(id, value, meaning) {ec::id, #id, meaning},
  return {FWBASE_EC_TABLE(ROW)};
#undef ROW
}

}  // namespace

TEST(Ec, SuccessIsBit31AndNothingElse) {
  EXPECT_TRUE(ec::succeeded(0x80000000u));
  EXPECT_TRUE(ec::succeeded(0xFFFFFFFFu));
  EXPECT_FALSE(ec::succeeded(0u));
  EXPECT_FALSE(ec::succeeded(0x7FFFFFFFu));
  EXPECT_TRUE(ec::failed(0u));
  EXPECT_FALSE(ec::failed(ec::GENV_OK));
}

TEST(Ec, EveryFacilityHasOneSuccessCode) {
  const ec::EC facilities[] = {ec::FAC_GENV, ec::FAC_MM, ec::FAC_SCRIPT,
                               ec::FAC_LOG,  ec::FAC_FW, ec::FAC_DB};
  const ec::EC successes[] = {ec::GENV_OK, ec::MM_OK, ec::SCRIPT_OK,
                              ec::LOG_OK,  ec::FW_OK, ec::DB_OK};
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(facilities[i], static_cast<ec::EC>(i));
    EXPECT_EQ(successes[i], 0x80000000u + (facilities[i] << 18));
  }
}

TEST(Ec, ValuesAreTheDocumentedOnes) {
  EXPECT_EQ(ec::GENV_OBJ_NOT_FOUND, 0x00000007u);
  EXPECT_EQ(ec::MM_INIT_FAILED, 0x00040006u);
  EXPECT_EQ(ec::SCRIPT_E_SECTION, 0x00080002u);
  EXPECT_EQ(ec::SCRIPT_SECTION_NESTED, 0x0008000au);
  EXPECT_EQ(ec::SCRIPT_FUNC_EXISTS, 0x00080020u);
  EXPECT_EQ(ec::LOG_NO_MEMORY, 0x000c0006u);
  EXPECT_EQ(ec::FW_NO_MEMORY, 0x00100002u);
  EXPECT_EQ(ec::DB_NO_MEMORY, 0x00140001u);
}

TEST(Ec, EveryCodeHasItsNameAndOneLineOfText) {
  std::set<ec::EC> seen;
  for (const Row& row : all_codes()) {
    EXPECT_TRUE(seen.insert(row.code).second) << row.name;
    EXPECT_STREQ(ec::name(row.code), row.name);
    EXPECT_STREQ(ec::text(row.code), row.text);
    EXPECT_EQ(std::string(row.text).find('\n'), std::string::npos);
  }
  EXPECT_EQ(seen.size(), 51u);
}

TEST(Ec, AnyOtherValueSaysWhetherItIsASuccess) {
  EXPECT_STREQ(ec::name(0u), "UNKNOWN");
  EXPECT_STREQ(ec::name(0xFFFFFFFFu), "UNKNOWN");
  EXPECT_STREQ(ec::text(0u), "a failure code that is not the library's own");
  EXPECT_STREQ(ec::text(0xFFFFFFFFu), "a success code that is not the library's own");
}

TEST(Ec, IsAlsoReachedThroughTheLibrarysNamespace) {
  const fwbase::ec::EC code = fwbase::ec::FW_OK;
  EXPECT_TRUE(fwbase::ec::succeeded(code));
}
