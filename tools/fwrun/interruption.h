// Ctrl-C.
#ifndef FWRUN_INTERRUPTION_H
#define FWRUN_INTERRUPTION_H

namespace fwrun {

/// From now on the first Ctrl-C is noted, and the next one ends the process. Where the caller has
/// Ctrl-C ignored, as for a command in the background, it stays so.
void note_interruption();

/// The same of SIGTERM, which is taken for Ctrl-C.
void note_termination();

/// Whether Ctrl-C was pressed.
bool was_interrupted();

}  // namespace fwrun

#endif
