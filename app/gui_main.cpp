// Entry of the window program, which vorn starts for its graphical mode.
#include "graphical_start.h"

int main(int argc, char** argv) { return graphicalStart(argc, argv); }
