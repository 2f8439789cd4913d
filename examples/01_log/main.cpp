// 01: a host that logs. Writes host.log into the current directory.
#include <fwbase/fwbase.h>
#include <fwbase/module.h>  // FWBASE_LOG and FWBASE_TRACE, for modules and hosts alike

#include <cstdio>
#include <string>

using fwbase::IFWBase;
using fwbase::IRunLog;

// Stands for something that takes long to make.
std::string snapshot() {
  std::puts("taking a snapshot");
  return "queue 3/16";
}

class Feed {
 public:
  // Member functions log with FWBASE_LOG: the record tells this object, this function and this
  // line. The format and its arguments are those of printf, checked by the compiler.
  void drop(int line, const char* reason) {
    FWBASE_TRACE("drop");  // at TRACE, a record now and one when the function ends
    FWBASE_LOG(WARN, "line %d dropped: %s", line, reason);

    // While the level is off, the arguments are not evaluated: no snapshot is taken.
    FWBASE_LOG(DUMP, "%s", snapshot().c_str());
  }
};

int main() {
  // The facade is the library's single entry point. init() brings its components into service, also
  // the log; they log nothing yet.
  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init())) return 1;

  // Where records go. The log appends to the file. At 10 MiB the file becomes host.log.bak.0, the
  // older backups move on to .bak.3, and the oldest one is deleted.
  IRunLog* const log = fw->runlog();
  const ec::EC opened = log->file("host.log");
  if (ec::failed(opened)) {
    std::fprintf(stderr, "host.log: %s\n", ec::text(opened));
    return 1;
  }

  // Which records are written, as a mask of levels: levels are bits, not steps.
  log->type(IRunLog::WARN | IRunLog::ERROR | IRunLog::ALERT);

  // What each record starts with. Without this it is only the level.
  log->info(IRunLog::INFO_PID | IRunLog::INFO_TIME);

  // A log starts in direct mode: a record is in the file when the call returns.
  Feed feed;
  feed.drop(7, "too long");

  // In queued mode a thread of the library writes. Nothing is lost: a caller waits while the queue
  // is full, and release() writes what is still queued.
  log->asynch(true);

  // All levels, from here on.
  log->type(IRunLog::TRACE | IRunLog::DEBUG | IRunLog::WARN | IRunLog::ERROR | IRunLog::ALERT |
            IRunLog::DUMP);
  feed.drop(8, "not UTF-8");

  // Functions that are not members name the object of the record, or none.
  log->type(IRunLog::ERROR | IRunLog::ALERT);
  FWBASE_LOG_AT(nullptr, ALERT, "%d lines dropped", 2);

  // Ends every component; the log comes last, so the last records still reach the file.
  fw->release();
}
