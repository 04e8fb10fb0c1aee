#include "LanguageBox.h"

#include "Texts.h"

#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>

namespace Workbench
{

LanguageBox::LanguageBox(QWidget* pParent) : QWidget(pParent), m_pLabel(new QLabel), m_pList(new QComboBox)
{
    m_pList->setObjectName("comboBox_language");
    for (const QString& strLanguage : Languages()) {
        m_pList->addItem(LanguageName(strLanguage), strLanguage);
    }
    auto* const pLayout = new QHBoxLayout(this);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->addWidget(m_pLabel);
    pLayout->addWidget(m_pList, 1);
    Retranslate();
    connect(m_pList, &QComboBox::currentIndexChanged, this,
            [this] { SwitchLanguage(m_pList->currentData().toString()); });
}

void LanguageBox::Retranslate()
{
    m_pLabel->setText(Wording("Language"));
    const QSignalBlocker quiet(m_pList);
    m_pList->setCurrentIndex(m_pList->findData(CurrentLanguage()));
}

void LanguageBox::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::LanguageChange) {
        Retranslate();
    }
}

} // namespace Workbench
