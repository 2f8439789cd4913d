// A program as the engine runs it.
#ifndef FWBASE_SCRIPT_LOADED_PROGRAM_H
#define FWBASE_SCRIPT_LOADED_PROGRAM_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "fwbase/script/script.h"

namespace fwbase {

/// The host's function for one that a program calls, good while registrations is the engine's
/// count. Runs of several threads write it side by side, each with the lock held for reading: then
/// the count stays, and all of them write the same.
struct CScript::Binding {
  std::atomic<ISyntax*> function = nullptr;
  std::atomic<std::uint64_t> registrations = 0;  ///< written behind the function
};

/// The data stays as the reader made it, so that any number of runs can share it. What runs write
/// is written only when it changes, so that they do not take it out of each other's caches.
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
