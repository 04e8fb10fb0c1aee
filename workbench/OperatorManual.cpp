// The operator at the pages of the manual flow.

#include "FolderRoom.h"
#include "OperatorHands.h"
#include "WizardOperator.h"

#include <QAbstractButton>
#include <QGraphicsView>
#include <QLabel>
#include <QListWidget>

namespace Workbench
{

namespace
{

/// A view pixel is half a picture pixel then; the page itself takes whole ones.
constexpr double g_dMarkScale = 2.0;
/// In a row; a chart that is never found is not the operator's fault.
constexpr int g_nMostPoor = 8;
/// The live picture may lag behind the chart by one.
constexpr int g_nLiveNeeded = 2;
/// How long a live picture is waited for; a camera that shows none is opened by the press of the button.
constexpr qint64 g_nLiveMs = 10'000;
/// How long a person has for moving the chart.
constexpr qint64 g_nPersonMs = 4'000;
/// More than the files that the last page writes.
constexpr qint64 g_nRecordBytes = 64 << 10;

bool IsEnabled(const QWidget& page, const char* pButton)
{
    const auto* const pWidget = page.findChild<QAbstractButton*>(pButton);
    return pWidget && pWidget->isVisible() && pWidget->isEnabled();
}

qint64 KeyOfPicture(const QWidget& page, const char* pLabel)
{
    const auto* const pShown = page.findChild<QLabel*>(pLabel);
    return pShown ? pShown->pixmap().cacheKey() : 0;
}

/// Where the label shows its picture; the picture stands in the middle.
QRectF PictureIn(const QLabel& label)
{
    QRectF picture(QPointF(), QSizeF(label.pixmap().size()) / label.pixmap().devicePixelRatio());
    picture.moveCenter(QRectF(label.contentsRect()).center());
    return picture;
}

} // namespace

void WizardOperator::UseChartPage(QWidget& page)
{
    switch (m_nPhase) {
    case 0:
        // A run that died with enough pictures is resumed here too.
        if (IsEnabled(page, "pushButton_rectify")) {
            m_nPhase = 4;
        } else {
            HoldNextPose(page);
        }
        break;
    case 1: {
        const qint64 nKey = KeyOfPicture(page, "label_snapPic");
        if (nKey != m_nLiveKey) {
            m_nLiveKey = nKey;
            ++m_nLiveSeen;
        }
        const bool bSeen = m_nLiveSeen >= g_nLiveNeeded && m_sincePhase.elapsed() >= m_nLiveWaitMs;
        if (bSeen || m_sincePhase.elapsed() > g_nLiveMs) {
            NextPhase();
        }
        break;
    }
    case 2:
        m_bPoorPicture = false;
        if (Press(page, "pushButton_snap")) {
            NextPhase();
        }
        break;
    case 3:
        AwaitPicture(page);
        break;
    case 4:
        if (Press(page, "pushButton_rectify")) {
            NextPhase(m_bRightSide ? "Calibrating the right camera" : "Calibrating the left camera");
        }
        break;
    default:
        break;
    }
}

void WizardOperator::HoldNextPose(QWidget& page)
{
    if (m_nPoses == 0) {
        emit ProgressSignal(m_bRightSide ? "Photographing the chart with the right camera"
                                         : "Photographing the chart with the left camera");
    }
    const bool bHeld = m_hands.holdChart(m_bRightSide, m_nPoses);
    if (!bHeld) {
        emit ProgressSignal(QString("Hold the chart under the camera, pose %1").arg(m_nPoses + 1));
    }
    ++m_nPoses;
    m_bChartHeld = m_bChartHeld || bHeld;
    m_nLiveKey = KeyOfPicture(page, "label_snapPic");
    m_nLiveSeen = 0;
    m_nLiveWaitMs = bHeld ? 0 : g_nPersonMs;
    NextPhase();
}

// The button is shut until the picture is saved and looked at.
void WizardOperator::AwaitPicture(QWidget& page)
{
    if (!IsEnabled(page, "pushButton_snap")) {
        return;
    }
    if (m_bPoorPicture) {
        if (const QString strNoPlace = m_hands.whyNoPlace(g_nPictureBytes); !strNoPlace.isEmpty()) {
            Fail(strNoPlace);
            return;
        }
        if (++m_nPoor > g_nMostPoor) {
            Fail(QString("The page takes none of %1 pictures of the chart in a row.").arg(m_nPoor));
            return;
        }
        m_nPhase = 0;
    } else if (IsEnabled(page, "pushButton_rectify")) {
        m_nPoor = 0;
        m_nPhase = 4;
    } else if (Press(page, "pushButton_nextPic")) {
        m_nPoor = 0;
        m_nPhase = 0;
    }
}

void WizardOperator::UseFusionPage(QWidget& page)
{
    switch (m_nPhase) {
    case 0:
        if (Press(page, "pushButton_snap")) {
            NextPhase("Taking the two pictures");
        }
        break;
    case 1:
        if (Press(page, "pushButton_setRoiRect")) {
            NextPhase("Drawing the region across the seam");
        }
        break;
    case 2: {
        auto* const pLabel = page.findChild<QLabel*>("label_cameraPic");
        if (!pLabel || pLabel->pixmap().isNull()) {
            Fail("The page for the fusion shows no picture.");
            break;
        }
        // It opens the drawing and shuts itself.
        if (IsEnabled(page, "pushButton_setRoiRect")) {
            break;
        }
        const QRectF shown = PictureIn(*pLabel);
        const auto place = [&shown](const QPointF& share) {
            return QPointF(shown.x() + share.x() * shown.width(), shown.y() + share.y() * shown.height()).toPoint();
        };
        PostRectangle(pLabel, place(m_script.region.topLeft()), place(m_script.region.bottomRight()));
        NextPhase("Matching the two pictures");
        break;
    }
    case 3:
        if (IsEnabled(page, "pushButton_setRoiRect") && Press(page, "pushButton_confirm")) {
            NextPhase();
        }
        break;
    default:
        break;
    }
}

void WizardOperator::UseMarkPage(QWidget& page)
{
    auto* const pView = page.findChild<QGraphicsView*>("graphicsView");
    auto* const pList = page.findChild<QListWidget*>("listWidget_Coord");
    if (!pView || !pList) {
        Fail("The page for the marks has no picture.");
        return;
    }
    switch (m_nPhase) {
    case 0:
        if (!m_hands.isEngraved()) {
            GoBack(page);
            break;
        }
        if (Press(page, "pushButton_takePic")) {
            NextPhase("Taking the picture of the bed");
        }
        break;
    case 1:
        if (!ShowsPicture(*pView)) {
            break;
        }
        m_vecMarks = m_script.findMarks ? m_script.findMarks() : m_script.marks;
        if (m_vecMarks.empty()) {
            Fail("The crosses cannot be made out in the picture of the bed.");
            break;
        }
        NextPhase(QString("Marking %1 crosses").arg(m_vecMarks.size()));
        break;
    case 2:
        if (m_nClicked == m_vecMarks.size()) {
            NextPhase("Finishing");
        } else {
            SetMark(page, *pView, m_vecMarks[m_nClicked], pList->count());
        }
        break;
    case 3:
        // The page tells of success whatever it could write.
        if (const QString strNoPlace = m_hands.whyNoPlace(g_nRecordBytes); !strNoPlace.isEmpty()) {
            Fail(strNoPlace);
        } else if (Press(page, "pushButton_confirm")) {
            m_bConfirmed = true;
            NextPhase();
        } else {
            Fail(QString("The page does not take %1 marks as all of them.").arg(m_vecMarks.size()));
        }
        break;
    default:
        break;
    }
}

// Zooms until the cross is large, marks it, and records the mark.
void WizardOperator::SetMark(QWidget& page, QGraphicsView& view, QPointF target, int nListed)
{
    if (IsListed(nListed) || !MayTurn(target)) {
        return;
    }
    if (const std::optional<QPoint> place = Reach(view, target, g_dMarkScale)) {
        PostDoubleClick(view.viewport(), *place);
        Press(page, "pushButton_AddCoord");
        m_nTurns = -1;
    }
}

} // namespace Workbench
