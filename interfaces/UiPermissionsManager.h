#pragma once

// Which host product this is. Linked by the library name UiPermissionsManager.

#include "ModuleExport.h"

#include <QString>

class MODULE_EXPORT CUiPermissionsManager
{
public:
    static CUiPermissionsManager* GetInstance();
    /// The theme's name; it selects the data folder.
    QString GetThemeName();
};
