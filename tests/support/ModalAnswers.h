#pragma once

// Answers modal message boxes in tests. While one of these lives, each box that opens is written down and then
// dismissed by a press of the button that `Press` queued for it; without a queued one by the default button, or the
// first. A test that opens a box without it would hang.

#include <QMessageBox>
#include <QObject>
#include <QStringList>

#include <functional>
#include <vector>

class ModalAnswers : public QObject
{
public:
    struct Notice {
        QString strTitle;
        QString strText;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QStringList buttons; ///< texts as shown, `&` removed
        QStringList buttonNames;
        Qt::WindowFlags flags;
        QWidget* pParent = nullptr;
    };

    ModalAnswers();
    ~ModalAnswers() override;

    /// The next box that has no answer yet is dismissed by the button with this text.
    void Press(const QString& strButton) { m_queue.push_back(strButton); }
    /// Runs while the box is shown, before its button is pressed; it may delete the box.
    void OnBox(std::function<void(QMessageBox&)> look) { m_look = std::move(look); }

    const std::vector<Notice>& Notices() const { return m_notices; }
    /// The text of the only box so far; says what came instead where there was none or more than one.
    QString OnlyText() const;

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    void Answer(QMessageBox& box);

    std::vector<QString> m_queue;
    std::vector<Notice> m_notices;
    std::function<void(QMessageBox&)> m_look;
};
