#pragma once

// Makes work area pictures off the GUI thread, one after the other: on request, or again and again with a pause between
// them while it is live. `Start` it with a maker; `Stop` lets the picture that is under way be finished and then says
// so, which is when cameras and files are free for a run of the wizard. All on the GUI thread; only the making is not.

#include "AreaPicture.h"
#include "JobThread.h"

#include <QObject>
#include <QTimer>

#include <functional>

namespace Workbench
{

class LivePicture : public QObject
{
    Q_OBJECT

public:
    /// Tells what it does at the moment and makes one picture; throws `Failure`. Called on the worker thread.
    using Maker = std::function<cv::Mat(const std::function<void(const char*)>& tell)>;

    explicit LivePicture(QObject* pParent = nullptr);
    ~LivePicture() override;

    void Start(Maker maker);
    void SetLive(bool bLive);
    bool IsLive() const { return m_bLive; }
    /// Between two pictures of a live view.
    void SetPauseMs(int nPauseMs) { m_nPauseMs = nPauseMs; }
    bool IsBusy() const { return m_bBusy; }

public slots:
    /// One picture; another one after it where one is under way.
    void RequestSlot();
    /// `StoppedSignal` follows, from the event loop, when nothing is under way any more and the maker is dropped.
    void StopSlot();

signals:
    void StageSignal(QString strStage); ///< a wording key; empty when it is done
    void PictureSignal(AreaPicturePointer pPicture, double dSeconds);
    /// The same sentence twice: for the log, and for the operator in his language.
    void FailedSignal(QString strSentence, QString strWorded);
    void StoppedSignal();

private:
    struct Made {
        AreaPicturePointer pPicture;
        QString strFailure;
        QString strWordedFailure;
        double dSeconds = 0.0;
    };
    void Begin();
    void Finish(const Made& made);

    Maker m_maker;
    QTimer m_pause;
    int m_nPauseMs = 2000;
    bool m_bLive = false;
    bool m_bBusy = false;
    bool m_bAgain = false;
    bool m_bStopping = false;
    JobThread m_jobs; ///< last: its end waits for a job that works on the others
};

} // namespace Workbench
