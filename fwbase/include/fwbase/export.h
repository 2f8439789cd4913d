// Marks what the shared library exports; everything else in it is hidden.
#ifndef FWBASE_EXPORT_H
#define FWBASE_EXPORT_H

/// Exported from libfwbase.so; a module library exports its creation function with it.
#define FWBASE_API __attribute__((visibility("default")))

#endif
