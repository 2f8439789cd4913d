#include "fwbase/global_env/global_env.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/harness/failing_new.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/log_capture.h"

using fwbase::CGlobalEnvImpl;
using fwbase::IGlobalEnv;
using fwbase::IRunLog;
using fwbase::test::FailingNew;
using fwbase::test::gbk;
using fwbase::test::in_threads;
using fwbase::test::LogCapture;
using fwbase::test::Record;
using fwbase::test::record;

namespace {

std::string hex(const void* address) {
  char text[16];
  std::snprintf(text, sizeof(text), "%x",
                static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(address)));
  return text;
}

/// What happened to an object and its copies, and what they are to do.
struct Life {
  std::vector<std::string> events;
  int copies_alive = 0;
  bool clone_throws = false;
  bool clone_gives_null = false;
  bool release_throws = false;
};

class Object : public IGlobalEnv::IObject {
 public:
  Object(Life& life, std::string text) : m_life(life), m_text(std::move(text)) {}

  IObject* clone() const override {
    m_life.events.push_back("clone " + m_text);
    if (m_life.clone_throws) {
      throw std::runtime_error("clone " + m_text);
    }
    if (m_life.clone_gives_null) {
      return nullptr;
    }
    ++m_life.copies_alive;
    return new Object(m_life, m_text);
  }

  void release() override {
    m_life.events.push_back("release " + m_text);
    --m_life.copies_alive;
    Life& life = m_life;
    const std::string text = m_text;
    delete this;
    if (life.release_throws) {
      throw std::runtime_error("release " + text);
    }
  }

  const std::string& text() const { return m_text; }

 private:
  Life& m_life;
  std::string m_text;
};

std::string text_of(IGlobalEnv& env, const char* name) {
  IGlobalEnv::IObject* copy = nullptr;
  if (ec::failed(env.get_obj(name, &copy))) {
    return "(none)";
  }
  std::string text = static_cast<Object*>(copy)->text();
  copy->release();
  return text;
}

struct GlobalEnv : testing::Test {
  ~GlobalEnv() override { env.release(); }

  CGlobalEnvImpl env{nullptr};
  LogCapture log;
};

/// A parent and its child.
struct GlobalEnvChild : testing::Test {
  ~GlobalEnvChild() override {
    child.release();
    parent.release();
  }

  CGlobalEnvImpl parent{nullptr};
  CGlobalEnvImpl child{&parent};
  LogCapture log;
};

/// Objects: stored copies live and die with the environment.
struct GlobalEnvObjects : GlobalEnv {
  ~GlobalEnvObjects() override {
    life.clone_throws = life.release_throws = life.clone_gives_null = false;
    env.release();
    EXPECT_EQ(life.copies_alive, 0);
  }

  Life life;
  const Object a{life, "a"};
  const Object b{life, "b"};
};

}  // namespace

// Strings

TEST_F(GlobalEnv, AFoundStringStaysWhereItIsWhileOthersComeAndGo) {
  ASSERT_EQ(env.insert_str("name", "value"), ec::GENV_OK);
  const char* found = nullptr;
  ASSERT_EQ(env.get_str("name", found), ec::GENV_OK);
  const std::string& same = env.get_str("name");
  for (int i = 0; i < 10'000; ++i) {
    ASSERT_EQ(env.insert_str(std::to_string(i).c_str(), "other"), ec::GENV_OK);
  }
  for (int i = 0; i < 10'000; i += 2) {
    env.rm_str(std::to_string(i).c_str());
  }
  EXPECT_EQ(&env.get_str("name"), &same);
  EXPECT_EQ(same.c_str(), found);
  EXPECT_STREQ(found, "value");
  EXPECT_EQ(env.get_str("9999"), "other");
  EXPECT_EQ(env.get_str("9998"), "");
}

TEST_F(GlobalEnv, StringsAreCopied) {
  char name[] = "name";
  char value[] = "value";
  EXPECT_EQ(env.insert_str(name, value), ec::GENV_OK);
  name[0] = value[0] = 'X';
  const char* found = nullptr;
  EXPECT_EQ(env.get_str("name", found), ec::GENV_OK);
  EXPECT_STREQ(found, "value");
  EXPECT_EQ(env.get_str("name"), "value");
  EXPECT_EQ(found, env.get_str("name").c_str());
  EXPECT_TRUE(log.records().empty());
}

