#include <fwbase/ec.h>
#include <gtest/gtest.h>

#include <iterator>
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

TEST(Ec, EveryCodeHasItsValue) {
  const struct {
    ec::EC value;
    const char* name;
  } codes[] = {
      {0x80000000u, "GENV_OK"},
      {0x00000001u, "GENV_BAD_PARAM"},
      {0x00000002u, "GENV_STR_EXISTS"},
      {0x00000003u, "GENV_STR_NOT_FOUND"},
      {0x00000004u, "GENV_ADDR_EXISTS"},
      {0x00000005u, "GENV_ADDR_NOT_FOUND"},
      {0x00000006u, "GENV_OBJ_EXISTS"},
      {0x00000007u, "GENV_OBJ_NOT_FOUND"},
      {0x80040000u, "MM_OK"},
      {0x00040001u, "MM_BAD_PARAM"},
      {0x00040002u, "MM_LOAD_FAILED"},
      {0x00040003u, "MM_BAD_FACTORY"},
      {0x00040004u, "MM_FACTORY_FAILED"},
      {0x00040006u, "MM_INIT_FAILED"},
      {0x80080000u, "SCRIPT_OK"},
      {0x00080002u, "SCRIPT_E_SECTION"},
      {0x00080003u, "SCRIPT_BAD_PARAM"},
      {0x00080004u, "SCRIPT_NOT_FOUND"},
      {0x00080005u, "SCRIPT_NO_RULE"},
      {0x0008000au, "SCRIPT_SECTION_NESTED"},
      {0x0008000bu, "SCRIPT_E_PARAM"},
      {0x0008000du, "SCRIPT_NO_FUNC"},
      {0x0008000eu, "SCRIPT_E_ROOT_NAME"},
      {0x0008000fu, "SCRIPT_E_LOAD"},
      {0x00080010u, "SCRIPT_NO_PROCESS"},
      {0x00080011u, "SCRIPT_E_FORMAT"},
      {0x00080012u, "SCRIPT_E_ATTR"},
      {0x00080013u, "SCRIPT_E_SECTION_DUP"},
      {0x00080014u, "SCRIPT_E_PARAM_TAG"},
      {0x00080015u, "SCRIPT_NO_MEMORY"},
      {0x00080016u, "SCRIPT_PARAM_COUNT"},
      {0x00080017u, "SCRIPT_PARAM_TYPE"},
      {0x00080018u, "SCRIPT_E_PARAMS_CHILD"},
      {0x00080019u, "SCRIPT_EMPTY_NAME"},
      {0x0008001au, "SCRIPT_E_SAVE"},
      {0x0008001bu, "SCRIPT_E_SAVE_XML"},
      {0x0008001cu, "SCRIPT_E_REMOVE"},
      {0x0008001du, "SCRIPT_E_CREATE_NODE"},
      {0x0008001eu, "SCRIPT_E_SET_ATTR"},
      {0x0008001fu, "SCRIPT_E_INSERT_NODE"},
      {0x00080020u, "SCRIPT_FUNC_EXISTS"},
      {0x800c0000u, "LOG_OK"},
      {0x000c0001u, "LOG_BAD_PARAM"},
      {0x000c0004u, "LOG_THREAD_FAILED"},
      {0x000c0005u, "LOG_OPEN_FAILED"},
      {0x000c0006u, "LOG_NO_MEMORY"},
      {0x80100000u, "FW_OK"},
      {0x00100001u, "FW_ENV_EXISTS"},
      {0x00100002u, "FW_NO_MEMORY"},
      {0x80140000u, "DB_OK"},
      {0x00140001u, "DB_NO_MEMORY"},
  };
  EXPECT_EQ(std::size(codes), all_codes().size());
  for (const auto& code : codes) {
    EXPECT_STREQ(ec::name(code.value), code.name);
  }
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
