// A program as the engine runs it.
#ifndef FWBASE_SCRIPT_LOADED_PROGRAM_H
#define FWBASE_SCRIPT_LOADED_PROGRAM_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "fwbase/script/script.h"

namespace fwbase {

/// The host's function for a function that a program calls. It is valid while `registrations`
/// equals the engine's count. Runs of several threads may write it at once, each with the lock held
/// for reading: the count cannot change then, so that all of them write the same.
struct CScript::Binding {
  std::atomic<ISyntax*> function = nullptr;
  std::atomic<std::uint64_t> registrations = 0;  ///< written after the function
};

/// The program never changes, so that any number of runs can share it. Runs write to bindings and
/// states only when a value changes, so that they do not take cache lines from each other.
struct CScript::LoadedProgram {
  explicit LoadedProgram(script::Program read)
      : program(std::move(read)),
        bindings(std::make_unique<Binding[]>(program.called.size())),
        states(std::make_unique<std::atomic<std::int32_t>[]>(program.calls.size())) {}

  const script::Program program;
  const std::unique_ptr<Binding[]> bindings;  ///< one for each of the called functions

  /// Of each call: 0 never run, 1 the last run succeeded, 2 it failed.
  const std::unique_ptr<std::atomic<std::int32_t>[]> states;
};

}  // namespace fwbase

#endif
