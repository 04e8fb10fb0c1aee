#include "WizardOperator.h"

#include "Log.h"
#include "Translator.h"

#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QDialog>
#include <QGraphicsPixmapItem>
#include <QGraphicsView>
#include <QKeyEvent>
#include <QListWidget>
#include <QMainWindow>
#include <QMessageBox>
#include <QMouseEvent>
#include <QScrollBar>
#include <QToolButton>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>

namespace Workbench
{

namespace
{

constexpr int g_nLookMs = 5;
/// Longer than the slowest thing a page does, which is a calibration on a small computer.
constexpr qint64 g_nPatienceMs = 120'000;
/// A view pixel is a picture pixel then, and a click as exact as the picture.
constexpr double g_dClickScale = 1.0;
constexpr int g_nMostTurns = 400;
constexpr int g_nNotch = 120;
/// Phase of a page on which there is nothing more to do.
constexpr int g_nLeft = 1000;

QString Wording(const QString& strKey)
{
    return CTranslator::GetInstance()->GetWording(strKey);
}

QMainWindow* FindWizard()
{
    for (QWidget* pWidget : QApplication::topLevelWidgets()) {
        if (pWidget->objectName() == "CalibrateTwoCameraWnd" && pWidget->isVisible()) {
            return qobject_cast<QMainWindow*>(pWidget);
        }
    }
    return nullptr;
}

bool ShowsPicture(const QGraphicsView& view)
{
    const QList<QGraphicsItem*> items = view.items();
    return std::any_of(items.begin(), items.end(), [](const QGraphicsItem* pItem) {
        const auto* pPicture = qgraphicsitem_cast<const QGraphicsPixmapItem*>(pItem);
        return pPicture && !pPicture->pixmap().isNull();
    });
}

/// Posted, since the press may open a box whose event loop this object must look into.
void PostClick(QAbstractButton* pButton)
{
    QMetaObject::invokeMethod(pButton, &QAbstractButton::click, Qt::QueuedConnection);
}

void PostKey(QWidget* pWidget, int nKey)
{
    QApplication::postEvent(pWidget, new QKeyEvent(QEvent::KeyPress, nKey, Qt::NoModifier));
    QApplication::postEvent(pWidget, new QKeyEvent(QEvent::KeyRelease, nKey, Qt::NoModifier));
}

void PostDoubleClick(QWidget* pViewport, QPoint place)
{
    const QPointF local(place);
    const QPointF global(pViewport->mapToGlobal(place));
    const auto post = [&](QEvent::Type type, Qt::MouseButtons held) {
        QApplication::postEvent(pViewport, new QMouseEvent(type, local, global, Qt::LeftButton, held, Qt::NoModifier));
    };
    post(QEvent::MouseButtonPress, Qt::LeftButton);
    post(QEvent::MouseButtonRelease, Qt::NoButton);
    post(QEvent::MouseButtonDblClick, Qt::LeftButton);
    post(QEvent::MouseButtonRelease, Qt::NoButton);
}

/// Sent, so that the mouse is still there when the view looks for it.
void TurnWheel(QWidget* pViewport, QPoint place, int nNotches)
{
    const QPoint global = pViewport->mapToGlobal(place);
    QCursor::setPos(global);
    QMouseEvent move(QEvent::MouseMove, QPointF(place), QPointF(global), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(pViewport, &move);
    QWheelEvent wheel(QPointF(place), QPointF(global), QPoint(), QPoint(0, nNotches * g_nNotch), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(pViewport, &wheel);
}

/// Moves the picture by the right button.
void Drag(QWidget* pViewport, QPoint from, QPoint by)
{
    const auto send = [&](QEvent::Type type, QPoint place, Qt::MouseButton button, Qt::MouseButtons held) {
        const QPoint global = pViewport->mapToGlobal(place);
        QCursor::setPos(global);
        QMouseEvent event(type, QPointF(place), QPointF(global), button, held, Qt::NoModifier);
        QApplication::sendEvent(pViewport, &event);
    };
    send(QEvent::MouseMove, from, Qt::NoButton, Qt::NoButton);
    send(QEvent::MouseButtonPress, from, Qt::RightButton, Qt::RightButton);
    send(QEvent::MouseMove, from + by, Qt::NoButton, Qt::RightButton);
    send(QEvent::MouseButtonRelease, from + by, Qt::RightButton, Qt::NoButton);
}

} // namespace

WizardOperator::WizardOperator(OperatorScript script, MachineHands hands)
    : m_script(std::move(script)), m_hands(std::move(hands))
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
    // The one piece of good news. The exit prompt is met only after a failure.
    if (strText != Wording("Adjusting success!") && !bPrompt) {
        Fail(QString("The wizard said: %1").arg(strText));
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
    // The left and the right camera share a page, whose step bar tells which one it is.
    const auto* pRightStep = pPage->findChild<QToolButton*>("toolButton_Step4");
    const bool bRightSide = pRightStep && pRightStep->property("Enable").toString() == "true";
    if (pPage != m_page || bRightSide != m_bRightSide) {
        m_page = pPage;
        m_bRightSide = bRightSide;
        m_nPhase = 0;
        m_nClicked = 0;
        m_nTurns = 0;
        m_sincePhase.restart();
    }
    if (pPage->inherits("HandEyePicSetWdg")) {
        UseWorkAreaPage(*pPage);
    } else if (pPage->inherits("WaitDeviceWdg_DualCamera")) {
        UseWaitPage(*pPage);
    } else if (pPage->inherits("AutoDualCalibrateWdg")) {
        UseCoordinatePage(*pPage);
    } else if (pPage->inherits("StitchingWdg")) {
        UseStitchingPage(*pPage);
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

void WizardOperator::UseCoordinatePage(QWidget& page)
{
    auto* pView = page.findChild<QGraphicsView*>("graphicsView");
    auto* pList = page.findChild<QListWidget*>("listWidget_Coord");
    if (!pView || !pList) {
        Fail("The page for the crosses has no picture.");
        return;
    }
    const std::vector<QPointF>& points = m_bRightSide ? m_script.right : m_script.left;
    switch (m_nPhase) {
    case 0:
        // A run that died early is resumed here also before anything was engraved.
        if (m_bToTheStart || !m_hands.isEngraved()) {
            GoBack(page);
            break;
        }
        // Shut for some seconds after the picture before.
        if (Press(page, "pushButton_takePic")) {
            NextPhase(m_bRightSide ? "Taking the right picture" : "Taking the left picture");
        }
        break;
    case 1:
        if (ShowsPicture(*pView)) {
            NextPhase(QString("Clicking %1 crosses").arg(points.size()));
        }
        break;
    case 2:
        if (m_nClicked == points.size()) {
            NextPhase(m_bRightSide ? "Calibrating the right camera" : "Calibrating the left camera");
        } else {
            ClickCross(page, *pView, points[m_nClicked], pList->count());
        }
        break;
    case 3:
        if (Press(page, "pushButton_confirm")) {
            m_bRightDone = m_bRightSide;
            NextPhase();
        } else {
            Fail(QString("The page does not take %1 crosses as all of them.").arg(points.size()));
        }
        break;
    default:
        break;
    }
}

// Zooms until the cross is large and clear of what floats over the picture, then adds a point there.
void WizardOperator::ClickCross(QWidget& page, QGraphicsView& view, QPointF target, int nListed)
{
    if (static_cast<std::size_t>(nListed) > m_nClicked) {
        ++m_nClicked;
        m_nTurns = 0;
        m_sincePhase.restart();
        return;
    }
    auto* pAdd = page.findChild<QToolButton*>("toolButton_Add");
    if (pAdd && !pAdd->isEnabled() && m_nClicked == 0) {
        // The run died before the page of the pattern had kept its size.
        m_bToTheStart = true;
        m_nPhase = 0;
        return;
    }
    if (!pAdd || !pAdd->isEnabled()) {
        Fail(QString("The page takes no more than %1 crosses.").arg(m_nClicked));
        return;
    }
    if (m_nTurns < 0) {
        // Double clicked; the list follows.
        return;
    }
    if (++m_nTurns > g_nMostTurns) {
        Fail(QString("The cross at %1, %2 cannot be reached in the picture.").arg(target.x()).arg(target.y()));
        return;
    }
    QWidget* const pViewport = view.viewport();
    const QRect room = pViewport->rect().adjusted(8, 8, -8, -8);
    const QPoint place = view.mapFromScene(target);
    if (!room.contains(place)) {
        TurnWheel(pViewport, room.center(), -1);
    } else if (view.transform().m11() < g_dClickScale) {
        TurnWheel(pViewport, place, 1);
    } else if (pViewport->childAt(place)) {
        Drag(pViewport, room.center(), QPoint(0, -room.height() / 3));
    } else if (!pAdd->isChecked()) {
        PostClick(pAdd);
    } else {
        PostDoubleClick(pViewport, place);
        m_nTurns = -1;
    }
}

void WizardOperator::UseStitchingPage(QWidget& page)
{
    const auto* pView = page.findChild<QGraphicsView*>("graphicsView");
    switch (m_nPhase) {
    case 0:
        // A run that died at the right camera is resumed here.
        if (!m_bRightDone) {
            GoBack(page);
            break;
        }
        if (Press(page, "pushButton_Stitch")) {
            NextPhase("Stitching");
        }
        break;
    case 1:
        if (pView && ShowsPicture(*pView)) {
            NextPhase();
        }
        break;
    case 2:
        if (Press(page, "pushButton_confirm")) {
            m_bConfirmed = true;
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
        m_strProblem = strProblem;
        m_nPhase = 0;
        m_sincePhase.restart();
        ILog_WriteLogF(2, "Operator: %s", strProblem.toUtf8().constData());
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

} // namespace Workbench
