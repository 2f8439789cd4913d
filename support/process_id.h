// The id of this process without a system call.
#ifndef SUPPORT_PROCESS_ID_H
#define SUPPORT_PROCESS_ID_H

#include <sys/types.h>

namespace support {

/// As getpid(), in a child too, however it was made. Any thread.
pid_t process_id();

}  // namespace support

#endif
