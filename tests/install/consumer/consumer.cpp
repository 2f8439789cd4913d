// A host that sees the installed library only.
#include <fwbase/fwbase.h>
#include <utility/str.h>

int main() {
  std::string text = " x ";
  utility::CStr::trim(text);
  fwbase::IFWBase* const fw = fwbase::IFWBase::instance();
  const bool started = ec::succeeded(fw->init());
  fw->release();
  return started && text == "x" ? 0 : 1;
}
