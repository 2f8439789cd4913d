// The order of the virtual operations of the public interfaces: hosts that were built earlier call
// by slot. Each interface ends with its destructor, which takes two slots and has no address to
// look at.
#include <fwbase/function.h>
#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/harness/vtable_slot.h"

using fwbase::IDataBlock;
using fwbase::IDataBlockFT;
using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;
using fwbase::test::slot_of;

namespace {

/// A member function of an overloaded name, chosen by its type.
template <typename Signature, typename Class>
std::size_t overload(Signature Class::*function) {
  return slot_of(function);
}

/// What a host adds to an interface comes behind all of its operations.
template <typename Interface>
struct Extended : Interface {
  virtual void added() = 0;
};

/// The interface has these operations in this order, then its destructor, and nothing else.
template <typename Interface>
void expect_in_order(const std::vector<std::size_t>& slots) {
  for (std::size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i], i);
  }
  EXPECT_EQ(slot_of(&Extended<Interface>::added), slots.size() + 2);
}

}  // namespace

TEST(InterfaceSlots, OfTheFacade) {
  expect_in_order<IFWBase>({
      slot_of(&IFWBase::init),
      slot_of(&IFWBase::release),
      overload<IRunLog*() const>(&IFWBase::runlog),
      overload<IRunLog*(IRunLog*)>(&IFWBase::runlog),
      overload<IGlobalEnv*() const>(&IFWBase::global_env),
      overload<IGlobalEnv*(IGlobalEnv*)>(&IFWBase::global_env),
      slot_of(&IFWBase::create_global_env),
      overload<IGlobalEnv*(void*) const>(&IFWBase::global_env),
      slot_of(&IFWBase::destroy_global_env),
      overload<IMM*() const>(&IFWBase::mm),
      overload<IMM*(IMM*)>(&IFWBase::mm),
      overload<IScript*() const>(&IFWBase::script),
      overload<IScript*(IScript*)>(&IFWBase::script),
      overload<IDataBlockFT*() const>(&IFWBase::db_ft),
      overload<IDataBlockFT*(IDataBlockFT*)>(&IFWBase::db_ft),
  });
}

TEST(InterfaceSlots, OfTheRunLog) {
  expect_in_order<IRunLog>({
      slot_of(&IRunLog::init),
      slot_of(&IRunLog::type),
      slot_of(&IRunLog::info),
      slot_of(&IRunLog::file),
      slot_of(&IRunLog::asynch),
      slot_of(&IRunLog::release),
      slot_of(&IRunLog::write),
  });
}

TEST(InterfaceSlots, OfAnEnvironment) {
  expect_in_order<IGlobalEnv>({
      slot_of(&IGlobalEnv::init),
      slot_of(&IGlobalEnv::release),
      slot_of(&IGlobalEnv::insert_str),
      overload<const std::string&(const char*)>(&IGlobalEnv::get_str),
      overload<ec::EC(const char*, const char*&)>(&IGlobalEnv::get_str),
      slot_of(&IGlobalEnv::mod_str),
      slot_of(&IGlobalEnv::ex_str),
      slot_of(&IGlobalEnv::rm_str),
      slot_of(&IGlobalEnv::insert_addr),
      overload<void*(const char*)>(&IGlobalEnv::get_addr),
      overload<ec::EC(const char*, void*&)>(&IGlobalEnv::get_addr),
      slot_of(&IGlobalEnv::mod_addr),
      slot_of(&IGlobalEnv::rm_addr),
      slot_of(&IGlobalEnv::insert_obj),
      slot_of(&IGlobalEnv::get_obj),
      slot_of(&IGlobalEnv::mod_obj),
      slot_of(&IGlobalEnv::rm_obj),
  });
}

TEST(InterfaceSlots, OfAnObjectWhoseFirstOneTheRegistryNeverCalls) {
  expect_in_order<IGlobalEnv::IObject>({
      slot_of(&IGlobalEnv::IObject::describe),
      slot_of(&IGlobalEnv::IObject::clone),
      slot_of(&IGlobalEnv::IObject::release),
  });
}

