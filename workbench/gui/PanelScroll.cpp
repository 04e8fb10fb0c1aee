#include "PanelScroll.h"

#include <QEvent>
#include <QLabel>
#include <QScrollBar>

namespace Workbench
{

void WrapIntoPanel(QLabel& label)
{
    label.setWordWrap(true);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    label.setSizePolicy(policy);
}

PanelScroll::PanelScroll(QWidget* pPanel)
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setWidget(pPanel);
    pPanel->setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
    pPanel->installEventFilter(this);
}

void PanelScroll::SetRoomForBar(bool bRoom)
{
    m_bRoomForBar = bRoom;
    updateGeometry();
}

QSize PanelScroll::sizeHint() const
{
    return widget()->sizeHint() + QSize(BarWidth(), 0);
}

QSize PanelScroll::minimumSizeHint() const
{
    // Not the smallest width: the theme's least width of a button is less than its text.
    return {sizeHint().width(), 0};
}

bool PanelScroll::eventFilter(QObject* pObject, QEvent* pEvent)
{
    // Another language may be wider.
    if (pObject == widget() && pEvent->type() == QEvent::LayoutRequest) {
        updateGeometry();
    }
    return QScrollArea::eventFilter(pObject, pEvent);
}

int PanelScroll::BarWidth() const
{
    return m_bRoomForBar ? verticalScrollBar()->sizeHint().width() : 0;
}

} // namespace Workbench
