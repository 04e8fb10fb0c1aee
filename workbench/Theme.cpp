#include "Theme.h"

#include "InstallResources.h"
#include "Log.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPalette>

namespace Workbench
{

namespace
{

// A light palette whatever the desktop has: the schematic pictures and the style sheet are drawn for it.
QPalette LightPalette()
{
    const QColor ink(0x1c, 0x25, 0x30);
    const QColor white(0xff, 0xff, 0xff);
    const QColor accent(0x0b, 0x63, 0xb0);
    const QColor pale(0x6d, 0x78, 0x85);
    QPalette palette(QColor(0xe9, 0xed, 0xf1), QColor(0xf3, 0xf5, 0xf7));
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, ink);
        palette.setColor(QPalette::Disabled, role, pale);
    }
    palette.setColor(QPalette::Base, white);
    palette.setColor(QPalette::AlternateBase, QColor(0xf3, 0xf5, 0xf7));
    palette.setColor(QPalette::ToolTipBase, white);
    palette.setColor(QPalette::PlaceholderText, pale);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, white);
    palette.setColor(QPalette::Link, accent);
    palette.setColor(QPalette::LinkVisited, accent);
    return palette;
}

} // namespace

bool ApplyTheme(QApplication& application)
{
    QApplication::setStyle("Fusion");
    QApplication::setPalette(LightPalette());
    const QString strFolder = InstallResourceFolder() + "/Res/Theme";
    QFile file(strFolder + "/workbench.qss");
    if (!file.open(QIODevice::ReadOnly)) {
        ILog_WriteLogF(2, "Theme: %s cannot be read: %s", file.fileName().toUtf8().constData(),
                       file.errorString().toUtf8().constData());
        return false;
    }
    QDir::setSearchPaths("theme", {strFolder});
    application.setStyleSheet(QString::fromUtf8(file.readAll()));
    return true;
}

} // namespace Workbench
