#include <gtest/gtest.h>

#include "tests/tools/fwstd/script_run.h"

namespace fwstd::test {
namespace {

struct Success {
  const char* calls;
  const char* result;  // of the variable "r"
};

void expect_results(const std::vector<Success>& successes) {
  for (const Success& one : successes) {
    SCOPED_TRACE(one.calls);
    ScriptRun run(one.calls);
    EXPECT_EQ(run.result(), ec::SCRIPT_OK) << run.error();
    EXPECT_EQ(run.value("r"), one.result);
  }
}

struct Failure {
  const char* calls;
  ec::EC code;
  const char* error;
};

void expect_failures(const std::vector<Failure>& failures) {
  for (const Failure& one : failures) {
    SCOPED_TRACE(one.calls);
    ScriptRun run(one.calls);
    EXPECT_EQ(run.result(), one.code);
    EXPECT_EQ(run.error(), one.error);
    EXPECT_EQ(run.value("r"), "missing");
  }
}

}  // namespace

TEST(TextFunctions, ConcatJoinsUpToFourTexts) {
  expect_results({
      {"<concat><a>x</a><b>y</b><ret>r</ret></concat>", "'xy'"},
      {"<concat><a>负</a><b>载</b><c>=</c><d>1</d><ret>r</ret></concat>", "'负载=1'"},
      {"<concat><a></a><b/><ret>r</ret></concat>", "''"},
  });
}

TEST(TextFunctions, FormatReplacesPlacesOnce) {
  expect_results({
      {"<format><pattern>load {1} of {2}</pattern><first>a</first><second>b</second>"
       "<ret>r</ret></format>",
       "'load a of b'"},
      {"<format><pattern>{3}{1}{1}</pattern><first>x</first><third>z</third><ret>r</ret></format>",
       "'zxx'"},
      {"<format><pattern>{1}</pattern><first>{2}</first><second>no</second><ret>r</ret></format>",
       "'{2}'"},
      {"<format><pattern>{0} {4} {1</pattern><first>x</first><ret>r</ret></format>",
       "'{0} {4} {1'"},
      {"<format><pattern/><ret>r</ret></format>", "''"},
  });
}

TEST(TextFunctions, IntToString) {
  expect_results({
      {"<int_to_string><value>-2147483648</value><ret>r</ret></int_to_string>", "'-2147483648'"},
      {"<int_to_string><value>0</value><ret>r</ret></int_to_string>", "'0'"},
  });
}

TEST(TextFunctions, StringToIntTakesAWholeNumber) {
  expect_results({
      {"<string_to_int><text>42</text><ret>r</ret></string_to_int>", "42"},
      {"<string_to_int><text>-2147483648</text><ret>r</ret></string_to_int>", "-2147483648"},
      {"<string_to_int><text>007</text><ret>r</ret></string_to_int>", "7"},
      {"<current_time><format>%n 31%t%n</format><ret>t</ret></current_time>"
       "<string_to_int><text><ref>t</ref></text><ret>r</ret></string_to_int>",
       "31"},
      {"<string_to_int><text>2050</text><unit>1024</unit><ret>r</ret></string_to_int>", "2"},
      {"<string_to_int><text>-2050</text><unit>1024</unit><ret>r</ret></string_to_int>", "-2"},
      {"<string_to_int><text>2199023255551</text><unit>1024</unit><ret>r</ret></string_to_int>",
       "2147483647"},
  });
}

TEST(TextFunctions, StringToIntFailsForAnythingElse) {
  expect_failures({
      {"<string_to_int><text/><ret>r</ret></string_to_int>", ec::SCRIPT_BAD_PARAM,
       "string_to_int: '' is not a whole number"},
      {"<string_to_int><text>12ab</text><ret>r</ret></string_to_int>", ec::SCRIPT_BAD_PARAM,
       "string_to_int: '12ab' is not a whole number"},
      {"<string_to_int><text>1.5</text><ret>r</ret></string_to_int>", ec::SCRIPT_BAD_PARAM,
       "string_to_int: '1.5' is not a whole number"},
      {"<string_to_int><text>一</text><ret>r</ret></string_to_int>", ec::SCRIPT_BAD_PARAM,
       "string_to_int: '一' is not a whole number"},
      {"<string_to_int><text>2147483648</text><ret>r</ret></string_to_int>", ec::SCRIPT_BAD_PARAM,
       "string_to_int: '2147483648' does not fit in 32 bits"},
      {"<string_to_int><text>-2147483649</text><ret>r</ret></string_to_int>", ec::SCRIPT_BAD_PARAM,
       "string_to_int: '-2147483649' does not fit in 32 bits"},
      {"<string_to_int><text>99999999999999999999</text><unit>1024</unit><ret>r</ret>"
       "</string_to_int>",
       ec::SCRIPT_BAD_PARAM, "string_to_int: '99999999999999999999' does not fit in 32 bits"},
      {"<string_to_int><text>1</text><unit>0</unit><ret>r</ret></string_to_int>",
       ec::SCRIPT_BAD_PARAM, "string_to_int: the unit is 0, not 1 or more"},
      {"<string_to_int><text>1</text><unit>-1</unit><ret>r</ret></string_to_int>",
       ec::SCRIPT_BAD_PARAM, "string_to_int: the unit is -1, not 1 or more"},
  });
}

TEST(TextFunctions, FieldPicksByBlanks) {
  expect_results({
      {"<field><text>a  b c</text><number>1</number><ret>r</ret></field>", "'a'"},
      {"<field><text>a  b c</text><number>2</number><ret>r</ret></field>", "'b'"},
      {"<field><text>a  b\nc</text><number>3</number><ret>r</ret></field>", "'c'"},
  });
}

TEST(TextFunctions, FieldPicksBySeparator) {
  expect_results({
      {"<field><text>0.42</text><number>2</number><separator>.</separator><ret>r</ret></field>",
       "'42'"},
      {"<field><text>a,,c</text><number>2</number><separator>,</separator><ret>r</ret></field>",
       "''"},
      {"<field><text>a--b</text><number>2</number><separator>--</separator><ret>r</ret></field>",
       "'b'"},
      {"<field><text>a,</text><number>2</number><separator>,</separator><ret>r</ret></field>",
       "''"},
      {"<field><text>abc</text><number>1</number><separator>,</separator><ret>r</ret></field>",
       "'abc'"},
  });
}

TEST(TextFunctions, FieldFailsWhenThereIsNone) {
  expect_failures({
      {"<field><text>a b</text><number>3</number><ret>r</ret></field>", ec::SCRIPT_NOT_FOUND,
       "field: there is no field 3 in 'a b'"},
      {"<field><text/><number>1</number><ret>r</ret></field>", ec::SCRIPT_NOT_FOUND,
       "field: there is no field 1 in ''"},
      {"<field><text>a,b</text><number>3</number><separator>,</separator><ret>r</ret></field>",
       ec::SCRIPT_NOT_FOUND, "field: there is no field 3 in 'a,b'"},
      {"<field><text>a</text><number>0</number><ret>r</ret></field>", ec::SCRIPT_BAD_PARAM,
       "field: fields are counted from 1, there is none with number 0"},
      {"<field><text>a</text><number>-2147483648</number><ret>r</ret></field>",
       ec::SCRIPT_BAD_PARAM,
       "field: fields are counted from 1, there is none with number -2147483648"},
  });
}

TEST(TextFunctions, ValueAfterFindsTheKeyAtTheStartOfAWord) {
  expect_results({
      {"<value_after><text>SwapCached: 1 kB\nCached: 2 kB</text><key>Cached:</key><ret>r</ret>"
       "</value_after>",
       "'2'"},
      {"<value_after><text>MemTotal:   16303428 kB\n</text><key>MemTotal:</key><ret>r</ret>"
       "</value_after>",
       "'16303428'"},
      {"<value_after><text>threads=4 depth=2</text><key>depth=</key><ret>r</ret></value_after>",
       "'2'"},
      {"<value_after><text>名称：\t值</text><key>名称：</key><ret>r</ret></value_after>", "'值'"},
  });
}

TEST(TextFunctions, ValueAfterFailsWithoutKeyOrValue) {
  expect_failures({
      {"<value_after><text>SwapCached: 1</text><key>Cached:</key><ret>r</ret></value_after>",
       ec::SCRIPT_NOT_FOUND, "value_after: the text has no key 'Cached:'"},
      {"<value_after><text>a:\nb: 1</text><key>a:</key><ret>r</ret></value_after>",
       ec::SCRIPT_NOT_FOUND, "value_after: no value follows the key 'a:' in its line"},
      {"<value_after><text>a:</text><key>a:</key><ret>r</ret></value_after>", ec::SCRIPT_NOT_FOUND,
       "value_after: no value follows the key 'a:' in its line"},
      {"<value_after><text>a: 1</text><key/><ret>r</ret></value_after>", ec::SCRIPT_BAD_PARAM,
       "value_after: the key is empty"},
  });
}

}  // namespace fwstd::test
