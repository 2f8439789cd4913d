// The module manager: creates, checks, destroys and numbers modules.
#ifndef FWBASE_IMM_H
#define FWBASE_IMM_H

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// Creates the modules of a process and remembers how each was made, to destroy it in the matching
/// way. A module is "valid" from its successful creation until its destruction. A separate table of
/// identifiers finds modules by number.
///
/// Threads: every operation may be called from any thread. Creation, destruction, init(),
///          release() and the operations that change identifiers take the manager's lock for
///          writing, is_valid(), get_module_factory() and query_mid() for reading. Null arguments
///          are refused before the lock is taken.
/// Hosts:   modules (init, release), factories (create, destroy), creation functions and the
///          loading and unloading of libraries (with their static objects) run under the lock held
///          for writing. They must not call the same manager, nor wait for a thread that does: that
///          thread would wait forever. A call on their own thread does not wait (errno is EDEADLK)
///          but runs in the middle of the operation around it and may corrupt that operation's
///          tables: a module may be released twice, say.
/// Throws:  an exception from a module, a factory or a creation function reaches the caller of the
///          operation, with the lock given back. Each operation says what is remembered then.
/// Failure: a failure is logged at ERROR unless said otherwise. When memory runs out, the operation
///          logs this and fails, before it calls any module, factory or function.
/// Trace:   init(), release(), the creation by path and by factory, get_module_factory(),
///          destroy_module(), create_mid(), destroy_mid() and query_mid() trace their entry and
///          exit. So does every test of a module's validity, also inside other operations.
struct FWBASE_API IMM {
  /// What every module implements.
  struct FWBASE_API IBase {
    /// Brings the module into service. arg is what was passed to create_module(). Any code with bit
    /// 31 set is a success. Any other code fails the creation and is returned unchanged.
    FWBASE_RESULT virtual ec::EC init(void* arg) = 0;

    /// Ends the module. For a module that no factory made, this is the whole destruction (a module
    /// made with new deletes itself here). The module removes what it stored in the global
    /// environments: its code may be unloaded before the environments are emptied.
    virtual void release() = 0;

    virtual ~IBase() {}
  };

  /// A module that makes other modules.
  struct FWBASE_API IFactory : IBase {
    /// Gives a module, or null on failure. The manager calls the module's init().
    virtual IBase* create() = 0;

    /// Takes back a module of this factory: after the module's release(), or when the module's
    /// init() failed.
    virtual void destroy(IBase* module) = 0;
  };

  /// A function that gives a module, or null. A module library exports such functions with
  /// extern "C". It may give the same module every time.
  typedef IBase* (*CreateFun)();

  /// Forgets all modules, libraries and identifiers without calling or unloading anything, and lets
  /// automatic identifiers start at 65,537. Gives MM_OK. Call release() first if the manager may
  /// hold any of these; a forgotten library stays loaded.
  FWBASE_RESULT virtual ec::EC init() = 0;

  /// Empties the manager:
  ///   1. forgets the identifiers;
  ///   2. calls release() on each module that a factory made and hands it to that factory's
  ///      destroy(), from the highest address to the lowest; a module whose factory is no longer
  ///      valid is only forgotten. All these modules count as valid until the last one is done, so
  ///      a factory that was itself made by a factory must still exist then: destroy its modules
  ///      with destroy_module() before;
  ///   3. calls release() on each other module, from the highest address to the lowest;
  ///   4. unloads every library.
  ///
  /// When a module or factory throws, release() stops and the exception reaches the caller. The
  /// modules released so far, including the one that threw, are forgotten. The other modules and
  /// all libraries stay; a second call continues with them. The manager stays usable; automatic
  /// identifiers continue where they were.
  virtual void release() = 0;

