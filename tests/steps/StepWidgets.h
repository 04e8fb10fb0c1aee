#pragma once

// How tests of the wizard's pages reach widgets by their object names and read the step bar.

#include "PageParts.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QMetaMethod>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QWidget>

template <typename Widget> Widget& Child(const QWidget& page, const QString& strName)
{
    auto* const pWidget = page.findChild<Widget*>(strName);
    if (!pWidget) {
        qFatal("The page has no %s", qPrintable(strName));
    }
    return *pWidget;
}

inline QPushButton& Button(const QWidget& page, const char* pName)
{
    return Child<QPushButton>(page, QString("pushButton_") + pName);
}

/// Presses a button of the page with the mouse.
inline void Press(const QWidget& page, const char* pName)
{
    QTest::mouseClick(&Button(page, pName), Qt::LeftButton);
}

inline QStringList StepTexts(const QWidget& page)
{
    QStringList texts;
    for (int i = 1; i <= 5; ++i) {
        texts << Child<QToolButton>(page, QString("toolButton_Step%1").arg(i)).text();
    }
    return texts;
}

/// The "Enable" properties along the step bar: button, line, button and so on; "-" where none is set.
inline QStringList StepEnables(const QWidget& page)
{
    QStringList enables;
    for (int i = 1; i <= 9; ++i) {
        const QString strName = QString(i % 2 == 1 ? "toolButton_Step%1" : "label_Step%1").arg((i + 1) / 2);
        const QVariant enable = Child<QWidget>(page, strName).property("Enable");
        enables << (enable.isValid() ? enable.toString() : "-");
    }
    return enables;
}

/// The signatures of a class's own signals or slots, in order.
inline QStringList Methods(const QMetaObject& meta, QMetaMethod::MethodType type)
{
    QStringList names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == type) {
            names << meta.method(i).methodSignature();
        }
    }
    return names;
}

inline void ChangeLanguage()
{
    QEvent event(QEvent::LanguageChange);
    QCoreApplication::sendEvent(qApp, &event);
    QCoreApplication::sendPostedEvents();
}

inline const QStringList g_automaticSteps{"Select work area", "Engraving pattern", "Add Left Coords",
                                          "Add Right Coords", "Stitch"};
