#include "CalibrateTwoCameraIns.h"
#include "CalibrateTwoCameraWnd.h"
#include "Log.h"

#include <QApplication>
#include <QMetaObject>
#include <QScreen>
#include <QThread>

namespace
{

constexpr const char* OPEN_WIZARD = "CalibrateTwoCameraIns::OpenWizard";

/// A host without widgets, or one that calls from another thread, would be taken down by the toolkit.
bool CanShowWindows()
{
    const auto* const pApplication = qobject_cast<QApplication*>(QCoreApplication::instance());
    return pApplication && pApplication->thread() == QThread::currentThread();
}

void CentreOnPrimaryScreen(QWidget& window)
{
    if (const QScreen* const pScreen = QGuiApplication::primaryScreen()) {
        const int nY = (pScreen->size().height() - window.height()) / 2;
        const int nX = (pScreen->geometry().width() - window.width()) / 2;
        window.move(nX, nY);
    }
}

/// The parent is told when the wizard ends; once, however often it has opened it.
void TellWhenClosed(const CalibrateTwoCameraWnd& window, const QWidget* pParent)
{
    if (!pParent) {
        return;
    }
    if (pParent->metaObject()->indexOfSlot("CloseWizardSlot()") < 0) {
        ILog_WriteLogF(2, "%s, %s has no slot CloseWizardSlot() and is not told when the wizard ends", OPEN_WIZARD,
                       pParent->metaObject()->className());
        return;
    }
    QObject::disconnect(&window, SIGNAL(ExitCalibDlgSignal()), pParent, SLOT(CloseWizardSlot()));
    QObject::connect(&window, SIGNAL(ExitCalibDlgSignal()), pParent, SLOT(CloseWizardSlot()));
}

} // namespace

int CalibrateTwoCameraIns::OpenWizard(QWidget* pParent, void (CalibrateTwoCameraWnd::*pModeStep)())
{
    if (!CanShowWindows()) {
        ILog_WriteLogF(2, "%s, the wizard opens only on the GUI thread of an application with widgets", OPEN_WIZARD);
        return 0;
    }
    if (!m_pWizard) {
        m_pWizard = new CalibrateTwoCameraWnd(pParent, m_pDeviceHost);
    }
    m_pWizard->show();
    CentreOnPrimaryScreen(*m_pWizard);
    (m_pWizard->*pModeStep)();
    TellWhenClosed(*m_pWizard, pParent);
    m_pWizard->ApplyCameraType();
    return 0;
}

int CalibrateTwoCameraIns::ShowCalibrationWizard(QWidget* pParent)
{
    return OpenWizard(pParent, &CalibrateTwoCameraWnd::ResumeFromProgress);
}

int CalibrateTwoCameraIns::ShowCoordinateWizard(QWidget* pParent)
{
    return OpenWizard(pParent, &CalibrateTwoCameraWnd::EnterCoordinateOnly);
}

int CalibrateTwoCameraIns::ShowFusionWizard(QWidget* pParent)
{
    return OpenWizard(pParent, &CalibrateTwoCameraWnd::EnterFusionOnly);
}