TEST_F(GlobalEnv, InsertStrOfAnExistingNameKeepsTheOldValue) {
  env.insert_str("name", "old");
  EXPECT_EQ(env.insert_str("name", "new"), ec::GENV_STR_EXISTS);
  EXPECT_EQ(env.get_str("name"), "old");
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "同名字符串已存在. name=name,val=new")});
}

TEST_F(GlobalEnv, NamesAreCaseSensitiveByteStrings) {
  EXPECT_EQ(env.insert_str("Name", "1"), ec::GENV_OK);
  EXPECT_EQ(env.insert_str("name", "2"), ec::GENV_OK);
  EXPECT_EQ(env.insert_str("\xC3\xFB", "3"), ec::GENV_OK);
  EXPECT_EQ(env.insert_str("", "4"), ec::GENV_OK);
  EXPECT_EQ(env.get_str("Name"), "1");
  EXPECT_EQ(env.get_str("name"), "2");
  EXPECT_EQ(env.get_str("\xC3\xFB"), "3");
  EXPECT_EQ(env.get_str(""), "4");
  EXPECT_EQ(env.get_str("nam"), "");
}

TEST_F(GlobalEnv, AMissingStringIsTheSameEmptyStringOnEveryCall) {
  const std::string& missing = env.get_str("missing");
  EXPECT_EQ(missing, "");
  EXPECT_EQ(&env.get_str("missing"), &missing);
  EXPECT_EQ(&env.get_str("another"), &missing);
  EXPECT_EQ(&env.get_str(nullptr), &missing);
  CGlobalEnvImpl other(nullptr);
  EXPECT_EQ(&other.get_str("missing"), &missing);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(GlobalEnv, GetStrReportsAMissingNameAndLeavesTheResultAlone) {
  const char* found = "before";
  EXPECT_EQ(env.get_str("missing", found), ec::GENV_STR_NOT_FOUND);
  EXPECT_STREQ(found, "before");
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "名为:(missing)的字符串不存在")});
}

TEST_F(GlobalEnv, ModStrReplacesTheValue) {
  env.insert_str("name", "old");
  EXPECT_EQ(env.mod_str("name", "a longer value than the old one was"), ec::GENV_OK);
  EXPECT_EQ(env.get_str("name"), "a longer value than the old one was");
  EXPECT_EQ(env.mod_str("missing", "new"), ec::GENV_STR_NOT_FOUND);
  EXPECT_EQ(env.get_str("missing"), "");
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "名为:(missing)的字符串不存在")});
}

TEST_F(GlobalEnv, ExStrAppendsAtTheEndAndPrependsOtherwise) {
  env.insert_str("name", "b");
  EXPECT_EQ(env.ex_str("name", "a", false), ec::GENV_OK);
  EXPECT_EQ(env.get_str("name"), "ab");
  EXPECT_EQ(env.ex_str("name", "c", true), ec::GENV_OK);
  EXPECT_EQ(env.get_str("name"), "abc");
  EXPECT_EQ(env.ex_str("missing", "c", true), ec::GENV_STR_NOT_FOUND);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "名为:(missing)的字符串不存在")});
}

TEST_F(GlobalEnv, AStringCanBeModifiedAndExtendedByItself) {
  const std::string text = "0123456789012345";
  env.insert_str("name", text.c_str());
  EXPECT_EQ(env.ex_str("name", env.get_str("name").c_str(), true), ec::GENV_OK);
  EXPECT_EQ(env.get_str("name"), text + text);
  EXPECT_EQ(env.ex_str("name", env.get_str("name").c_str(), false), ec::GENV_OK);
  EXPECT_EQ(env.get_str("name"), text + text + text + text);
  EXPECT_EQ(env.mod_str("name", env.get_str("name").c_str() + 60), ec::GENV_OK);
  EXPECT_EQ(env.get_str("name"), "2345");
}