  /// Creates a module with a function of a shared library.
  /// out     receives what the function gives; untouched when the function was not called or threw.
  /// path    the library, required. A file name without a dot stands for lib<name>.so, <name>.so
  ///         and <name>, tried in this order. Without a directory, the loader's search path
  ///         applies. Opened once per path as given, with lazy binding and global symbols, and kept
  ///         until release(); when the library is open already, a record at DEBUG says so. A path
  ///         that failed is not tried again before release().
  /// fname   the name of the exported function, required: a CreateFun.
  /// arg     for the module's init().
  ///
  /// Returns
  ///   MM_OK            created and initialised; or the function gave a module that a function made
  ///                    before and that is still valid (init() is not called again). Both are
  ///                    logged at DEBUG
  ///   MM_BAD_PARAM     path or fname is null, the library cannot be opened, or it has no such
  ///                    function. The loader's reason is logged each time
  ///   MM_LOAD_FAILED   no memory for the library object; nothing is kept
  ///   MM_INIT_FAILED   the function gave null (out is null then), or no memory to remember a
  ///                    module (the function was not called)
  ///   the module's code
  ///                    when its init() failed. The module is neither released nor remembered: the
  ///                    caller finds it in out and disposes of it
  ///
  /// When the function throws, nothing has changed. When init() throws, out has the module, as
  /// above.
  ///
  /// Overloads: a literal null for the second argument of a three-argument call is ambiguous; write
  /// static_cast<IMM::IFactory*>(nullptr) or static_cast<IMM::CreateFun>(nullptr).
  FWBASE_RESULT virtual ec::EC create_module(IBase*& out, const char* path, const char* fname,
                                             void* arg) = 0;

  /// Creates a module with a factory.
  /// out       receives what create() gives; untouched when create() was not called or threw.
  /// factory   required; must itself be a valid module of this manager.
  /// arg       for the module's init().
  ///
  /// Returns
  ///   MM_OK              created and initialised; or create() gave a module that a factory made
  ///                      before and that is still valid (init() is not called again)
  ///   MM_BAD_PARAM       factory is null
  ///   MM_BAD_FACTORY     factory is not a valid module
  ///   MM_FACTORY_FAILED  create() gave null (out is null then), or no memory to remember a module
  ///                      (create() was not called)
  ///   the module's code  when its init() failed; not logged. The module went back to destroy():
  ///                      the address in out must not be used
  ///
  /// When create() throws, nothing has changed. When init() throws, the module goes back, as above.
  FWBASE_RESULT virtual ec::EC create_module(IBase*& out, IFactory* factory, void* arg) = 0;

  /// Creates a module with a function, as the form with a path does. Records name "NULL" as path
  /// and function.
  /// fn   the function; MM_BAD_PARAM when it is null.
  FWBASE_RESULT virtual ec::EC create_module(IBase*& out, IBase* (*fn)(), void* arg) = 0;

  /// Gives the factory that made a valid module; null, logged, when m is null or not a module of a
  /// factory. The factory itself may have been destroyed since.
  virtual IFactory* get_module_factory(IBase* m) const = 0;

  /// True when m is a valid module; a record at DEBUG says how it was made. False for null and any
  /// other pointer; m is never dereferenced.
  virtual bool is_valid(IBase* m) const = 0;

  /// Destroys a valid module: calls its release(), then hands a module made by a factory to that
  /// factory's destroy(). When the factory is no longer valid, the module is only forgotten. True
  /// when m was valid; a record at DEBUG says how it was made. False for null and any other
  /// pointer, logged at ERROR, with nothing changed. When release() or destroy() throws, the module
  /// is forgotten. Its library stays loaded and its identifiers stay in place.
  virtual bool destroy_module(IBase* m) = 0;

  /// Gives a module a number. The module's validity is not checked.
  /// id   any number, 0 included; auto_create_mid() hands out numbers above 65,536, too.
  /// m    required.
  /// False, with nothing changed, when m is null, when id is taken, or when memory runs out.
  virtual bool create_mid(unsigned int id, IBase* m) = 0;

  /// Gives a module the next automatic number: 65,537 after init(), then one more each time, and 0
  /// after 2^32 - 1. A module that already has that number loses it, without a record.
  /// m   required; its validity is not checked.
  /// Returns the number; 0, with the numbering unchanged, when m is null or memory runs out.
  virtual unsigned int auto_create_mid(IBase* m) = 0;

  /// Takes a number back; the module is not touched. An unknown number is logged at WARN.
  virtual void destroy_mid(unsigned int id) = 0;

  /// Gives the module of a number; the module may have been destroyed since. Null, logged at WARN,
  /// for an unknown number.
  virtual IBase* query_mid(unsigned int id) const = 0;

  /// Destroys the manager without calling or unloading anything: call release() first.
  virtual ~IMM() {}
};

}  // namespace fwbase

#endif
