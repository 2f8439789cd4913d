// The facade: the library's single entry point.
#ifndef FWBASE_IFWBASE_H
#define FWBASE_IFWBASE_H

#include <fwbase/ec.h>
#include <fwbase/export.h>
#include <fwbase/idata_block.h>
#include <fwbase/iglobal_env.h>
#include <fwbase/imm.h>
#include <fwbase/irunlog.h>
#include <fwbase/iscript.h>

/// The facade and the interfaces of its components.
namespace fwbase {

/// The one facade of a process. It owns a built-in component for each role (run log, default global
/// environment, module manager, script engine, data block factory), starts and stops these, and
/// hands out the component that is installed for a role: the built-in one, or the host's
/// replacement. It also keeps further global environments, one per key.
///
/// Threads: every operation may be called from any thread. One reader-writer lock guards the
///          installed components and the keyed environments. The getters without an argument never
///          wait for that lock, so they may be called anywhere, under any lock.
/// Owner:   the facade owns its built-in components and the keyed environments. Replacements stay
///          the host's: the facade never calls their init() or release() and never deletes them.
///          A replacement must live until it is no longer installed and no thread uses it.
/// Hosts:   an exception from a module, an object or an environment does not leave the facade's
///          lock held. For a second call after an exception, see release().
/// Cancel:  a thread that is cancelled in an operation ends after that operation, or in host code
///          that the operation calls.
/// Forks:   fork() may be called at any time once instance() has returned for the first time. The
///          child can use the facade, with its contents of that moment. fork() waits until no other
///          thread changes a component, but at most one second: a change that takes longer (a
///          module's init(), say) may leave that component half changed in the child. A host
///          function, module or factory may fork; IObject::clone(), a run log's write(), a
///          function's name() and its description, and an environment of the host's that is a
///          parent must not. Handlers that the host gave to pthread_atfork() before the first
///          instance() must not use the facade. The child's run log writes in the caller's thread
///          until init(). vfork() and posix_spawn() do not concern the facade.
struct FWBASE_API IFWBase {
  /// Gives the facade: the same pointer on every call, from any thread. The first call makes it.
  ///
  /// The facade stays usable until the process is gone, also for late threads and destructors. The
  /// exit of the process releases nothing; it only writes what is queued in the run log. A host
  /// calls release() before it returns from main().
  static IFWBase* instance();

  /// Installs the built-in components, discarding replacements, then initialises the built-in run
  /// log, default global environment, module manager, script engine and data block factory, in
  /// this order. Holds the lock for writing while it installs, not while components initialise.
  ///
  /// Returns
  ///   FW_OK                 everything is in service; nothing is logged until the host opens a
  ///                         log file and enables levels
  ///   the component's code  the code of the first component that failed, unchanged (a LOG_ code
  ///                         from the run log). Earlier components stay initialised, later ones are
  ///                         not initialised; all are installed
  ///
  /// May be called again. Without a release() in between, each component forgets what it holds, as
  /// its own init() says. Keyed environments stay as they are.
  FWBASE_RESULT virtual ec::EC init() = 0;

  /// Releases the built-in data block factory, module manager, script engine, default global
  /// environment and run log, in this order; then, holding the lock for writing, sets all installed
  /// components to none and releases and deletes each keyed environment, in ascending order of the
  /// keys. init() may be called afterwards. A call with nothing to release is harmless: it only
  /// disables the log's levels and leaves no component installed.
  ///
  /// Modules are unloaded before environments are emptied. A module that stored an object whose
  /// code is in the module must remove that object in its IMM::IBase::release().
  ///
  /// Objects in keyed environments are released while the facade's lock is held. They must not call
  /// the facade's setters, create_global_env(), global_env(key) or destroy_global_env(), nor wait
  /// for a thread that does: that thread would wait forever. Such a call on the releasing thread
  /// does not wait (errno is EDEADLK) but runs in the middle of release(). The getters without an
  /// argument are safe; they give null by then.
  ///
  /// When host code throws (a module, or an object in an environment), the exception reaches the
  /// caller and the rest stays as it was. A second call continues from there and releases nothing
  /// twice. A keyed environment whose object threw is emptied and deleted.
  virtual void release() = 0;

  /// The installed run log, null before init() and after release(). Does not wait.
  virtual IRunLog* runlog() const = 0;

  /// Installs a run log; null installs the built-in one, in whatever state it is. Returns the log
  /// that was installed before, which is neither released nor deleted; threads may still be using
  /// it. Takes the lock for writing.
  ///
  /// The setters of the other roles do the same. A literal null needs a cast for global_env()
  /// only.
  virtual IRunLog* runlog(IRunLog* replacement) = 0;

  /// The installed default global environment, null before init() and after release(). Does not
  /// wait.
  virtual IGlobalEnv* global_env() const = 0;

  /// Installs a default global environment; null installs the built-in one. Returns the former
  /// one. Keyed environments keep the parent that they were made with.
  ///
  /// Overloads: what global_env(nullptr) means depends on the facade: on a non-const one it is this
  /// form, on a const one the look-up of a key. Write global_env(static_cast<IGlobalEnv*>(nullptr))
  /// to install the built-in one, global_env(static_cast<void*>(nullptr)) to look up the key null.
  /// A pointer to a class that derives from IGlobalEnv installs; any other object pointer is a key.
  virtual IGlobalEnv* global_env(IGlobalEnv* replacement) = 0;

  /// Makes a global environment for a key. Look-ups that miss continue in the environment's parent:
  /// the default environment that is installed at this moment.
  /// env   receives it; owned by the facade, until destroy_global_env() or release(). Untouched
  ///       on failure.
  /// key   any pointer, null included; compared as an address, never used as one.
  ///
  /// Returns
  ///   FW_OK          made
  ///   FW_ENV_EXISTS  the key has an environment, which stays; logged at ERROR
  ///   FW_NO_MEMORY   no memory; logged at ERROR, nothing changed
  ///
  /// Takes the lock for writing to register the environment. Initialising it, and disposing of it
  /// when it is not wanted, happen without the lock.
  FWBASE_RESULT virtual ec::EC create_global_env(IGlobalEnv*& env, void* key) = 0;

  /// Gives the environment of a key or, when the key has none, the installed default environment
  /// (null before init() and after release()). Takes the lock for reading. The pointer is valid
  /// until that environment is destroyed.
  virtual IGlobalEnv* global_env(void* key) const = 0;

  /// Removes the environment of a key, then releases and deletes it without the lock. A key without
  /// an environment is ignored. When an object in the environment throws, the other objects are
  /// still released and the environment is still deleted; the exception reaches the caller.
  virtual void destroy_global_env(void* key) = 0;

  /// The installed module manager, null before init() and after release(). Does not wait.
  virtual IMM* mm() const = 0;

  /// Installs a module manager; null installs the built-in one. Returns the former one.
  virtual IMM* mm(IMM* replacement) = 0;

  /// The installed script engine, null before init() and after release(). Does not wait.
  virtual IScript* script() const = 0;

  /// Installs a script engine; null installs the built-in one. Returns the former one.
  virtual IScript* script(IScript* replacement) = 0;

  /// The installed data block factory, null before init() and after release(). Does not wait.
  virtual IDataBlockFT* db_ft() const = 0;

  /// Installs a data block factory; null installs the built-in one. Returns the former one.
  virtual IDataBlockFT* db_ft(IDataBlockFT* replacement) = 0;

  /// The facade is never deleted by its users.
  virtual ~IFWBase() {}
};

}  // namespace fwbase

#endif