TEST_F(GlobalEnv, RmStrRemovesAndIgnoresWhatIsNotThere) {
  env.insert_str("name", "value");
  env.rm_str("name");
  env.rm_str("name");
  env.rm_str(nullptr);
  const char* found = nullptr;
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(env.get_str("name", found), ec::GENV_STR_NOT_FOUND);
}

TEST_F(GlobalEnv, StringOperationsRefuseNull) {
  const char* const name = "name";
  const char* found = "before";
  env.insert_str(name, "value");

  EXPECT_EQ(env.insert_str(nullptr, name), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.insert_str(name, nullptr), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.get_str(nullptr, found), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.mod_str(nullptr, name), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.mod_str(name, nullptr), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.ex_str(nullptr, name, true), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.ex_str(name, nullptr, false), ec::GENV_BAD_PARAM);

  EXPECT_STREQ(found, "before");
  EXPECT_EQ(env.get_str(name), "value");
  const std::string at = hex(name);
  EXPECT_EQ(log.records(),
            (std::vector{
                record(IRunLog::ERROR, "参数不能为NULL. name=0x0,val=0x" + at),
                record(IRunLog::ERROR, "参数不能为NULL. name=0x" + at + ",val=0x0"),
                record(IRunLog::ERROR, "参数name不能为NULL"),
                record(IRunLog::ERROR, "输入参数错误: name=0x0,val=0x" + at),
                record(IRunLog::ERROR, "输入参数错误: name=0x" + at + ",val=0x0"),
                record(IRunLog::ERROR, "输入参数错误: name=0x0,nval=0x" + at + ",end=1"),
                record(IRunLog::ERROR, "输入参数错误: name=0x" + at + ",nval=0x0,end=0"),
            }));
}

// Addresses

TEST_F(GlobalEnv, AddressesAreInsertedModifiedAndRemoved) {
  int one = 1;
  int two = 2;
  void* found = nullptr;
  EXPECT_EQ(env.insert_addr("name", &one), ec::GENV_OK);
  EXPECT_EQ(env.get_addr("name"), &one);
  EXPECT_EQ(env.get_addr("name", found), ec::GENV_OK);
  EXPECT_EQ(found, &one);
  EXPECT_EQ(env.mod_addr("name", &two), ec::GENV_OK);
  EXPECT_EQ(env.get_addr("name"), &two);
  env.rm_addr("name");
  EXPECT_EQ(env.get_addr("name"), nullptr);
  env.rm_addr("name");
  env.rm_addr(nullptr);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(GlobalEnv, ANullAddressIsAValueThatOnlyTheFormWithACodeTellsFromAMissingOne) {
  int anything = 0;
  void* found = &anything;
  EXPECT_EQ(env.insert_addr("null", nullptr), ec::GENV_OK);
  EXPECT_EQ(env.get_addr("null"), nullptr);
  EXPECT_EQ(env.get_addr("missing"), nullptr);
  EXPECT_EQ(env.get_addr("null", found), ec::GENV_OK);
  EXPECT_EQ(found, nullptr);
  EXPECT_TRUE(log.records().empty());
  found = &anything;
  EXPECT_EQ(env.get_addr("missing", found), ec::GENV_ADDR_NOT_FOUND);
  EXPECT_EQ(found, &anything);
  EXPECT_EQ(env.mod_addr("null", &anything), ec::GENV_OK);
  EXPECT_EQ(env.mod_addr("null", nullptr), ec::GENV_OK);
  EXPECT_EQ(env.get_addr("null"), nullptr);
}

TEST_F(GlobalEnv, AddressFailuresChangeNothingAndAreLogged) {
  int one = 1;
  int two = 2;
  void* found = nullptr;
  env.insert_addr("name", &one);
  EXPECT_EQ(env.insert_addr("name", &two), ec::GENV_ADDR_EXISTS);
  EXPECT_EQ(env.insert_addr(nullptr, &two), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.get_addr(nullptr, found), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.get_addr("missing", found), ec::GENV_ADDR_NOT_FOUND);
  EXPECT_EQ(env.mod_addr(nullptr, &two), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.mod_addr("missing", &two), ec::GENV_ADDR_NOT_FOUND);
  EXPECT_EQ(env.get_addr(nullptr), nullptr);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(env.get_addr("name"), &one);
  EXPECT_EQ(env.get_addr("missing"), nullptr);
  EXPECT_EQ(log.records(), (std::vector{
                               record(IRunLog::ERROR, "名为:(name)的地址已经存在"),
                               record(IRunLog::ERROR, "参数name不能为NULL"),
                               record(IRunLog::ERROR, "参数name不能为NULL"),
                               record(IRunLog::ERROR, "名为:(missing)的地址不存在"),
                               record(IRunLog::ERROR, "参数name不能为NULL"),
                               record(IRunLog::ERROR, "名为:(missing)的地址不存在"),
                           }));
}

TEST_F(GlobalEnvObjects, TheThreeTablesShareNoNames) {
  int address = 0;
  EXPECT_EQ(env.insert_str("name", "text"), ec::GENV_OK);
  EXPECT_EQ(env.insert_addr("name", &address), ec::GENV_OK);
  EXPECT_EQ(env.insert_obj("name", &a), ec::GENV_OK);
  env.rm_addr("name");
  EXPECT_EQ(env.get_str("name"), "text");
  EXPECT_EQ(text_of(env, "name"), "a");
}

// Objects

TEST_F(GlobalEnvObjects, InsertStoresACloneAndGetGivesAnother) {
  EXPECT_EQ(env.insert_obj("name", &a), ec::GENV_OK);
  EXPECT_EQ(life.copies_alive, 1);
  IGlobalEnv::IObject* copy = nullptr;
  EXPECT_EQ(env.get_obj("name", &copy), ec::GENV_OK);
  EXPECT_EQ(life.copies_alive, 2);
  EXPECT_NE(copy, &a);
  copy->release();
  EXPECT_EQ(text_of(env, "name"), "a");
  EXPECT_EQ(
      log.records(),
      std::vector{record(IRunLog::DEBUG, "在全局环境中插入对象: name=name, object=0x" + hex(&a))});
}

TEST_F(GlobalEnvObjects, InsertOfAnExistingNameClonesNothing) {
  env.insert_obj("name", &a);
  log.clear();
  EXPECT_EQ(env.insert_obj("name", &b), ec::GENV_OBJ_EXISTS);
  EXPECT_EQ(life.events, std::vector<std::string>{"clone a"});
  EXPECT_EQ(text_of(env, "name"), "a");
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "同名对象已存在,无法重复插入:name=name")});
}

