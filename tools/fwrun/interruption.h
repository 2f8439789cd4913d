// Ctrl-C: fwrun ends when the call that runs has ended. CallWatch::call() makes no further call
// after an interruption.
#ifndef FWRUN_INTERRUPTION_H
#define FWRUN_INTERRUPTION_H

namespace fwrun {

/// From now on the first Ctrl-C is noted, and the next one ends the process. Does nothing when the
/// caller ignores Ctrl-C, as for a command in the background.
void note_interruption();

/// The same for SIGTERM, which counts as Ctrl-C.
void note_termination();

/// Whether Ctrl-C was pressed.
bool was_interrupted();

}  // namespace fwrun

#endif
