// Lets the process have the locale zh_CN.GBK.
#ifndef FWBASE_TESTS_HARNESS_GBK_LOCALE_H
#define FWBASE_TESTS_HARNESS_GBK_LOCALE_H

#include <gtest/gtest.h>
#include <langinfo.h>
#include <locale.h>
#include <stdlib.h>

#include <string>

#include "tests/harness/temp_dir.h"

namespace fwbase::test {

/// The system's locale, or one made for the test; "C" again when the object goes.
class GbkLocale {
 public:
  GbkLocale() {
    if (::setlocale(LC_ALL, "zh_CN.GBK") == nullptr) {
      const std::string name = m_directory.path("zh_CN.GBK");
      EXPECT_EQ(::system(("localedef -i zh_CN -f GBK " + name).c_str()), 0);
      ::setenv("LOCPATH", m_directory.path().c_str(), 1);
      ::setlocale(LC_ALL, "zh_CN.GBK");
    }
    EXPECT_STREQ(::nl_langinfo(CODESET), "GBK") << "there is no locale zh_CN.GBK";
  }
  ~GbkLocale() { ::setlocale(LC_ALL, "C"); }
  GbkLocale(const GbkLocale&) = delete;
  GbkLocale& operator=(const GbkLocale&) = delete;

 private:
  TempDir m_directory;
};

}  // namespace fwbase::test

#endif
