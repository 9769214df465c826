// placeholder during the build of the registry
#include "fleetmgr/fleetmgr.h"
Boolean gFinished = FALSE;
char** gGlobalEnv = nullptr;
