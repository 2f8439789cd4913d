// The module manager: creates modules, tells valid ones, destroys them, numbers them.
#ifndef FWBASE_IMM_H
#define FWBASE_IMM_H

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// Creates the modules of a process and remembers how each was made, so that it is destroyed the
/// matching way. A module is "valid" from the moment its creation succeeded until it is destroyed.
/// Beside that, a table of identifiers lets modules be found by number.
///
/// Threads: every operation may be called from any thread. Creation, destruction, init(),
///          release() and the operations that change identifiers take the manager's lock for
///          writing, is_valid(), get_module_factory() and query_mid() for reading. Null arguments
///          are refused before the lock is taken.
/// Hosts:   modules (init, release), factories (create, destroy), creation functions and the
///          loading and unloading of libraries (with their static objects) run under the lock
///          held for writing. They must not call the same manager, nor wait for a thread that
///          does: that thread would wait for ever. A call on their own thread does not wait (errno
///          is EDEADLK) but runs in the middle of the operation around it, whose tables it may
///          upset: a module may be released twice, say.
/// Throws:  what a module, a factory or a creation function throws reaches the caller of the
///          operation, with the lock given back; each operation says what is remembered then.
/// Failure: a failure is logged at ERROR unless said otherwise. When memory runs out, the
///          operation logs that and fails, before it calls any module, factory or function.
/// Trace:   init(), release(), the creation by path and by factory, get_module_factory(),
///          destroy_module(), create_mid(), destroy_mid() and query_mid() trace their entry and
///          exit, and so does each test of a module's validity, wherever it is made.
struct FWBASE_API IMM {
  /// What every module implements.
  struct FWBASE_API IBase {
    /// Brings the module into service. arg is what was passed to create_module().
    /// Any code with bit 31 set is a success; any other one fails the creation and is handed to
    /// its caller unchanged.
    FWBASE_RESULT virtual ec::EC init(void* arg) = 0;

    /// Ends the module. For a module that was not made by a factory this is its whole destruction
    /// (a module made with new deletes itself here). A module takes out of the global
    /// environments what it stored there: its code may be unloaded before they are emptied.
    virtual void release() = 0;

    virtual ~IBase() {}
  };

  /// A module that makes modules.
  struct FWBASE_API IFactory : IBase {
    /// Gives a module, or null when it cannot. The manager calls the module's init().
    virtual IBase* create() = 0;

    /// Takes a module of this factory back: after its release(), or when its init() failed.
    virtual void destroy(IBase* module) = 0;
  };

  /// A function that gives a module, or null. A module library exports such functions with
  /// extern "C". It may give the same module every time.
  typedef IBase* (*CreateFun)();

  /// Forgets all modules, libraries and identifiers without calling or unloading anything, and
  /// lets automatic identifiers start at 65,537. Gives MM_OK. Call release() first when there may
  /// be any; a forgotten library stays loaded.
  FWBASE_RESULT virtual ec::EC init() = 0;

  /// Empties the manager:
  ///   1. forgets the identifiers;
  ///   2. calls release() on each module that a factory made and hands it to that factory's
  ///      destroy(), from the highest address to the lowest; a module whose factory is no longer
  ///      valid is only forgotten. All these modules count as valid until the last one is done,
  ///      so a factory that was itself made by a factory must still be there: destroy its
  ///      modules with destroy_module() before;
  ///   3. calls release() on each other module, from the highest address to the lowest;
  ///   4. unloads every library.
  ///
  /// When a module or factory throws, it stops there and the exception reaches the caller: what
  /// was done, the module that threw included, is forgotten; the rest and all libraries stay, and
  /// a second call goes on with them. The manager stays usable; identifiers do not start anew.
  virtual void release() = 0;