TEST(InterfaceSlots, OfTheModuleManager) {
  expect_in_order<IMM>({
      slot_of(&IMM::init),
      slot_of(&IMM::release),
      overload<ec::EC(IMM::IBase*&, const char*, const char*, void*)>(&IMM::create_module),
      overload<ec::EC(IMM::IBase*&, IMM::IFactory*, void*)>(&IMM::create_module),
      overload<ec::EC(IMM::IBase*&, IMM::CreateFun, void*)>(&IMM::create_module),
      slot_of(&IMM::get_module_factory),
      slot_of(&IMM::is_valid),
      slot_of(&IMM::destroy_module),
      slot_of(&IMM::create_mid),
      slot_of(&IMM::auto_create_mid),
      slot_of(&IMM::destroy_mid),
      slot_of(&IMM::query_mid),
  });
}

TEST(InterfaceSlots, OfModulesAndOfFactoriesWhichComeBehindTheModulesTwoDestructors) {
  expect_in_order<IMM::IBase>({slot_of(&IMM::IBase::init), slot_of(&IMM::IBase::release)});
  EXPECT_EQ(slot_of(&IMM::IFactory::create), 4u);
  EXPECT_EQ(slot_of(&IMM::IFactory::destroy), 5u);
  EXPECT_EQ(slot_of(&Extended<IMM::IFactory>::added), 6u);
}

TEST(InterfaceSlots, OfADataBlock) {
  expect_in_order<IDataBlock>({
      slot_of(&IDataBlock::release),
      overload<char*() const>(&IDataBlock::rd_ptr),
      overload<void(int)>(&IDataBlock::rd_ptr),
      overload<char*()>(&IDataBlock::wr_ptr),
      overload<void(int)>(&IDataBlock::wr_ptr),
      slot_of(&IDataBlock::copy),
      slot_of(&IDataBlock::data_len),
      slot_of(&IDataBlock::buffer_len),
      slot_of(&IDataBlock::real),
      overload<int() const>(&IDataBlock::type),
      overload<void(int)>(&IDataBlock::type),
  });
}

TEST(InterfaceSlots, OfTheDataBlockFactory) {
  expect_in_order<IDataBlockFT>({
      slot_of(&IDataBlockFT::create),
      slot_of(&IDataBlockFT::allocate),
      slot_of(&IDataBlockFT::deallocate),
  });
}

TEST(InterfaceSlots, OfTheScriptEngine) {
  expect_in_order<IScript>({
      slot_of(&IScript::init),
      slot_of(&IScript::release),
      slot_of(&IScript::expand_syntax),
      slot_of(&IScript::load_script),
      slot_of(&IScript::save_script),
      slot_of(&IScript::execute),
      slot_of(&IScript::exec_scommad),
      slot_of(&IScript::get_value),
      slot_of(&IScript::set_value),
      slot_of(&IScript::rm_value),
      slot_of(&IScript::get_value_env),
      slot_of(&IScript::set_value_env),
  });
}

TEST(InterfaceSlots, OfAScriptFunction) {
  expect_in_order<IScript::ISyntax>({
      slot_of(&IScript::ISyntax::name),
      slot_of(&IScript::ISyntax::param_types),
      slot_of(&IScript::ISyntax::param_count),
      slot_of(&IScript::ISyntax::call),
  });
}

TEST(InterfaceSlots, OfAFunctionDescription) {
  expect_in_order<fwbase::IFunctionDescription>({
      slot_of(&fwbase::IFunctionDescription::description),
      slot_of(&fwbase::IFunctionDescription::param_tag),
      slot_of(&fwbase::IFunctionDescription::param_description),
      slot_of(&fwbase::IFunctionDescription::param_default),
      slot_of(&fwbase::IFunctionDescription::origin),
  });
}
