#pragma once

// A message box that a theme's style sheet can reach: its standard buttons have fixed object names, and their texts
// come from the translator. Show it with `exec()`, which answers the pressed button's value. Notices use a plain
// QMessageBox.

#include <QMessageBox>

class CMsgBoxQss : public QMessageBox
{
    Q_OBJECT

public:
    /// @param icon  a QMessageBox::Icon, 0 to 4; others show none
    /// @param buttons  No, Cancel, Ok, Yes and Retry get their names and wordings; others stay as the toolkit made them
    CMsgBoxQss(int icon, const QString& title, const QString& text, QMessageBox::StandardButtons buttons,
               QWidget* parent);
    ~CMsgBoxQss() override;
};
