#include "WizardRun.h"

#include "Log.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>

namespace Workbench
{

WizardRun::WizardRun(const InstanceSetup& setup, QWidget* pOver, const QString& strPlugin)
    : QWidget(pOver), m_pHost(std::make_unique<PluginHost>(setup, strPlugin))
{
    // It is there to be a parent; it covers nothing.
    setGeometry(0, 0, 0, 0);
    hide();
    qApp->installEventFilter(this);
}

WizardRun::~WizardRun()
{
    qApp->removeEventFilter(this);
    // The pages first: the instance outlives all that was made through it.
    qDeleteAll(findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
}

bool WizardRun::Open(Opening opening)
{
    switch (opening) {
    case Opening::Calibration:
        m_pHost->Calibrate().ShowCalibrationWizard(this);
        break;
    case Opening::Coordinate:
        m_pHost->Calibrate().ShowCoordinateWizard(this);
        break;
    case Opening::Fusion:
        m_pHost->Calibrate().ShowFusionWizard(this);
        break;
    }
    for (QWidget* const pChild : findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (pChild->isWindow() && pChild->isVisible()) {
            m_pWindow = pChild;
        }
    }
    if (!m_pWindow) {
        ILog_WriteLog(2, "The plug-in has opened no wizard window");
    }
    return m_pWindow != nullptr;
}

void WizardRun::CloseWizardSlot()
{
    if (m_bEnded) {
        return;
    }
    m_bEnded = true;
    const bool bFinished = !m_bLastDialogAsked;
    QMetaObject::invokeMethod(
        this, [this, bFinished] { emit EndedSignal(bFinished); }, Qt::QueuedConnection);
}

// The wizard closes in two ways and tells neither: after the question whether to leave, which is a dialog of its
// window, or after a notice, which has no parent. The last dialog before the closing says which it was.
bool WizardRun::eventFilter(QObject* pObject, QEvent* pEvent)
{
    if (pEvent->type() == QEvent::Show) {
        if (const auto* const pDialog = qobject_cast<QDialog*>(pObject)) {
            m_bLastDialogAsked = m_pWindow && pDialog->parentWidget() == m_pWindow;
        }
    } else if (pEvent->type() == QEvent::MouseButtonPress || pEvent->type() == QEvent::KeyPress) {
        // Who works on in the wizard has not left it.
        const auto* const pWidget = qobject_cast<QWidget*>(pObject);
        m_bLastDialogAsked = m_bLastDialogAsked && !(pWidget && pWidget->window() == m_pWindow);
    }
    return QWidget::eventFilter(pObject, pEvent);
}

} // namespace Workbench
