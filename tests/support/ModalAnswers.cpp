#include "ModalAnswers.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include <algorithm>

ModalAnswers::ModalAnswers()
{
    qApp->installEventFilter(this);
}

ModalAnswers::~ModalAnswers()
{
    EXPECT_TRUE(m_queue.empty()) << "no box came for the button " << m_queue.front().toStdString();
}

QString ModalAnswers::OnlyText() const
{
    return m_notices.size() == 1 ? m_notices.front().strText : QString("(%1 boxes)").arg(m_notices.size());
}

bool ModalAnswers::eventFilter(QObject* pObject, QEvent* pEvent)
{
    auto* const pBox = qobject_cast<QMessageBox*>(pObject);
    if (pBox && pEvent->type() == QEvent::Show) {
        // The box runs its own event loop first.
        QTimer::singleShot(0, this, [this, pGuarded = QPointer<QMessageBox>(pBox)] {
            if (pGuarded && pGuarded->isVisible()) {
                Answer(*pGuarded);
            }
        });
    }
    return false;
}

void ModalAnswers::Answer(QMessageBox& box)
{
    const auto plain = [](const QAbstractButton* pButton) { return pButton->text().remove('&'); };
    Notice notice{box.windowTitle(), box.text(), box.icon(), {}, {}, box.windowFlags(), box.parentWidget()};
    const QList<QAbstractButton*> buttons = box.buttons();
    for (const QAbstractButton* const pButton : buttons) {
        notice.buttons << plain(pButton);
        notice.buttonNames << pButton->objectName();
    }
    m_notices.push_back(notice);
    const QPointer<QMessageBox> pAlive(&box);
    if (m_look) {
        m_look(box);
    }
    if (!pAlive) {
        return;
    }

    QAbstractButton* pPressed = box.defaultButton();
    if (!pPressed) {
        pPressed = buttons.value(0);
    }
    if (!m_queue.empty()) {
        const QString strWanted = m_queue.front();
        m_queue.erase(m_queue.begin());
        const auto found = std::find_if(buttons.begin(), buttons.end(),
                                        [&](const QAbstractButton* pButton) { return plain(pButton) == strWanted; });
        EXPECT_NE(found, buttons.end()) << "the box \"" << notice.strText.toStdString() << "\" has no button "
                                        << strWanted.toStdString();
        if (found != buttons.end()) {
            pPressed = *found;
        }
    }
    if (pPressed) {
        pPressed->click();
    } else {
        box.reject();
    }
}
