#include "UiPermissionsManager.h"

CUiPermissionsManager* CUiPermissionsManager::GetInstance()
{
    static CUiPermissionsManager manager;
    return &manager;
}

QString CUiPermissionsManager::GetThemeName()
{
    return "Quillmark";
}