TEST_F(GlobalEnvObjects, ModReleasesTheStoredCopyFirstThenClones) {
  env.insert_obj("name", &a);
  life.events.clear();
  log.clear();
  EXPECT_EQ(env.mod_obj("name", &b), ec::GENV_OK);
  EXPECT_EQ(life.events, (std::vector<std::string>{"release a", "clone b"}));
  EXPECT_EQ(text_of(env, "name"), "b");
  EXPECT_TRUE(log.records().empty());
}

TEST_F(GlobalEnvObjects, RmReleasesTheStoredCopy) {
  env.insert_obj("name", &a);
  log.clear();
  env.rm_obj("name");
  EXPECT_EQ(life.events, (std::vector<std::string>{"clone a", "release a"}));
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::DEBUG, "从全局环境中删除对象:name=name")});
  EXPECT_EQ(text_of(env, "name"), "(none)");
}

TEST_F(GlobalEnvObjects, FailuresChangeNothingAndAreLogged) {
  const char* const name = "name";
  IGlobalEnv::IObject* found = nullptr;
  env.insert_obj(name, &a);
  log.clear();
  EXPECT_EQ(env.insert_obj(nullptr, &b), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.insert_obj(name, nullptr), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.get_obj(nullptr, &found), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.get_obj(name, nullptr), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.mod_obj(nullptr, &b), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.mod_obj(name, nullptr), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.get_obj("missing", &found), ec::GENV_OBJ_NOT_FOUND);
  EXPECT_EQ(env.mod_obj("missing", &b), ec::GENV_OBJ_NOT_FOUND);
  env.rm_obj(nullptr);
  env.rm_obj("missing");
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(life.events, std::vector<std::string>{"clone a"});
  const auto bad = [](const void* bad_name, const void* object) {
    return record(IRunLog::ERROR,
                  "输入参数错误: name=0x" + hex(bad_name) + ",object=0x" + hex(object));
  };
  EXPECT_EQ(log.records(), (std::vector{
                               bad(nullptr, &b),
                               bad(name, nullptr),
                               bad(nullptr, &found),
                               bad(name, nullptr),
                               bad(nullptr, &b),
                               bad(name, nullptr),
                               record(IRunLog::ERROR, "对象不存在,无法取得:name=missing"),
                               record(IRunLog::ERROR, "对象不存在,无法修改:name=missing"),
                               record(IRunLog::WARN, "输入参数错误: name=0"),
                               record(IRunLog::WARN, "对象不存在,无法删除:name=missing"),
                           }));
  EXPECT_EQ(text_of(env, name), "a");
}

