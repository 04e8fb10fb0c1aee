#include "CalibGlobalParam.h"

#include "LibraryLoader.h"

// Static objects of the plug-in stand in this one file, since their order matters: the registry of modules that are
// loaded at run time comes first, then the parameter block.
std::vector<LibraryRecord*>& g_listLoadedModules = *new std::vector<LibraryRecord*>;
CalibGlobalParam g_calibGlobalParam;
