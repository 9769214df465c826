// fleetmgr: the Fleet Manager tool of the environment.
#include "fleetmgr/fleetmgr.h"

int main(int argc, char** argv, char** env) { return fleetMgrMain(argc, argv, env); }
