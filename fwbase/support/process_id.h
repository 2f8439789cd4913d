// The id of this process without a system call.
#ifndef FWBASE_SUPPORT_PROCESS_ID_H
#define FWBASE_SUPPORT_PROCESS_ID_H

#include <sys/types.h>

namespace fwbase::support {

/// As getpid(), in a child too, however it was made. Any thread.
pid_t process_id();

}  // namespace fwbase::support

#endif
