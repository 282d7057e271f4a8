// Compiles with the engine's include directories alone: the engine's
// headers need nothing from the other folders.
#include "box_analysis.h"
#include "entry_format.h"
#include "report_scope.h"
