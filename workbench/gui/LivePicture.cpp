#include "LivePicture.h"

#include "Failure.h"
#include "Texts.h"

#include "Failure.h"

#include <QElapsedTimer>

namespace Workbench
{

LivePicture::LivePicture(QObject* pParent) : QObject(pParent), m_jobs("Work area picture")
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, &LivePicture::RequestSlot);
}

LivePicture::~LivePicture() = default;

void LivePicture::Start(Maker maker)
{
    m_maker = std::move(maker);
    if (m_bLive) {
        RequestSlot();
    }
}

void LivePicture::SetLive(bool bLive)
{
    m_bLive = bLive;
    if (!bLive) {
        m_pause.stop();
    } else if (!m_bBusy) {
        RequestSlot();
    }
}

void LivePicture::RequestSlot()
{
    if (!m_maker || m_bStopping) {
        return;
    }
    if (m_bBusy) {
        m_bAgain = true;
        return;
    }
    Begin();
}

void LivePicture::Begin()
{
    m_pause.stop();
    m_bBusy = true;
    m_bAgain = false;
    m_jobs.Post([this, maker = m_maker]() mutable {
        QElapsedTimer clock;
        clock.start();
        Made made;
        const auto tell = [this](const char* pStage) {
            QMetaObject::invokeMethod(
                this, [this, strStage = QString(pStage)] { emit StageSignal(strStage); }, Qt::QueuedConnection);
        };
        try {
            const cv::Mat picture = maker(tell);
            tell("Showing the picture");
            made.pPicture = std::make_shared<const AreaPicture>(picture);
        } catch (const Failure& failure) {
            made.strFailure = QString::fromUtf8(failure.what());
            made.strWordedFailure = Wording(failure);
        } catch (const std::exception& exception) {
            made.strFailure = QString::fromUtf8(exception.what());
            made.strWordedFailure = made.strFailure;
        }
        // Gone before the end is told: who waits for it wants the cameras.
        maker = nullptr;
        made.dSeconds = static_cast<double>(clock.elapsed()) / 1000.0;
        QMetaObject::invokeMethod(
            this, [this, made] { Finish(made); }, Qt::QueuedConnection);
    });
}

void LivePicture::Finish(const Made& made)
{
    m_bBusy = false;
    emit StageSignal({});
    if (m_bStopping) {
        m_bStopping = false;
        m_maker = nullptr;
        emit StoppedSignal();
        return;
    }
    if (made.pPicture) {
        emit PictureSignal(made.pPicture, made.dSeconds);
    } else {
        emit FailedSignal(made.strFailure, made.strWordedFailure);
    }
    if (m_bAgain) {
        RequestSlot();
    } else if (m_bLive) {
        m_pause.start(m_nPauseMs);
    }
}

void LivePicture::StopSlot()
{
    m_pause.stop();
    m_bAgain = false;
    m_bStopping = true;
    if (!m_bBusy) {
        m_bBusy = true; // until the event loop has come round
        QMetaObject::invokeMethod(
            this, [this] { Finish({}); }, Qt::QueuedConnection);
    }
}

} // namespace Workbench
