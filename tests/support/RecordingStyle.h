#pragma once

// A style that writes down which widgets it is asked to polish, and how a plain widget asks to be drawn. Holds for the
// whole application while an `Installed` lives.

#include <QApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

#include <string>
#include <vector>

class RecordingStyle : public QProxyStyle
{
public:
    class Installed
    {
    public:
        Installed() : m_strBefore(qApp->style()->name()), m_pStyle(new RecordingStyle(m_strBefore))
        {
            qApp->setStyle(m_pStyle);
        }
        ~Installed() { qApp->setStyle(QStyleFactory::create(m_strBefore)); }
        Installed(const Installed&) = delete;
        Installed& operator=(const Installed&) = delete;

        const RecordingStyle* operator->() const { return m_pStyle; }

    private:
        QString m_strBefore;
        RecordingStyle* m_pStyle; ///< the application's
    };

    struct PlainWidget {
        const QWidget* pWidget = nullptr;
        int nVersion = 0;
        int nType = -1;
        QRect rect;
        bool bAntialiased = false;
    };

    explicit RecordingStyle(const QString& strBase) : QProxyStyle(strBase) {}

    using QProxyStyle::polish;
    using QProxyStyle::unpolish;
    void polish(QWidget* pWidget) override
    {
        m_steps.push_back("polish " + pWidget->objectName().toStdString());
        QProxyStyle::polish(pWidget);
    }
    void unpolish(QWidget* pWidget) override
    {
        m_steps.push_back("unpolish " + pWidget->objectName().toStdString());
        QProxyStyle::unpolish(pWidget);
    }
    void drawPrimitive(PrimitiveElement element, const QStyleOption* pOption, QPainter* pPainter,
                       const QWidget* pWidget) const override
    {
        if (element == PE_Widget) {
            m_plainWidgets.push_back({pWidget, pOption->version, pOption->type, pOption->rect,
                                      pPainter->testRenderHint(QPainter::Antialiasing)});
        }
        QProxyStyle::drawPrimitive(element, pOption, pPainter, pWidget);
    }

    /// Polishing and unpolishing, in order, of widgets whose names begin so.
    std::vector<std::string> NamedSteps(const std::string& strPrefix) const
    {
        std::vector<std::string> steps;
        for (const std::string& strStep : m_steps) {
            if (strStep.find(" " + strPrefix) != std::string::npos) {
                steps.push_back(strStep);
            }
        }
        return steps;
    }
    const std::vector<PlainWidget>& PlainWidgets() const { return m_plainWidgets; }

private:
    std::vector<std::string> m_steps;
    mutable std::vector<PlainWidget> m_plainWidgets;
};
