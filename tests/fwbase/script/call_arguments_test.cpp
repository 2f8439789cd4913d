#include "fwbase/script/call_arguments.h"

#include <gtest/gtest.h>

#include "tests/support/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::script;
using fwbase::test::FailingNew;

Fun call_with(const std::string& text, const std::string& ret = "") {
  Fun call;
  call.ret = ret;
  call.params.emplace_back();
  call.params.back().type = IScript::VT_STRING;
  call.params.back().data.string_value = std::make_unique<std::string>(text);
  return call;
}

void expect_text(CallArguments& arguments, const Fun& call) {
  const std::string& text = *call.params.front().data.string_value;
  arguments.set_literal(0, text);
  EXPECT_EQ(arguments.slots()[0].string_value, text);
  EXPECT_NE(arguments.slots()[0].string_value, text.c_str());
}

TEST(CallArguments, AreCopies) {
  CallArguments arguments;
  const Fun call = call_with("a text", "result");
  ASSERT_TRUE(arguments.begin(call));
  expect_text(arguments, call);
  EXPECT_STREQ(arguments.ret(), "result");
  EXPECT_NE(arguments.ret(), call.ret.c_str());
}

TEST(CallArguments, OfACallWithoutAnyAreAnArrayAllTheSame) {
  CallArguments arguments;
  ASSERT_TRUE(arguments.begin(Fun()));
  EXPECT_NE(arguments.slots(), nullptr);
  EXPECT_EQ(arguments.ret(), nullptr);
}

TEST(CallArguments, OfTheNextCallTakeNoMemoryWhenTheyAreSmall) {
  CallArguments arguments;
  const Fun first = call_with("first", "result");
  const Fun second = call_with("second");
  ASSERT_TRUE(arguments.begin(first));
  expect_text(arguments, first);
  arguments.end();
  const FailingNew memory(1);
  ASSERT_TRUE(arguments.begin(second));
  EXPECT_EQ(arguments.slots()[0].string_value, nullptr);
  EXPECT_EQ(arguments.ret(), nullptr);
  expect_text(arguments, second);
}

TEST(CallArguments, LargeOnesGiveTheirMemoryBack) {
  CallArguments arguments;
  ASSERT_TRUE(arguments.begin(call_with(std::string(10000, 'x'))));
  arguments.end();
  EXPECT_EQ(arguments.slots(), nullptr);
  const Fun next = call_with("next");
  {
    const FailingNew memory(1);
    EXPECT_FALSE(arguments.begin(next));
  }
  ASSERT_TRUE(arguments.begin(next));
  expect_text(arguments, next);
}

TEST(CallArguments, GrowWithTheCall) {
  CallArguments arguments;
  for (const std::size_t size : {1, 400, 600, 3000, 5000, 10}) {
    const Fun call = call_with(std::string(size, 'x'), "r");
    ASSERT_TRUE(arguments.begin(call)) << size;
    expect_text(arguments, call);
    EXPECT_STREQ(arguments.ret(), "r");
    arguments.end();
  }
}

TEST(CallArguments, ATextOfAVariableWithoutMemoryIsRefused) {
  CallArguments arguments;
  Fun call;
  call.params.resize(2);
  ASSERT_TRUE(arguments.begin(call));
  ASSERT_TRUE(arguments.set_variable(0, "first"));
  {
    const FailingNew memory(1);
    EXPECT_FALSE(arguments.set_variable(1, "second"));
  }
  EXPECT_STREQ(arguments.slots()[0].string_value, "first");
  EXPECT_EQ(arguments.slots()[1].string_value, nullptr);
}

}  // namespace
