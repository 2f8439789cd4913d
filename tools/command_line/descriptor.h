// An owner of a file descriptor.
#ifndef TOOLS_COMMAND_LINE_DESCRIPTOR_H
#define TOOLS_COMMAND_LINE_DESCRIPTOR_H

#include <unistd.h>

namespace tools {

/// Closes its descriptor at the end of the scope. A negative number stands for none.
class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  ~Descriptor() {
    if (m_number >= 0) {
      close(m_number);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return m_number; }

 private:
  const int m_number;
};

}  // namespace tools

#endif
