// Rolls a panel where the screen is too low for all of it. It asks for the room of the whole panel and is content with
// less of its height, never of its width. The panel becomes its child.

#pragma once

#include <QScrollArea>

class QLabel;

namespace Workbench
{

/// The label's text takes the lines that it needs at the panel's width, and the panel does not grow and shrink with it.
void WrapIntoPanel(QLabel& label);

class PanelScroll : public QScrollArea
{
    Q_OBJECT

public:
    explicit PanelScroll(QWidget* pPanel);

    /// Whether the bar has room of its own beside the panel, as it has at first. Without it a bar covers the panel's
    /// edge: for where the height is known to do.
    void SetRoomForBar(bool bRoom);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    int BarWidth() const;

    bool m_bRoomForBar = true;
};

} // namespace Workbench