TEST_F(GlobalEnvObjects, ACloneThatGivesNullIsRefused) {
  env.insert_obj("name", &a);
  log.clear();
  life.clone_gives_null = true;
  IGlobalEnv::IObject* found = nullptr;
  EXPECT_EQ(env.insert_obj("other", &b), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.get_obj("name", &found), ec::GENV_BAD_PARAM);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(env.mod_obj("name", &b), ec::GENV_BAD_PARAM);
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "对象的clone返回NULL:name=other"),
                                        record(IRunLog::ERROR, "对象的clone返回NULL:name=name"),
                                        record(IRunLog::ERROR, "对象的clone返回NULL:name=name")}));
  life.clone_gives_null = false;
  EXPECT_EQ(text_of(env, "other"), "(none)");
  EXPECT_EQ(text_of(env, "name"), "(none)");
}

// Emptying

TEST_F(GlobalEnvObjects, ReleaseReleasesObjectsInTheOrderOfTheirNamesAndEmptiesAll) {
  env.insert_obj("2", &a);
  env.insert_obj("1", &b);
  env.insert_str("name", "text");
  env.insert_addr("name", &life);
  life.events.clear();
  env.release();
  EXPECT_EQ(life.events, (std::vector<std::string>{"release b", "release a"}));
  EXPECT_EQ(env.get_str("name"), "");
  EXPECT_EQ(env.get_addr("name"), nullptr);
  EXPECT_EQ(text_of(env, "1"), "(none)");
  env.release();
  EXPECT_EQ(life.events.size(), 2u);
  EXPECT_EQ(env.init(), ec::GENV_OK);
  EXPECT_EQ(env.insert_obj("1", &a), ec::GENV_OK);
}

TEST_F(GlobalEnv, InitForgetsObjectsWithoutReleasingThem) {
  struct Forgotten : IGlobalEnv::IObject {
    IObject* clone() const override { return const_cast<Forgotten*>(this); }
    void release() override { ++released; }
    int released = 0;
  } object;
  env.insert_obj("name", &object);
  env.insert_str("name", "text");
  env.insert_addr("name", &object);
  EXPECT_EQ(env.init(), ec::GENV_OK);
  EXPECT_EQ(object.released, 0);
  EXPECT_EQ(env.get_str("name"), "");
  EXPECT_EQ(env.get_addr("name"), nullptr);
  IGlobalEnv::IObject* found = nullptr;
  EXPECT_EQ(env.get_obj("name", &found), ec::GENV_OBJ_NOT_FOUND);
  env.release();
  EXPECT_EQ(object.released, 0);
  {
    CGlobalEnvImpl other(nullptr);
    other.insert_obj("name", &object);
  }
  EXPECT_EQ(object.released, 0) << "nor does the destructor";
}

// Parents

TEST_F(GlobalEnvChild, LookupsFallBackToTheParent) {
  Life life;
  const Object object(life, "a");
  parent.insert_str("name", "text");
  parent.insert_addr("name", &life);
  parent.insert_obj("name", &object);
  log.clear();
  const char* text = nullptr;
  void* address = nullptr;
  EXPECT_EQ(child.get_str("name"), "text");
  EXPECT_EQ(child.get_str("name", text), ec::GENV_OK);
  EXPECT_STREQ(text, "text");
  EXPECT_EQ(child.get_addr("name"), &life);
  EXPECT_EQ(child.get_addr("name", address), ec::GENV_OK);
  EXPECT_EQ(address, &life);
  EXPECT_EQ(text_of(child, "name"), "a");
  EXPECT_TRUE(log.records().empty());
  parent.release();
}

