#pragma once

// A small strip of three tool buttons (add, modify, delete) that floats over a picture view. It turns presses into
// signals and lets its owner read and set each button; it knows nothing of crosses. Add and Modify can both be off, but
// clicks alone never leave both on. Setting a state from code sends no signal.

#include <QWidget>

class QToolButton;

namespace Ui
{
class DualCoordinateToolBar;
}

class DualCoordinateToolBar : public QWidget
{
    Q_OBJECT

public:
    explicit DualCoordinateToolBar(QWidget* parent = nullptr);
    ~DualCoordinateToolBar() override;

    // Index 0 is Add, 1 is Modify, 2 is Delete; the setters ignore others, the questions answer false.
    void SetToolButtonEnable(int iButtonIndex, bool bEnable);
    void SetToolButtonChecked(int iButtonIndex, bool bChecked);
    bool IsToolButtonEnabled(int iButtonIndex) const;
    /// Never true for Delete, which cannot be checked.
    bool IsToolButtonChecked(int iButtonIndex) const;
    void UncheckAddAndModify();

signals:
    /// For Add and Modify on checking and unchecking alike; ask `IsToolButtonChecked`.
    void ToolButtonAddClicked();
    void ToolButtonModifyClicked();
    void ToolButtonDeleteClicked();

protected:
    void paintEvent(QPaintEvent* event) override;

public slots:
    void SetToolButtonEnableSlots(int iButtonIndex, bool bEnable);
    void SetToolButtonCheckStateSlots(int iButtonIndex, bool bChecked);

private slots:
    void on_toolButton_Add_clicked();
    void on_toolButton_Modify_clicked();
    void on_toolButton_Delete_clicked();

protected slots:
    void changeEvent(QEvent* event) override;

private:
    QToolButton* Button(int iButtonIndex) const;
    void RetranslateButtons();

    Ui::DualCoordinateToolBar* ui;
};
