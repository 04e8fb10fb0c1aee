#pragma once

// The dialog that stands in front of the application while a task runs: its text, a bar that only says that something
// is going on, and the time since it was made. It cannot be closed or hidden before `Finish`, neither by the operator
// nor by code that closes whatever is open. GUI thread only, but for `Finish`.

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

#include <atomic>

class QLabel;

/// "0:07", "12:34", from an hour on "1:02:03". Below 0 counts as 0.
QString ElapsedText(qint64 nElapsedMs);
/// At most so many characters in at most 12 lines, the cut marked by "…"; long words may break anywhere.
QString ShowableText(const QString& strText, int nMaxCharacters = 500);

class ProgressDialog : public QDialog
{
public:
    /// @param strText  a wording key, or any other text as it stands
    explicit ProgressDialog(const QString& strText);

    /// The task has ended: ends `exec`. Any thread.
    void Finish();
    bool IsFinished() const { return m_bFinished; }

    void done(int nResult) override;
    void setVisible(bool bVisible) override;

protected:
    void changeEvent(QEvent* pEvent) override;

private:
    void RefreshTexts();
    void RefreshElapsed();

    QString m_strText;
    std::atomic<bool> m_bFinished{false};
    QElapsedTimer m_elapsed;
    QTimer m_tick;
    QLabel* m_pText = nullptr;
    QLabel* m_pElapsed = nullptr;
};
