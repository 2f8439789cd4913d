// An interface is one type in the host, in the library and in module libraries: casts and catches
// find it across their borders.
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;

struct TypeIdentity : testing::Test {
  TypeIdentity() { IFWBase::instance()->init(); }
  ~TypeIdentity() override { IFWBase::instance()->release(); }

  static IMM::IBase* module() {
    IMM::IBase* module = nullptr;
    IFWBase::instance()->mm()->create_module(module, ABI_TEST_MODULE, "create_module", nullptr);
    return module;
  }
};

}  // namespace

TEST_F(TypeIdentity, OfAnObjectOfTheLibraryIsThatOfItsInterfaceAndNoOther) {
  fwbase::IRunLog* const log = IFWBase::instance()->runlog();
  EXPECT_EQ(dynamic_cast<fwbase::IScript*>(log), nullptr);
  try {
    throw log;  // as hosts do with what a library hands out
  } catch (fwbase::IScript*) {
    FAIL() << "taken for a script engine";
  } catch (fwbase::IRunLog* caught) {
    EXPECT_EQ(caught, log);
  }
}

TEST_F(TypeIdentity, OfAFactoryInAModuleLibraryIsKnownToTheHost) {
  EXPECT_NE(dynamic_cast<IMM::IFactory*>(module()), nullptr);
}

TEST_F(TypeIdentity, OfAnObjectThrownInAModuleLibraryIsCaughtByItsInterface) {
  auto* const factory = dynamic_cast<IMM::IFactory*>(module());
  ASSERT_NE(factory, nullptr);
  std::string caught;
  IMM::IBase* made = nullptr;
  try {
    IFWBase::instance()->mm()->create_module(made, factory, nullptr);
  } catch (const IGlobalEnv::IObject& refusal) {
    caught = refusal.describe();
  }
  EXPECT_EQ(caught, "no module today");
}
