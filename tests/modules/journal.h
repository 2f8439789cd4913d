// What the modules of the test libraries do, for the test to read: passed to their init().
#ifndef FWBASE_TESTS_MODULES_JOURNAL_H
#define FWBASE_TESTS_MODULES_JOURNAL_H

#include <string>
#include <vector>

using Journal = std::vector<std::string>;

#endif
