#include <fwbase/fwbase.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

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

namespace {

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;

template <typename Maker>
concept IsOneCreation = requires(IMM* mm, IMM::IBase*& out, Maker maker) {
  mm->create_module(out, maker, nullptr);
};

// A null does not say how a module is made: callers cast it.
static_assert(!IsOneCreation<std::nullptr_t>);
static_assert(IsOneCreation<IMM::IFactory*> && IsOneCreation<IMM::CreateFun>);

struct Module : IMM::IBase {
  ec::EC init(void* arg) override {
    *static_cast<int*>(arg) = 1;
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

IMM::IBase* create() { return new Module; }

}  // namespace

TEST(FacadeHost, ANullForGlobalEnvIsWhatItIsCastTo) {
  IFWBase* const facade = IFWBase::instance();
  ASSERT_TRUE(ec::succeeded(facade->init()));
  IGlobalEnv* const built_in = facade->global_env();
  IGlobalEnv* of_null = nullptr;
  ASSERT_EQ(facade->create_global_env(of_null, nullptr), ec::FW_OK);
  EXPECT_EQ(facade->global_env(static_cast<void*>(nullptr)), of_null);
  EXPECT_EQ(facade->global_env(of_null), built_in) << "installs";
  EXPECT_EQ(facade->global_env(static_cast<IGlobalEnv*>(nullptr)), of_null);
  EXPECT_EQ(facade->global_env(), built_in);
  // Without a cast the const of the facade decides.
  EXPECT_EQ(facade->global_env(nullptr), built_in);
  EXPECT_EQ(static_cast<const IFWBase*>(facade)->global_env(nullptr), of_null);
  facade->release();
}

TEST(FacadeHost, AHostUsesTheComponentsOfAFacadeThatItStartsAndStops) {
  IFWBase* const facade = IFWBase::instance();
  ASSERT_TRUE(ec::succeeded(facade->init()));

  int key = 0;
  IGlobalEnv* env = nullptr;
  facade->global_env()->insert_str("name", "text");
  ASSERT_EQ(facade->create_global_env(env, &key), ec::FW_OK);
  EXPECT_EQ(env->get_str("name"), "text");

  int initialised = 0;
  IMM::IBase* module = nullptr;
  ASSERT_EQ(facade->mm()->create_module(module, &create, &initialised), ec::MM_OK);
  EXPECT_EQ(initialised, 1);
  EXPECT_EQ(facade->mm()->query_mid(facade->mm()->auto_create_mid(module)), module);

  fwbase::IDataBlock* block = nullptr;
  ASSERT_EQ(facade->db_ft()->create(block, 5), ec::DB_OK);
  block->copy("hello", 5);
  EXPECT_EQ(std::string(block->rd_ptr(), block->data_len()), "hello");
  block->release();

  facade->release();
  EXPECT_EQ(facade->global_env(), nullptr);
}