  /// Creates a module by a function of a shared library.
  /// out     receives what the function gives; untouched when it was not called or threw.
  /// path    the library, required. A file name without a dot stands for lib<name>.so, <name>.so
  ///         and <name>, tried in this order; without a directory, in the loader's search path.
  ///         Opened once per path as given, with lazy binding and global symbols, and kept until
  ///         release(); that it is open already is logged at DEBUG. A path that failed is not
  ///         tried again before release().
  /// fname   the name of the exported function, required: a CreateFun.
  /// arg     for the module's init().
  ///
  /// Returns
  ///   MM_OK            created and initialised, or given by the function before and still valid
  ///                    (init() is not called again); each logged at DEBUG
  ///   MM_BAD_PARAM     path or fname is null, the library cannot be opened, or it has no such
  ///                    function; the loader's reason is logged, each time
  ///   MM_LOAD_FAILED   no memory for the library object; nothing is kept
  ///   MM_INIT_FAILED   the function gave null (out is null then), or no memory to remember a
  ///                    module (the function was not called)
  ///   the module's code
  ///                    when its init() failed. The module is neither released nor remembered: out
  ///                    has it, and it is the caller's to dispose of
  ///
  /// When the function throws, nothing changed; when init() throws, out has the module as above.
  ///
  /// Overloads: a literal null for the second argument of a three-argument call is ambiguous; say
  /// static_cast<IMM::IFactory*>(nullptr) or static_cast<IMM::CreateFun>(nullptr).
  FWBASE_RESULT virtual ec::EC create_module(IBase*& out, const char* path, const char* fname,
                                             void* arg) = 0;

  /// Creates a module by a factory.
  /// out       receives what create() gives; untouched when it was not called or threw.
  /// factory   required; must itself be a valid module of this manager.
  /// arg       for the module's init().
  ///
  /// Returns
  ///   MM_OK              created and initialised, or given by a factory before and still valid
  ///                      (init() is not called again)
  ///   MM_BAD_PARAM       factory is null
  ///   MM_BAD_FACTORY     factory is not a valid module
  ///   MM_FACTORY_FAILED  create() gave null (out is null then), or no memory to remember a module
  ///                      (create() was not called)
  ///   the module's code  when its init() failed; not logged. The module went back to destroy():
  ///                      out has an address that must not be used
  ///
  /// When create() throws, nothing changed; when init() throws, the module goes back as above.
  FWBASE_RESULT virtual ec::EC create_module(IBase*& out, IFactory* factory, void* arg) = 0;

  /// Creates a module by a function, as the form with a path does; records name "NULL" for path
  /// and function.
  /// fn   the function; MM_BAD_PARAM when it is null.
  FWBASE_RESULT virtual ec::EC create_module(IBase*& out, IBase* (*fn)(), void* arg) = 0;

  /// Gives the factory that made a valid module; null, logged, when m is null or no factory made
  /// it. The factory itself may have been destroyed since.
  virtual IFactory* get_module_factory(IBase* m) const = 0;

  /// True when m is a valid module, which is logged at DEBUG with how it was made. A null m and
  /// any other pointer give false; m is never dereferenced.
  virtual bool is_valid(IBase* m) const = 0;

  /// Destroys a valid module: calls its release(); one made by a factory then goes to that
  /// factory's destroy(). When its factory is no longer valid, the module is only forgotten.
  /// True when m was valid, logged at DEBUG with how it was made; false, logged at ERROR and with
  /// nothing changed, for null and any other pointer. When release() or destroy() throws, the
  /// module is forgotten. Its library stays loaded and its identifiers stay in place.
  virtual bool destroy_module(IBase* m) = 0;

  /// Gives a module a number. Whether the module is valid is not looked at.
  /// id   any number, 0 included; those above 65,536 are also handed out by auto_create_mid().
  /// m    required.
  /// False, with nothing changed, when m is null, when id is taken, or without memory.
  virtual bool create_mid(unsigned int id, IBase* m) = 0;

  /// Gives a module the next automatic number: 65,537 after init(), then one more each time, past
  /// 2^32 - 1 again from 0. A module that has that number already loses it, without a record.
  /// m   required; its validity is not looked at.
  /// Returns the number; 0, with the numbering unchanged, when m is null or without memory.
  virtual unsigned int auto_create_mid(IBase* m) = 0;

  /// Takes a number back; the module is not touched. An unknown one is logged at WARN.
  virtual void destroy_mid(unsigned int id) = 0;

  /// Gives the module of a number, which may have been destroyed since; null, logged at WARN, for
  /// an unknown one.
  virtual IBase* query_mid(unsigned int id) const = 0;

  /// Destroys the manager without calling or unloading anything: call release() first.
  virtual ~IMM() {}
};

}  // namespace fwbase

#endif
