// The interfaces that hosts implement. The library itself makes no object of them, so it would not
// hold their type information, which a host and its modules share through it.
#include <typeinfo>

#include <fwbase/function.h>
#include <fwbase/fwbase.h>

namespace fwbase {

[[gnu::used]] static const std::type_info* const kHostInterfaces[] = {
    &typeid(IMM::IBase), &typeid(IMM::IFactory), &typeid(IGlobalEnv::IObject),
    &typeid(IScript::ISyntax), &typeid(IFunctionDescription)};

}  // namespace fwbase