TEST_F(GlobalEnvChild, WhatNobodyHasIsLoggedOnceByTheParent) {
  const char* text = nullptr;
  void* address = nullptr;
  IGlobalEnv::IObject* object = nullptr;
  EXPECT_EQ(child.get_str("x", text), ec::GENV_STR_NOT_FOUND);
  EXPECT_EQ(child.get_addr("x", address), ec::GENV_ADDR_NOT_FOUND);
  EXPECT_EQ(child.get_obj("x", &object), ec::GENV_OBJ_NOT_FOUND);
  EXPECT_EQ(log.records(), (std::vector{
                               record(IRunLog::ERROR, "名为:(x)的字符串不存在"),
                               record(IRunLog::ERROR, "名为:(x)的地址不存在"),
                               record(IRunLog::ERROR, "对象不存在,无法取得:name=x"),
                           }));
  for (const Record& each : log.records()) {
    EXPECT_TRUE(each.location.starts_with("this(0x" + hex(&parent) + ")")) << each.location;
  }
  EXPECT_EQ(&child.get_str("x"), &parent.get_str("x"));
}

TEST_F(GlobalEnvChild, ChangesNeverReachTheParent) {
  Life life;
  const Object object(life, "a");
  parent.insert_str("name", "parent's");
  parent.insert_addr("name", &life);
  parent.insert_obj("name", &object);
  EXPECT_EQ(child.mod_str("name", "x"), ec::GENV_STR_NOT_FOUND);
  EXPECT_EQ(child.ex_str("name", "x", true), ec::GENV_STR_NOT_FOUND);
  EXPECT_EQ(child.mod_addr("name", nullptr), ec::GENV_ADDR_NOT_FOUND);
  EXPECT_EQ(child.mod_obj("name", &object), ec::GENV_OBJ_NOT_FOUND);
  child.rm_str("name");
  child.rm_addr("name");
  child.rm_obj("name");
  EXPECT_EQ(child.get_str("name"), "parent's");
  EXPECT_EQ(child.get_addr("name"), &life);
  EXPECT_EQ(text_of(child, "name"), "a");
  parent.release();
}

TEST_F(GlobalEnvChild, InsertInTheChildShadowsTheParent) {
  Life life;
  const Object mine(life, "mine");
  const Object theirs(life, "theirs");
  parent.insert_str("name", "parent's");
  parent.insert_addr("name", &parent);
  parent.insert_obj("name", &theirs);
  EXPECT_EQ(child.insert_str("name", "child's"), ec::GENV_OK);
  EXPECT_EQ(child.insert_addr("name", nullptr), ec::GENV_OK);
  EXPECT_EQ(child.insert_obj("name", &mine), ec::GENV_OK);
  EXPECT_EQ(child.get_str("name"), "child's");
  EXPECT_EQ(child.get_addr("name"), nullptr);
  EXPECT_EQ(text_of(child, "name"), "mine");
  EXPECT_EQ(parent.get_str("name"), "parent's");
  child.rm_str("name");
  EXPECT_EQ(child.get_str("name"), "parent's");
  child.release();
  parent.release();
}

// Host code that throws

TEST_F(GlobalEnvObjects, WhenCloneThrowsNothingIsStoredAndTheLockIsGivenBack) {
  env.insert_obj("name", &a);
  life.clone_throws = true;
  IGlobalEnv::IObject* found = nullptr;
  EXPECT_THROW(env.insert_obj("other", &b), std::runtime_error);
  EXPECT_THROW(env.get_obj("name", &found), std::runtime_error);
  EXPECT_EQ(found, nullptr);
  life.clone_throws = false;
  EXPECT_EQ(env.insert_obj("other", &b), ec::GENV_OK);
  EXPECT_EQ(text_of(env, "name"), "a");
}

