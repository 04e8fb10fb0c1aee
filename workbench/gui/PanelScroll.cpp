#include "PanelScroll.h"

#include <QEvent>
#include <QScrollBar>

namespace Workbench
{

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

QSize PanelScroll::sizeHint() const
{
    return widget()->sizeHint() + QSize(BarWidth(), 0);
}

QSize PanelScroll::minimumSizeHint() const
{
    return {widget()->minimumSizeHint().width() + BarWidth(), 0};
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
    return verticalScrollBar()->sizeHint().width();
}

} // namespace Workbench
