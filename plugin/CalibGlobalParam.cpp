#include "CalibGlobalParam.h"

// Static objects of the plug-in stand in this one file, since their order matters: the registry of modules that are
// loaded at run time comes first once there is one, then the parameter block.
CalibGlobalParam g_calibGlobalParam;
