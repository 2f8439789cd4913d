// What the module offers. Hosts include this and need no symbol of the library.
#ifndef GREETER_H
#define GREETER_H

#include <fwbase/ec.h>

#include <string>

struct IGreeter {
  virtual std::string greet(const std::string& name) = 0;

 protected:
  ~IGreeter() {}
};

// Where hosts find an IGreeter*: the name of an address in the default global environment.
constexpr const char* kGreeterAddress = "greeter";

// init() takes a greeting, such as "Hello", as a const char*.

// The module's own result code, for its init(): a facility that the library does not use (bits 18
// to 30) and a reason.
constexpr ec::EC kNoGreeting = (64u << 18) | 1u;

#endif
