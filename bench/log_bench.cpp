// The run log: what a disabled level costs its caller, and a record written directly or queued.
#include <benchmark/benchmark.h>

#include "bench/facade.h"
#include "fwbase/support/run_log.h"

namespace {

using fwbase::IRunLog;
using fwbase::bench::Facade;

// A message that makes a record of about 216 bytes with its location.
void log_one(int number) {
  RUN_LOG_AT(nullptr, WARN, "session %d: 64 bytes received, checked and handed to its worker",
             number);
}

void run(benchmark::State& state) {
  int number = 0;
  for (auto _ : state) {
    log_one(++number);
  }
  state.SetItemsProcessed(state.iterations());
}

void DisabledLevel(benchmark::State& state) {
  const Facade facade;
  facade->runlog()->type(IRunLog::ERROR);
  run(state);
}
BENCHMARK(DisabledLevel);

void DirectRecord(benchmark::State& state) {
  const Facade facade;
  facade->runlog()->type(IRunLog::WARN);
  run(state);
}
BENCHMARK(DirectRecord);

void DirectRecordWithDetails(benchmark::State& state) {
  const Facade facade;
  facade->runlog()->type(IRunLog::WARN);
  facade->runlog()->info(IRunLog::INFO_TIME | IRunLog::INFO_PID | IRunLog::INFO_TID);
  run(state);
}
BENCHMARK(DirectRecordWithDetails);

// Sustained: the queue is full most of the time, so this is what the writer thread manages.
void QueuedRecord(benchmark::State& state) {
  const Facade facade;
  facade->runlog()->asynch(true);
  facade->runlog()->type(IRunLog::WARN);
  run(state);
}
BENCHMARK(QueuedRecord)->UseRealTime();

}  // namespace
