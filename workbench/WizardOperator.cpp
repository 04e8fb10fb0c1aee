#include "WizardOperator.h"

#include "FolderRoom.h"
#include "Log.h"
#include "OperatorHands.h"
#include "Translator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QMainWindow>
#include <QMessageBox>
#include <QToolButton>

#include <chrono>

namespace Workbench
{

namespace
{

constexpr int g_nLookMs = 5;
/// Longer than the slowest thing a page does, which is a calibration on a small computer.
constexpr qint64 g_nPatienceMs = 120'000;
/// Phase of a page on which there is nothing more to do.
constexpr int g_nLeft = 1000;

/// The camera that a page is about: pages of two cameras show it in their step bar or above their picture.
bool IsAboutTheRightCamera(const QWidget& page)
{
    if (const auto* const pCamera = page.findChild<QLabel*>("label_photoRange")) {
        return pCamera->text() == WizardWording("Right camera photo range");
    }
    const auto* const pRightStep = page.findChild<QToolButton*>("toolButton_Step4");
    return page.inherits("AutoDualCalibrateWdg") && pRightStep && pRightStep->property("Enable").toString() == "true";
}

bool IsGoodNews(const QString& strText)
{
    return strText == WizardWording("Adjusting success!") || strText == WizardWording("Camera Calibration success!");
}

} // namespace

QString WizardWording(const QString& strKey)
{
    return CTranslator::GetInstance()->GetWording(strKey);
}

WizardOperator::WizardOperator(OperatorScript script, MachineHands hands, Opening opening)
    : m_script(std::move(script)), m_hands(std::move(hands)), m_bRightDone(opening == Opening::Coordinate)
{
    connect(&m_timer, &QTimer::timeout, this, &WizardOperator::Look);
}

WizardOperator::~WizardOperator()
{
    if (m_engraving.valid()) {
        m_engraving.wait();
    }
}

bool WizardOperator::Run()
{
    m_sincePhase.start();
    m_timer.start(g_nLookMs);
    m_loop.exec();
    m_timer.stop();
    return m_strProblem.isEmpty();
}

// Looks once and does at most one thing. A box that a press opens runs its own event loop, in which this is called
// again; so nothing that may open one is done from in here, but posted.
void WizardOperator::Look()
{
    if (auto* pBox = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
        AnswerBox(*pBox);
        return;
    }
    QMainWindow* const pWindow = FindWizard();
    if (!pWindow) {
        if (!m_bConfirmed && m_strProblem.isEmpty()) {
            m_strProblem = "The wizard was closed before its end.";
        }
        m_loop.quit();
        return;
    }
    if (m_sincePhase.elapsed() > g_nPatienceMs) {
        if (!m_strProblem.isEmpty()) {
            // It cannot even be cancelled.
            m_loop.quit();
            return;
        }
        const QWidget* pPage = pWindow->centralWidget();
        Fail(QString("The page %1 does not go on.").arg(pPage ? pPage->metaObject()->className() : "that is missing"));
    }
    if (qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
        return;
    }
    if (!m_strProblem.isEmpty()) {
        Cancel(*pWindow);
        return;
    }
    UsePage(*pWindow);
}

void WizardOperator::AnswerBox(QMessageBox& box)
{
    if (box.property("answered").toBool()) {
        return;
    }
    box.setProperty("answered", true);
    const QString strText = box.text();
    m_listNotices.append(strText);
    m_sincePhase.restart();
    QAbstractButton* pButton = box.button(QMessageBox::Yes);
    const bool bPrompt = pButton != nullptr;
    if (!pButton) {
        const QList<QAbstractButton*> buttons = box.buttons();
        pButton = buttons.isEmpty() ? nullptr : buttons.first();
    }
    if (strText == WizardWording("Poor picture quality, Please re-shoot!")) {
        m_bPoorPicture = true;
    } else if (!IsGoodNews(strText) && !bPrompt) {
        // The exit prompt is met only after a failure.
        Fail(QString("The wizard said: %1").arg(strText.simplified()));
    }
    if (pButton) {
        PostClick(pButton);
    } else {
        QMetaObject::invokeMethod(&box, &QDialog::accept, Qt::QueuedConnection);
    }
}

void WizardOperator::UsePage(QMainWindow& window)
{
    QWidget* const pPage = window.centralWidget();
    if (!pPage) {
        return;
    }
    const bool bRightSide = IsAboutTheRightCamera(*pPage);
    if (pPage != m_page || bRightSide != m_bRightSide) {
        m_page = pPage;
        m_bRightSide = bRightSide;
        m_nPhase = 0;
        m_nClicked = 0;
        m_nTurns = 0;
        m_nPoses = 0;
        m_nPoor = 0;
        m_sincePhase.restart();
    }
    if (m_bChartHeld && !pPage->inherits("CalibrateWdg")) {
        m_bChartHeld = false;
        m_hands.takeChartAway();
    }
    if (pPage->inherits("HandEyePicSetWdg")) {
        UseWorkAreaPage(*pPage);
    } else if (pPage->inherits("WaitDeviceWdg_DualCamera")) {
        UseWaitPage(*pPage);
    } else if (pPage->inherits("AutoDualCalibrateWdg")) {
        UseCoordinatePage(*pPage);
    } else if (pPage->inherits("StitchingWdg")) {
        UseStitchingPage(*pPage);
    } else if (pPage->inherits("CalibrateWdg")) {
        UseChartPage(*pPage);
    } else if (pPage->inherits("FusionWdg")) {
        UseFusionPage(*pPage);
    } else if (pPage->inherits("HandEyeAdjustWdg")) {
        UseMarkPage(*pPage);
    } else {
        Fail(QString("The operator does not know the page %1.").arg(pPage->metaObject()->className()));
    }
}

void WizardOperator::UseWorkAreaPage(QWidget& page)
{
    switch (m_nPhase) {
    case 0:
        m_bToTheStart = false;
        if (ChooseSubModel(page)) {
            NextPhase("Choosing the work area and sending the pattern");
        }
        break;
    case 1:
        if (Press(page, "pushButton_upload")) {
            NextPhase();
        }
        break;
    case 2: {
        // Shut while the pattern is on its way.
        const auto* pUpload = page.findChild<QAbstractButton*>("pushButton_upload");
        if (pUpload && pUpload->isEnabled() && Press(page, "pushButton_confirm")) {
            NextPhase();
        }
        break;
    }
    default:
        break;
    }
}

bool WizardOperator::ChooseSubModel(QWidget& page)
{
    auto* pModels = page.findChild<QComboBox*>("comboBox_models");
    auto* pSubModels = page.findChild<QComboBox*>("comboBox_subModels");
    if (m_script.strSubModel.isEmpty() || !pModels || !pSubModels) {
        return true;
    }
    if (pSubModels->currentText() == m_script.strSubModel) {
        return true;
    }
    const int nWanted = pSubModels->findText(m_script.strSubModel);
    if (nWanted >= 0) {
        PostKey(pSubModels, nWanted > pSubModels->currentIndex() ? Qt::Key_Down : Qt::Key_Up);
    } else if (m_nTurns == 0) {
        PostKey(pModels, Qt::Key_Home);
        ++m_nTurns;
    } else if (m_nTurns++ < pModels->count()) {
        PostKey(pModels, Qt::Key_Down);
    } else {
        Fail(QString("The list of machines has no \"%1\".").arg(m_script.strSubModel));
    }
    return false;
}

void WizardOperator::UseWaitPage(QWidget& page)
{
    switch (m_nPhase) {
    case 0:
        if (m_bToTheStart || !m_hands.hasPattern()) {
            GoBack(page);
            break;
        }
        if (m_hands.isEngraved()) {
            // Before the run died.
            m_nPhase = 2;
            break;
        }
        m_engraving = std::async(std::launch::async, m_hands.startEngraving);
        NextPhase("Engraving the pattern");
        break;
    case 1:
        if (m_engraving.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            break;
        }
        if (!m_engraving.get()) {
            Fail("The machine did not engrave the pattern.");
            break;
        }
        NextPhase();
        break;
    case 2:
        if (Press(page, "pushButton_next")) {
            NextPhase();
        }
        break;
    default:
        break;
    }
}

void WizardOperator::Cancel(QMainWindow& window)
{
    if (m_nPhase < 0) {
        return;
    }
    QWidget* const pPage = window.centralWidget();
    if (pPage && Press(*pPage, "pushButton_cancel")) {
        m_nPhase = -1;
    }
}

bool WizardOperator::Press(QWidget& page, const char* pButton)
{
    auto* const pWidget = page.findChild<QAbstractButton*>(pButton);
    if (!pWidget || !pWidget->isVisible() || !pWidget->isEnabled()) {
        return false;
    }
    PostClick(pWidget);
    return true;
}

void WizardOperator::GoBack(QWidget& page)
{
    if (Press(page, "pushButton_back")) {
        m_nPhase = g_nLeft;
        emit ProgressSignal("Going back a page");
    }
}

void WizardOperator::Fail(const QString& strProblem)
{
    if (m_strProblem.isEmpty()) {
        // Now: a wizard that is cancelled clears its files away, and so makes room.
        const QString strNoPlace = m_hands.whyNoPlace(g_nPictureBytes);
        m_strProblem = strNoPlace.isEmpty() ? strProblem : strNoPlace;
        m_nPhase = 0;
        m_sincePhase.restart();
        ILog_WriteLogF(2, "Operator: %s", m_strProblem.toUtf8().constData());
    }
}

void WizardOperator::NextPhase(const QString& strWhat)
{
    ++m_nPhase;
    m_sincePhase.restart();
    if (!strWhat.isEmpty()) {
        emit ProgressSignal(strWhat);
    }
}

bool WizardOperator::IsListed(int nListed)
{
    const bool bListed = static_cast<std::size_t>(nListed) > m_nClicked;
    if (bListed) {
        ++m_nClicked;
        m_nTurns = 0;
        m_sincePhase.restart();
    }
    return bListed;
}

bool WizardOperator::MayTurn(QPointF target)
{
    constexpr int nMostTurns = 400;
    if (m_nTurns >= 0 && ++m_nTurns > nMostTurns) {
        Fail(QString("The cross at %1, %2 cannot be reached in the picture.").arg(target.x()).arg(target.y()));
        return false;
    }
    return m_nTurns >= 0;
}

} // namespace Workbench
