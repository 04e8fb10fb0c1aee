#include "PluginHost.h"

#include "Failure.h"

#include <QCoreApplication>

namespace Workbench
{

namespace
{

QString BesideTheApplication()
{
    return QCoreApplication::applicationDirPath() + "/../lib/libCalibrateTwoCamera.so";
}

} // namespace

PluginHost::PluginHost(const QString& strFile) : m_library(strFile.isEmpty() ? BesideTheApplication() : strFile)
{
    using NewFunction = Vision::ICalibrate* (*)();
    if (!m_library.load()) {
        throw Failure("The plug-in cannot be loaded: %1", {m_library.errorString()});
    }
    const auto pfnNew = reinterpret_cast<NewFunction>(m_library.resolve("NewInterface"));
    m_pfnRelease = reinterpret_cast<ReleaseFunction>(m_library.resolve("ReleaseInterface"));
    if (!pfnNew || !m_pfnRelease) {
        throw Failure("%1 is no plug-in of this kind: an export is missing.", {m_library.fileName()});
    }
    m_pCalibrate = pfnNew();
    if (!m_pCalibrate) {
        throw Failure("The plug-in gave no object.");
    }
}

PluginHost::PluginHost(const InstanceSetup& setup, const QString& strFile) : PluginHost(strFile)
{
    m_pCalibrate->SetWorkAreaSize(setup.areaMm.width(), setup.areaMm.height());
    m_pCalibrate->SetCameraNames(setup.cameras.strLeft.toUtf8().constData(),
                                 setup.cameras.strRight.toUtf8().constData());
    m_pCalibrate->SetDeviceHost(setup.pDevice);
    m_pCalibrate->SetCalibrationResourcePath(setup.strResources.toUtf8().constData());
}

// The library stays loaded: what it has made lives to the end of the process.
PluginHost::~PluginHost()
{
    m_pfnRelease(m_pCalibrate);
}

} // namespace Workbench