TEST_F(GlobalEnvObjects, WhenModThrowsTheNameIsGoneAndNothingIsReleasedTwice) {
  env.insert_obj("1", &a);
  env.insert_obj("2", &a);
  life.clone_throws = true;
  EXPECT_THROW(env.mod_obj("1", &b), std::runtime_error);
  life.clone_throws = false;
  life.release_throws = true;
  EXPECT_THROW(env.mod_obj("2", &b), std::runtime_error);
  life.release_throws = false;
  EXPECT_EQ(life.copies_alive, 0);
  EXPECT_EQ(text_of(env, "1"), "(none)");
  EXPECT_EQ(text_of(env, "2"), "(none)");
  EXPECT_EQ(env.insert_obj("1", &b), ec::GENV_OK);
}

TEST_F(GlobalEnvObjects, WhenRmThrowsTheObjectIsRemoved) {
  env.insert_obj("name", &a);
  life.release_throws = true;
  EXPECT_THROW(env.rm_obj("name"), std::runtime_error);
  life.release_throws = false;
  EXPECT_EQ(life.copies_alive, 0);
  EXPECT_EQ(text_of(env, "name"), "(none)");
}

TEST_F(GlobalEnvObjects, WhenReleaseThrowsAllAreReleasedAndTheFirstExceptionIsPassedOn) {
  env.insert_obj("1", &a);
  env.insert_obj("2", &b);
  env.insert_str("name", "text");
  life.release_throws = true;
  try {
    env.release();
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "release a");
  }
  life.release_throws = false;
  EXPECT_EQ(life.copies_alive, 0);
  EXPECT_EQ(env.get_str("name"), "");
  env.release();
  EXPECT_EQ(env.insert_obj("1", &a), ec::GENV_OK);
}

// Memory

TEST_F(GlobalEnvObjects, WithoutMemoryOperationsFailWithACodeAndChangeNothing) {
  const char* const long_name = "a name that does not fit into a string without memory";
  const char* const long_text = "a text that does not fit into a string without memory";
  env.insert_str("name", "text");
  env.insert_addr("name", &life);
  env.insert_obj("name", &a);
  const std::function<ec::EC()> operations[] = {
      [&] { return env.insert_str(long_name, long_text); },
      [&] { return env.mod_str("name", long_text); },
      [&] { return env.ex_str("name", long_text, true); },
      [&] { return env.ex_str("name", long_text, false); },
      [&] { return env.insert_addr(long_name, nullptr); },
  };
  log.type(0);
  for (const auto& operation : operations) {
    int refused = 0;
    for (int n = 1;; ++n) {
      const FailingNew memory(n, FailingNew::ANY);
      const ec::EC result = operation();
      if (!memory.has_failed()) {
        EXPECT_EQ(result, ec::GENV_OK);
        break;
      }
      ++refused;
      EXPECT_EQ(result, ec::GENV_BAD_PARAM);
      EXPECT_EQ(env.get_str(long_name), "");
      EXPECT_EQ(env.get_addr(long_name), nullptr);
      EXPECT_EQ(env.get_str("name"), "text");
    }
    EXPECT_GT(refused, 0);
    env.rm_str(long_name);
    env.rm_addr(long_name);
    env.rm_str("name");
    env.insert_str("name", "text");
  }
}

TEST_F(GlobalEnvObjects, WithoutMemoryNoObjectIsClonedForATableThatCannotTakeIt) {
  log.type(0);
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_EQ(env.insert_obj("name", &a), ec::GENV_BAD_PARAM);
    EXPECT_TRUE(memory.has_failed());
  }
  EXPECT_TRUE(life.events.empty());
  EXPECT_EQ(env.insert_obj("name", &a), ec::GENV_OK);
}

TEST_F(GlobalEnv, ScarceMemoryIsLogged) {
  const FailingNew memory(1, FailingNew::THROWING);
  EXPECT_EQ(env.insert_str("name", "text"), ec::GENV_BAD_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "内存不足. name=name")});
}

TEST_F(GlobalEnv, LookupsAllocateNothing) {
  const char* const name = "a name that does not fit into a string without memory";
  env.insert_str(name, "text");
  env.insert_addr(name, &env);
  const FailingNew memory(1, FailingNew::ANY);
  const char* text = nullptr;
  void* address = nullptr;
  EXPECT_EQ(env.get_str(name, text), ec::GENV_OK);
  EXPECT_EQ(env.get_str(name).size(), 4u);
  EXPECT_EQ(env.get_addr(name, address), ec::GENV_OK);
  EXPECT_EQ(env.get_addr(name), &env);
  EXPECT_FALSE(memory.has_failed());
}

