// Lets the process have a code page that can express less than Unicode, without its locale being
// installed.
#ifndef FWBASE_TESTS_HARNESS_CODE_PAGE_H
#define FWBASE_TESTS_HARNESS_CODE_PAGE_H

namespace fwbase::test {

/// While it lives, nl_langinfo(CODESET) gives this name in every thread of the test program.
class CodePage {
 public:
  explicit CodePage(const char* name);
  ~CodePage();
  CodePage(const CodePage&) = delete;
  CodePage& operator=(const CodePage&) = delete;
};

}  // namespace fwbase::test

#endif
