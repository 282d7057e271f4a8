// Must not compile with the engine's include directories: the engine sees
// none of the window's headers.
#include "vorn.h"
