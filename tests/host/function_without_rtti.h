#ifndef FWBASE_TESTS_HOST_FUNCTION_WITHOUT_RTTI_H
#define FWBASE_TESTS_HOST_FUNCTION_WITHOUT_RTTI_H

#include <fwbase/iscript.h>

namespace fwbase::test {

/// "bare", of one int parameter.
IScript::ISyntax& function_without_rtti();

}  // namespace fwbase::test

#endif
