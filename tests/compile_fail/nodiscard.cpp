#ifdef STRICT_OPERATION
#define FWBASE_STRICT_RESULTS
#endif
#include <fwbase/fwbase.h>
#include <fwbase/values.h>

void drop_results(fwbase::IScript* engine) {
  engine->save_script();  // no warning in hosts that do not ask for it
#ifdef NEW_FUNCTION
  fwbase::set("a", 1);
#endif
}
