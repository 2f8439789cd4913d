#include <fwbase/fwbase.h>
#include <gtest/gtest.h>

TEST(FacadeHost, InstanceIsTheSameObjectEveryTime) {
  EXPECT_NE(fwbase::IFWBase::instance(), nullptr);
  EXPECT_EQ(fwbase::IFWBase::instance(), fwbase::IFWBase::instance());
}

TEST(FacadeHost, GettersGiveNullBeforeInit) {
  const fwbase::IFWBase* const facade = fwbase::IFWBase::instance();
  EXPECT_EQ(facade->runlog(), nullptr);
  EXPECT_EQ(facade->global_env(), nullptr);
  EXPECT_EQ(facade->mm(), nullptr);
  EXPECT_EQ(facade->script(), nullptr);
  EXPECT_EQ(facade->db_ft(), nullptr);
}