// Traces

TEST_F(GlobalEnvObjects, ObjectOperationsInitAndReleaseAreTraced) {
  const std::function<void()> operations[] = {
      [&] { env.init(); },
      [&] { env.insert_obj("name", &a); },
      [&] { env.insert_obj(nullptr, &a); },
      [&] { text_of(env, "name"); },
      [&] { env.mod_obj("name", &b); },
      [&] { env.rm_obj("name"); },
      [&] { env.release(); },
  };
  log.type(IRunLog::TRACE);
  for (const auto& operation : operations) {
    log.clear();
    operation();
    EXPECT_EQ(log.records(),
              (std::vector{record(IRunLog::TRACE, "Call: "), record(IRunLog::TRACE, "Ret: ")}));
  }
}

TEST_F(GlobalEnv, StringAndAddressOperationsAreNotTraced) {
  log.type(IRunLog::TRACE);
  const char* text = nullptr;
  void* address = nullptr;
  env.insert_str("name", "text");
  env.get_str("name");
  env.get_str("name", text);
  env.mod_str("name", "more");
  env.ex_str("name", "text", true);
  env.rm_str("name");
  env.insert_addr("name", nullptr);
  env.get_addr("name");
  env.get_addr("name", address);
  env.mod_addr("name", nullptr);
  env.rm_addr("name");
  EXPECT_TRUE(log.records().empty());
}

TEST_F(GlobalEnv, ResultsAreTheSameWhileNothingIsLogged) {
  log.type(0);
  EXPECT_EQ(env.insert_str(nullptr, nullptr), ec::GENV_BAD_PARAM);
  EXPECT_EQ(env.mod_str("missing", "x"), ec::GENV_STR_NOT_FOUND);
  EXPECT_TRUE(log.records().empty());
}

// Threads

TEST_F(GlobalEnvChild, EightThreadsPublishLookUpAndRemove) {
  struct Shared : IGlobalEnv::IObject {
    IObject* clone() const override { return new Shared; }
    void release() override { delete this; }
  };
  const Shared object;
  parent.insert_str("shared", "text");
  parent.insert_addr("shared", &parent);
  parent.insert_obj("shared", &object);
  log.type(0);
  in_threads(8, [&](int thread) {
    const std::string name = "thread " + std::to_string(thread);
    for (int i = 0; i < 200; ++i) {
      const char* text = nullptr;
      void* address = nullptr;
      IGlobalEnv::IObject* copy = nullptr;
      EXPECT_EQ(child.insert_str(name.c_str(), "a"), ec::GENV_OK);
      EXPECT_EQ(child.ex_str(name.c_str(), "b", true), ec::GENV_OK);
      EXPECT_EQ(child.get_str(name.c_str(), text), ec::GENV_OK);
      EXPECT_EQ(std::string(text), "ab");
      EXPECT_EQ(child.get_str("shared"), "text");
      EXPECT_EQ(child.insert_addr(name.c_str(), &text), ec::GENV_OK);
      EXPECT_EQ(child.get_addr(name.c_str()), &text);
      EXPECT_EQ(child.get_addr("shared", address), ec::GENV_OK);
      EXPECT_EQ(child.insert_obj(name.c_str(), &object), ec::GENV_OK);
      EXPECT_EQ(child.mod_obj(name.c_str(), &object), ec::GENV_OK);
      EXPECT_EQ(child.get_obj("shared", &copy), ec::GENV_OK);
      copy->release();
      child.rm_str(name.c_str());
      child.rm_addr(name.c_str());
      child.rm_obj(name.c_str());
    }
  });
}

TEST_F(GlobalEnv, OfEightThreadsThatInsertTheSameNameOneSucceeds) {
  log.type(0);
  std::atomic<int> inserted{0};
  in_threads(8, [&](int) { inserted += ec::succeeded(env.insert_str("name", "text")) ? 1 : 0; });
  EXPECT_EQ(inserted, 1);
}
