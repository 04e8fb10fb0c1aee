#include "MachineDock.h"

#include "PanelScroll.h"
#include "Texts.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

namespace Workbench
{

namespace
{

constexpr int g_nGap = 8;
/// Of the screen's height, for what a desktop puts above a window.
constexpr int g_nSpare = 40;

} // namespace

MachineDock::MachineDock(QWidget* pPanel, QWidget* pParent)
    : QDockWidget(pParent), m_pContent(new QWidget), m_pLayout(new QVBoxLayout(m_pContent)), m_pBelow(new QVBoxLayout),
      m_pTitle(BuildTitle()), m_pScroll(new PanelScroll(pPanel))
{
    setObjectName("dock_machine");
    setFeatures(NoDockWidgetFeatures);
    m_pLayout->setContentsMargins(0, 0, 0, 0);
    m_pScroll->setObjectName("scrollArea_machine");
    m_pLayout->addWidget(m_pScroll, 1);
    m_pLayout->addLayout(m_pBelow);
    const auto margin = [this](QStyle::PixelMetric side) { return style()->pixelMetric(side); };
    // As the panel's own.
    m_pBelow->setContentsMargins(margin(QStyle::PM_LayoutLeftMargin), 0, margin(QStyle::PM_LayoutRightMargin),
                                 margin(QStyle::PM_LayoutBottomMargin));
    m_pContent->setObjectName("widget_machineContent");
    m_pContent->setAttribute(Qt::WA_StyledBackground);
    setWidget(m_pContent);
    // The theme has a look of its own for each place.
    connect(this, &QDockWidget::topLevelChanged, this, [this] {
        for (QWidget* const pWidget : {m_pTitle, m_pContent, static_cast<QWidget*>(m_pName)}) {
            pWidget->style()->unpolish(pWidget);
            pWidget->style()->polish(pWidget);
        }
    });
    setTitleBarWidget(m_pTitle);
    Retranslate();
}

QWidget* MachineDock::BuildTitle()
{
    // A press that nothing in the title takes drags the dock.
    auto* const pTitle = new QWidget;
    pTitle->setObjectName("widget_machineTitle");
    pTitle->setAttribute(Qt::WA_StyledBackground);
    auto* const pLayout = new QHBoxLayout(pTitle);
    pLayout->setContentsMargins(9, 3, 3, 3);
    m_pName = new QLabel;
    m_pName->setObjectName("label_machineTitle");
    m_pRoll = new QToolButton;
    m_pRoll->setObjectName("toolButton_roll");
    m_pRoll->setAutoRaise(true);
    m_pRoll->setArrowType(Qt::UpArrow);
    m_pRoll->hide();
    pLayout->addWidget(m_pName, 1);
    pLayout->addWidget(m_pRoll);
    connect(m_pRoll, &QToolButton::clicked, this, [this] { SetRolledUp(!IsRolledUp()); });
    return pTitle;
}

bool MachineDock::IsRolledUp() const
{
    return m_pContent->isHidden();
}

// ---- Beside the wizard ----

// A modal window blocks all others but those that belong to it.
void MachineDock::StandBeside(QWidget* pWizard, QWidget* pBelow)
{
    m_pWizard = pWizard;
    m_pBelow->addWidget(pBelow);
    pBelow->show(); // at once: the panel's size is asked for below
    m_pRoll->show();
    // It can be dragged out of the way, and nowhere else.
    setFeatures(DockWidgetMovable);
    setAllowedAreas(Qt::NoDockWidgetArea);
    setFloating(true);
    show();
    windowHandle()->setTransientParent(pWizard->windowHandle());
    m_pScroll->SetRoomForBar(m_pTitle->sizeHint().height() + m_pContent->sizeHint().height() + g_nSpare >
                             Screen().height());
    m_pLayout->activate();
    layout()->activate();
    resize(SizeOf(false));
    // The page's size at once, not when the window's layout comes round to it: a window that grows after it was placed
    // is at a place of its own on each window system.
    pWizard->ensurePolished();
    pWizard->resize(pWizard->size().expandedTo(pWizard->minimumSizeHint()).expandedTo(pWizard->minimumSize()));
    m_bHasRoom = true;
    PlaceWizard(Centred(pWizard->frameGeometry().size()));
    raise();
    // A page in another language may still want more.
    pWizard->installEventFilter(this);
}

void MachineDock::StandInside()
{
    if (m_pWizard) {
        m_pWizard->removeEventFilter(this);
    }
    m_pWizard.clear();
    SetRolledUp(false);
    m_pScroll->SetRoomForBar(true);
    m_pRoll->hide();
    setFloating(false);
    setAllowedAreas(Qt::RightDockWidgetArea);
    setFeatures(NoDockWidgetFeatures);
}

QRect MachineDock::Screen() const
{
    return m_pWizard->screen()->availableGeometry();
}

QPoint MachineDock::Centred(QSize wizard) const
{
    return Screen().center() - QRect(QPoint(), wizard).center();
}

QSize MachineDock::SizeOf(bool bRolledUp) const
{
    const int nFrame = 2 * style()->pixelMetric(QStyle::PM_DockWidgetFrameWidth, nullptr, this);
    const QSize title = m_pTitle->sizeHint() + QSize(nFrame, nFrame);
    if (bRolledUp) {
        return title;
    }
    const QSize content = m_pContent->sizeHint() + QSize(nFrame, 0);
    const QSize whole(std::max(title.width(), content.width()), title.height() + content.height());
    return whole.boundedTo(Screen().size() - QSize(0, g_nSpare));
}

// The button stays under the mouse.
void MachineDock::SetRolledUp(bool bUp)
{
    if (bUp == IsRolledUp()) {
        return;
    }
    m_pContent->setHidden(bUp);
    m_pRoll->setArrowType(bUp ? Qt::DownArrow : Qt::UpArrow);
    Retranslate();
    if (!m_pWizard) {
        return;
    }
    const int nRight = geometry().right() + 1;
    m_pLayout->activate();
    layout()->activate();
    resize(SizeOf(bUp));
    move(nRight - width(), pos().y());
    KeepInside();
    raise();
}

void MachineDock::KeepInside()
{
    const QRect screen = Screen();
    const QPoint most(screen.right() + 1 - width(), screen.bottom() + 1 - height());
    const QPoint inside(std::max(screen.left(), std::min(pos().x(), most.x())),
                        std::max(screen.top(), std::min(pos().y(), most.y())));
    if (inside != pos()) {
        move(inside);
    }
}

bool MachineDock::HasRoom() const
{
    return m_pWizard->frameGeometry().width() + g_nGap + SizeOf(false).width() <= Screen().width();
}

void MachineDock::PlaceWizard(QPoint place)
{
    const bool bRoom = HasRoom();
    if (bRoom != m_bHasRoom) {
        m_bHasRoom = bRoom;
        SetRolledUp(!bRoom);
    }
    if (bRoom) {
        PlaceBeside(place);
    } else {
        PlaceAbove(place);
    }
}

// The panel stands to the right, and the wizard makes room for it.
void MachineDock::PlaceBeside(QPoint place)
{
    const QRect screen = Screen();
    const QSize wizard = m_pWizard->frameGeometry().size();
    const int nMostX = screen.right() + 1 - wizard.width() - g_nGap - SizeOf(false).width();
    const int nMostY = screen.bottom() + 1 - wizard.height();
    const QPoint inside(std::max(screen.left(), std::min(place.x(), nMostX)),
                        std::max(screen.top(), std::min(place.y(), nMostY)));
    if (inside != m_pWizard->pos()) {
        m_pWizard->move(inside);
    }
    move(inside.x() + wizard.width() + g_nGap, inside.y());
    KeepInside();
}

// The wizard goes to the left, so that the unrolled panel covers as little of it as may be, and the title bar stands
// above it, where the wizard makes room for it as far as the screen has it. On a screen that is too low as well the bar
// lies over the wizard's own title bar, which has no buttons.
void MachineDock::PlaceAbove(QPoint place)
{
    const QRect screen = Screen();
    const int nLeastY = screen.top() + SizeOf(true).height() + g_nGap;
    const int nMostY = screen.bottom() + 1 - m_pWizard->frameGeometry().height();
    const QPoint inside(screen.left(), std::max(screen.top(), std::min(std::max(place.y(), nLeastY), nMostY)));
    if (inside != m_pWizard->pos()) {
        m_pWizard->move(inside);
    }
    move(screen.right() + 1 - width(), std::max(screen.top(), inside.y() - SizeOf(true).height() - g_nGap));
    KeepInside();
}

bool MachineDock::eventFilter(QObject* pObject, QEvent* pEvent)
{
    if (m_pWizard && pObject == m_pWizard && pEvent->type() == QEvent::Resize && !pEvent->spontaneous()) {
        PlaceWizard(m_pWizard->pos());
    }
    return QDockWidget::eventFilter(pObject, pEvent);
}

void MachineDock::resizeEvent(QResizeEvent* pEvent)
{
    QDockWidget::resizeEvent(pEvent);
    if (!m_pWizard) {
        return;
    }
    KeepInside();
    // Another language may be wider.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_pWizard && HasRoom() != m_bHasRoom) {
                PlaceWizard(m_pWizard->pos());
            }
        },
        Qt::QueuedConnection);
}

void MachineDock::Retranslate()
{
    setWindowTitle(Wording("Simulated machine"));
    m_pName->setText(Wording("Simulated machine"));
    const QString strRoll = IsRolledUp() ? Wording("Show the machine's panel") : Wording("Roll the panel up");
    m_pRoll->setToolTip(strRoll);
    m_pRoll->setAccessibleName(strRoll);
}

void MachineDock::changeEvent(QEvent* pEvent)
{
    QDockWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::LanguageChange) {
        Retranslate();
    }
}

} // namespace Workbench
