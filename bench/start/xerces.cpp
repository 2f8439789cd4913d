// What a program takes that only starts and stops Xerces-C.
#include <xercesc/util/PlatformUtils.hpp>

int main() {
  xercesc::XMLPlatformUtils::Initialize();
  xercesc::XMLPlatformUtils::Terminate();
}
