#pragma once

// The lines of the log as they are written, from any thread, newest last. Between two looks of the pane lines are only
// queued, so that a flood of them does not hold the window. One at a time.

#include <QTimer>
#include <QWidget>

#include <deque>
#include <mutex>

class QComboBox;
class QLabel;
class QPlainTextEdit;

namespace Workbench
{

class LogPane : public QWidget
{
    Q_OBJECT

public:
    explicit LogPane(QWidget* pParent = nullptr);
    ~LogPane() override;

    /// From any thread; the pane does it for each line of the log.
    void Take(int nLevel, const QString& strLine);
    QString Text() const;

protected:
    void changeEvent(QEvent* pEvent) override;

private:
    struct Line {
        int nLevel;
        QString strText;
    };
    void Flush();
    void ShowAll();
    void Retranslate();

    QLabel* m_pLabel;
    QComboBox* m_pLevel; ///< its index is the lowest level that is shown
    QPlainTextEdit* m_pText;
    QTimer m_timer;
    std::mutex m_mutex; ///< of the queue
    std::deque<Line> m_queue;
    std::deque<Line> m_lines; ///< all levels, so that the choice works backwards
};

} // namespace Workbench
