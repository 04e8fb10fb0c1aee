// The operator at the pages of the automatic flow.

#include "OperatorHands.h"
#include "WizardOperator.h"

#include <QGraphicsView>
#include <QListWidget>
#include <QToolButton>

namespace Workbench
{

namespace
{

/// A view pixel is a picture pixel then, and a click as exact as the picture.
constexpr double g_dClickScale = 1.0;

} // namespace

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
    if (IsListed(nListed)) {
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
    if (!MayTurn(target)) {
        return;
    }
    const std::optional<QPoint> place = Reach(view, target, g_dClickScale);
    if (place && !pAdd->isChecked()) {
        PostClick(pAdd);
    } else if (place) {
        PostDoubleClick(view.viewport(), *place);
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

} // namespace Workbench
