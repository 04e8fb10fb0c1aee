#include "RuntimeModules.h"

#include "Log.h"

#include <QCoreApplication>

#include <string>
#include <vector>

namespace Workbench
{

namespace
{

/// True when the library is loaded, in either way.
bool LoadByEitherName(QLibrary& library, const QString& strName, const QString& strFolder)
{
    library.setFileName(strName);
    if (library.load()) {
        return true;
    }
    library.setFileName(strFolder + "/lib" + strName + ".so");
    if (library.load()) {
        return true;
    }
    ILog_WriteLogF(1, "The module %s cannot be loaded: %s", qPrintable(strName), qPrintable(library.errorString()));
    return false;
}

} // namespace

RuntimeModules::RuntimeModules(const QString& strFolder)
{
    const QString strCopies = strFolder.isEmpty() ? QCoreApplication::applicationDirPath() + "/../lib" : strFolder;
    // A QLibrary that goes away does not unload.
    QLibrary errorCodes;
    QLibrary driver;
    if (!LoadByEitherName(m_camera, "Camera", strCopies)) {
        m_listMissing.append("Camera");
    }
    if (!LoadByEitherName(errorCodes, "ErrCodeMgr", strCopies)) {
        m_listMissing.append("ErrCodeMgr");
    }
    if (!LoadByEitherName(driver, "DriverRD.dll", strCopies)) {
        m_listMissing.append("DriverRD.dll");
    }
}

RuntimeModules::CameraPointer RuntimeModules::NewCamera()
{
    using NewFunction = void* (*)();
    using ReleaseFunction = void (*)(void*);
    const auto pfnNew = m_camera.isLoaded() ? reinterpret_cast<NewFunction>(m_camera.resolve("NewInterface")) : nullptr;
    const auto pfnRelease = pfnNew ? reinterpret_cast<ReleaseFunction>(m_camera.resolve("ReleaseInterface")) : nullptr;
    if (!pfnRelease) {
        return {nullptr, GiveCameraBack{}};
    }
    return {static_cast<ICameraDevice*>(pfnNew()), GiveCameraBack{pfnRelease}};
}

SetSimulatedCamerasFunction RuntimeModules::SimulatedCamerasSetter()
{
    return m_camera.isLoaded() ? reinterpret_cast<SetSimulatedCamerasFunction>(m_camera.resolve("SetSimulatedCameras"))
                               : nullptr;
}

LentCameras::LentCameras(RuntimeModules& modules, ISimulatedCameras& cameras)
    : m_pfnSet(modules.SimulatedCamerasSetter())
{
    if (m_pfnSet) {
        m_pfnSet(&cameras);
    } else {
        ILog_WriteLog(2, "The camera module takes no simulated cameras");
    }
}

LentCameras::~LentCameras()
{
    if (m_pfnSet) {
        m_pfnSet(nullptr);
    }
}

CameraNames FindCameras(ICameraDevice& camera)
{
    std::vector<std::string> listed;
    if (camera.GetCameraList(listed) != 0) {
        return {};
    }
    CameraNames names;
    bool bByName = false;
    for (const std::string& strListed : listed) {
        const QString strName = QString::fromStdString(strListed);
        if (strName.endsWith("Camera-Left")) {
            names.strLeft = strName;
            bByName = true;
        } else if (strName.endsWith("Camera-Right")) {
            names.strRight = strName;
            bByName = true;
        }
    }
    if (!bByName && listed.size() >= 2) {
        names = {QString::fromStdString(listed[0]), QString::fromStdString(listed[1])};
    }
    return names;
}

} // namespace Workbench
