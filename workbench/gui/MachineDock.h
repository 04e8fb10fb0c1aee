#pragma once

// The place of the simulated machine's panel: inside the main window, or, while a wizard blocks all other windows,
// beside the wizard as a window that belongs to it. Where the screen has no room beside the wizard, the panel is rolled
// up to its title bar, out of the way of the wizard's pages, and the operator unrolls it to work the machine.

#include <QDockWidget>
#include <QPointer>

class QLabel;
class QToolButton;
class QVBoxLayout;

namespace Workbench
{

class PanelScroll;

class MachineDock : public QDockWidget
{
    Q_OBJECT

public:
    /// The panel becomes the dock's.
    explicit MachineDock(QWidget* pPanel, QWidget* pParent = nullptr);

    /// Stands beside the wizard, which is moved to make room, until `StandInside`.
    /// @param pWizard  shown; of the size that its page asks for
    /// @param pBelow  what else is to stay within reach; it becomes the dock's
    void StandBeside(QWidget* pWizard, QWidget* pBelow);
    /// Back in the main window, unrolled. What came along with `StandBeside` is to be taken away by its owner.
    void StandInside();
    bool IsRolledUp() const;

protected:
    /// Of the wizard's window.
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;

private:
    QWidget* BuildTitle();
    void Retranslate();
    void SetRolledUp(bool bUp);
    QSize SizeOf(bool bRolledUp) const;
    QRect Screen() const;
    QPoint Centred(QSize wizard) const;
    void KeepInside();
    bool HasRoom() const;
    void PlaceWizard(QPoint place);
    void PlaceBeside(QPoint place);
    void PlaceAbove(QPoint place);

    QWidget* m_pContent;
    QVBoxLayout* m_pLayout;
    QVBoxLayout* m_pBelow; ///< what came along with the panel
    QWidget* m_pTitle;
    PanelScroll* m_pScroll;
    QLabel* m_pName;
    QToolButton* m_pRoll;
    QPointer<QWidget> m_pWizard; ///< null inside the main window
    bool m_bHasRoom = true;      ///< beside the wizard, as it was placed last
};

} // namespace Workbench
