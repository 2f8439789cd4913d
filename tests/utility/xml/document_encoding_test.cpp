#include "utility/xml/document_encoding.h"

#include <gtest/gtest.h>

#include "tests/harness/log_capture.h"
#include "tests/utility/xml/xml_file.h"
#include "utility/text_codec.h"

namespace {

using namespace utility;
using fwbase::test::encoded;
using std::string_literals::operator""s;
using Encodings = fwbase::test::XmlFile;

struct Case {
  std::string what, text;
};

std::string declared(const std::string& encoding, const std::string& content) {
  return "<?xml version='1.0' encoding='" + encoding + "'?>" + content;
}

std::string utf16(const std::string& utf8) { return "\xFF\xFE" + encoded("UTF-16LE", utf8); }
std::string utf32(const std::string& utf8) { return "\xFF\xFE\0\0"s + encoded("UTF-32LE", utf8); }

const std::string kHighHalf = "\x3D\xD8";  // the two halves of a character, in UTF-16LE
const std::string kLowHalf = "\x00\xDE"s;

TEST_F(Encodings, RefuseDamagedText) {
  const Case cases[] = {
      {"UTF-8 cut short", "<r>\xE4\xB8</r>"},
      {"UTF-8 of a surrogate", "<r>\xED\xA0\x80</r>"},
      {"UTF-8 in too many bytes", "<r>\xC0\xAF</r>"},
      {"UTF-8 beyond the last character", "<r>\xF4\x90\x80\x80</r>"},
      {"UCS-4 beyond the last character",
       "<\0\0\0r\0\0\0>\0\0\0\0\0\x11\0<\0\0\0/\0\0\0r\0\0\0>\0\0\0"s},
      {"ASCII with an eighth bit", declared("US-ASCII", "<r>\xE9</r>")},
      {"GB18030 cut short", declared("GB18030", "<r>\x81\x30</r>")},
      {"Shift_JIS cut short", declared("Shift_JIS", "<r>\x92</r>")},
      {"EUC-KR without such a character", declared("EUC-KR", "<r>\xFF</r>")},
      {"a zero in EBCDIC",
       encoded("IBM037", declared("IBM037", "<r>")) + '\0' + encoded("IBM037", "</r>")},
      {"an encoding that is not the one declared", encoded("IBM037", declared("UTF-8", "<r/>"))},
  };
  for (const Case& c : cases) EXPECT_EQ(load(c.text), XEC_PARSE) << c.what;
}

// The library knows these bytes for damage only near the beginning of a text.
TEST_F(Encodings, RefuseUtf8FarBeyondTheLastCharacter) {
  const std::string before = "<r><!--" + std::string(100, ',') + "--><e a='";
  for (const std::string bytes : {"\xF5\x80\x80\x80", "\xF6\xBF\xBF\xBF", "\xF7\xBF\xBF\xBF"}) {
    EXPECT_EQ(load(before + "'/>" + bytes + "</r>"), XEC_PARSE);
    EXPECT_EQ(load(before + bytes + "'/></r>"), XEC_PARSE);
    EXPECT_EQ(load(before + "'/><!--" + bytes + "--></r>"), XEC_PARSE);
  }
  EXPECT_EQ(load(before + "\xF4\x8F\xBF\xBD'/></r>"), XEC_OK);
}

// Their bytes all look like ASCII.
TEST_F(Encodings, RefuseDamagedTextOfSevenBits) {
  const Case cases[] = {
      {"HZ: no such sequence", declared("HZ-GB-2312", "<r>~x</r>")},
      {"HZ: no such character", declared("HZ-GB-2312", "<r>~{V ~}</r>")},
      {"HZ: none in an attribute", declared("HZ-GB-2312", "<r a='~{V ~}'/>")},
      {"HZ: none in a comment", declared("HZ-GB-2312", "<r><!--~{V ~}--></r>")},
      {"HZ: within double bytes at the end", declared("HZ-GB-2312", "<r/>~{")},
      {"HZ: within a sequence at the end", declared("HZ-GB-2312", "<r/>~")},
      {"ISO-2022-JP: no such sequence", declared("ISO-2022-JP", "<r>\x1B$Zx</r>")},
      {"ISO-2022-JP: no such character", declared("ISO-2022-JP", "<r>\x1B$B))\x1B(B</r>")},
      {"ISO-2022-JP: none in a comment", declared("ISO-2022-JP", "<r><!--\x1B$B))\x1B(B--></r>")},
      {"ISO-2022-JP: within a character at the end", declared("ISO-2022-JP", "<r/>\x1B$BC")},
      {"ISO-2022-JP: within double bytes at the end", declared("ISO-2022-JP", "<r/>\x1B$B")},
      {"ISO-2022-JP: within a sequence at the end", declared("ISO-2022-JP", "<r/>\x1B$")},
      {"ISO-2022-CN: no such character", declared("ISO-2022-CN", "<r>\x1B$)A\x0Ezzzz\x0F</r>")},
      {"UTF-7: half a character", declared("UTF-7", "<r>+Ti-</r>")},
      {"UTF-7: half a character at the end", declared("UTF-7", "<r/>+Ti")},
      {"UTF-7: a surrogate alone", declared("UTF-7", "<r a='+2D0-'/>")},
  };
  for (const Case& c : cases) EXPECT_EQ(load(c.text), XEC_PARSE) << c.what;
}

TEST_F(Encodings, TakeUndamagedTextOfSevenBits) {
  struct {
    std::string what, file, text;
  } const cases[] = {
      {"HZ", declared("HZ-GB-2312", "<r>~{VPND~}</r>"), "\xE4\xB8\xAD\xE6\x96\x87"},
      {"HZ: a tilde", declared("HZ-GB-2312", "<r>~~</r>"), "~"},
      {"HZ: a line end that counts for nothing", declared("HZ-GB-2312", "<r>a~\nb</r>"), "ab"},
      {"ISO-2022-JP", declared("ISO-2022-JP", "<r>\x1B$BCf\x1B(B</r>"), "\xE4\xB8\xAD"},
      {"UTF-7", declared("UTF-7", "<r>+Ti0-</r>"), "\xE4\xB8\xAD"},
      {"UTF-7: both halves of a character", declared("UTF-7", "<r>+2D3eAA-</r>"),
       "\xF0\x9F\x98\x80"},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(load(c.file), XEC_OK) << c.what;
    EXPECT_EQ(root().get_text(), c.text) << c.what;
  }
}

TEST_F(Encodings, RefuseACharacterThatTheEndOfTheFileCutsOff) {
  const Case cases[] = {
      {"UTF-8: the first byte", "<r/>\xE4"},
      {"UTF-8: two of three bytes", "<r/>\xE4\xB8"},
      {"UTF-8: three of four bytes", "<r/>\n\xF0\x9F\x98"},
      {"UTF-8: with a byte order mark", "\xEF\xBB\xBF<r/>\xE4\xB8"},
      {"UTF-8: a byte that it does not have", "<r/>\n\xFF"},
      {"UTF-8: a first byte of six", "<r/>\n\xFC\x80\x80"},
      {"UTF-8: a byte alone", "<r/>\x80"},
      {"UTF-16: a byte", utf16("<r/>") + "x"},
      {"UTF-16: a line end", utf16("<r/>") + "\n"},
      {"UTF-16: a byte, big endian", "\xFE\xFF" + encoded("UTF-16BE", "<r/>") + '\0'},
      {"UTF-16: a byte, no mark", encoded("UTF-16LE", declared("UTF-16LE", "<r/>")) + "x"},
      {"UTF-16: half a character", utf16("<r/>") + kHighHalf},
      {"UTF-32: a byte", utf32("<r/>") + "x"},
      {"UTF-32: two bytes", utf32("<r/>") + "\n\0"s},
      {"UTF-32: three bytes", utf32("<r/>") + "\n\0\0"s},
      {"UTF-32: three bytes, big endian",
       "\0\0\xFE\xFF"s + encoded("UTF-32BE", "<r/>") + "\0\0\0"s},
      {"GBK", declared("GBK", "<r/>\xD6")},
      {"GB18030: one byte of two", declared("GB18030", "<r/>\xD6")},
      {"GB18030: three bytes of four", declared("GB18030", "<r/>\x81\x30\x81")},
      {"Big5", declared("Big5", "<r/>\xA4")},
      {"Shift_JIS", declared("Shift_JIS", "<r/>\x92")},
      {"EUC-JP", declared("EUC-JP", "<r/>\xA4")},
      {"ibm-933", encoded("IBM933", declared("ibm-933", "<r/>")) + "\x0E\x50"},
  };
  for (const Case& c : cases) EXPECT_EQ(load(c.text), XEC_PARSE) << c.what;
}

TEST_F(Encodings, TakeWholeCharactersAtTheEndOfTheFile) {
  const std::string comment = "<r/><!--\xE4\xB8\xAD\xF0\x9F\x98\x80-->";
  const Case cases[] = {
      {"UTF-8", comment},
      {"UTF-8 with a name of its own", declared("utf8", comment)},
      {"UTF-16", utf16(comment)},
      {"UTF-32", utf32(comment)},
      {"GB18030", encoded("GB18030", declared("GB18030", comment))},
      {"GBK", encoded("GBK", declared("GBK", "<r/><!--\xE4\xB8\xAD-->"))},
      {"EBCDIC", encoded("IBM037", declared("IBM037", "<r/>\n"))},
      {"EBCDIC with double bytes", encoded("IBM933", declared("ibm-933", "<r/>"))},
      {"ISO-2022-JP", encoded("ISO-2022-JP", declared("ISO-2022-JP", "<r/><!--\xE4\xB8\xAD-->"))},
  };
  for (const Case& c : cases) EXPECT_EQ(load(c.text), XEC_OK) << c.what;
}

TEST_F(Encodings, RefuseHalfACharacterWhereverItIs) {
  struct {
    std::string what, before, after;
  } const places[] = {
      {"an attribute", "<r a='x", "y'/>"},
      {"an attribute's end", "<r a='", "'/>"},
      {"a text", "<r>", "</r>"},
      {"a comment", "<r><!--", "--></r>"},
      {"an instruction's end", "<r><?x ", "?></r>"},
      {"a default", "<!DOCTYPE r [<!ATTLIST r a CDATA '", "'>]><r/>"},
      {"an entity", "<!DOCTYPE r [<!ENTITY e '", "'>]><r a='&e;'/>"},
      {"an entity that nobody uses", "<!DOCTYPE r [<!ENTITY e '", "'>]><r/>"},
  };
  for (const auto& place : places) {
    const auto with = [&](const std::string& units) {
      return utf16(place.before) + units + encoded("UTF-16LE", place.after);
    };
    EXPECT_EQ(load(with(kHighHalf + kLowHalf)), XEC_OK) << place.what;
    for (const std::string& units :
         {kHighHalf, kLowHalf, kLowHalf + kHighHalf, kHighHalf + kHighHalf + kLowHalf}) {
      EXPECT_EQ(load(with(units)), XEC_PARSE) << place.what;
    }
    EXPECT_EQ(load(utf32(place.before) + kHighHalf + "\0\0"s + encoded("UTF-32LE", place.after)),
              4u)
        << place.what;
  }
  EXPECT_EQ(load(declared("CESU-8", "<r a='\xED\xA0\xBD'/>")), XEC_PARSE);
  for (const char* const text : {"<r a='&#xD83D;'/>", "<r a='&#xD83D;&#xDE00;'/>",
                                 "<!DOCTYPE r [<!ENTITY e '&#xD83D;'>]><r/>"}) {
    EXPECT_EQ(load(text), XEC_PARSE) << text;
  }
}

// Pieces of a text that is decoded must fit together.
TEST_F(Encodings, TakeCharactersThatLieAnywhere) {
  const std::string character = encoded("GB18030", "\xE4\xB8\xAD\xF0\x9F\x98\x80");
  for (const char* const pad : {"", "x", "xx", "xxx", "xxxx", "xxxxx"}) {
    const std::string text = pad + fwbase::test::repeated(character, 20'000);
    EXPECT_EQ(load(declared("GB18030", "<r>" + text + "</r>")), XEC_OK) << pad;
    EXPECT_EQ(load(declared("GB18030", "<r>" + text + "\x81</r>")), XEC_PARSE) << pad;
  }
}

TEST_F(Encodings, AReplacementCharacterIsTextWhereTheLibraryMakesNone) {
  EXPECT_EQ(load("<r>\xEF\xBF\xBD</r>"), XEC_OK);
  EXPECT_EQ(load(utf16("<r>\xEF\xBF\xBD</r>")), XEC_OK);
  EXPECT_EQ(load(utf32("<r>\xEF\xBF\xBD</r>")), XEC_OK);
  EXPECT_EQ(load(encoded("GB18030", declared("GB18030", "<r>\xEF\xBF\xBD</r>"))), XEC_PARSE);
}

// The library reads it in the encoding that its first bytes show.
TEST_F(Encodings, TakeAFileThatDeclaresWiderCharactersThanItHas) {
  EXPECT_EQ(load(declared("UTF-16", "<r>\xE4\xB8\xAD</r>")), XEC_OK);
  EXPECT_EQ(load(declared("UTF-16", "<r/>\xE4\xB8")), XEC_PARSE);
}

}  // namespace
