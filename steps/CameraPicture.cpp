#include "CameraPicture.h"

#include <QEvent>
#include <QLabel>
#include <QPixmap>
#include <QThread>
#include <QTransform>

#include <utility>

namespace
{

/// A raw picture turned to what the operator sees, as large as the label allows.
/// @param size  device pixels
QImage ForLabel(const QImage& image, QSize size, double dRatio)
{
    const QTransform turn = QTransform().rotate(-90, Qt::ZAxis);
    QImage shown =
        image.transformed(turn).mirrored(true, false).scaled(size, Qt::KeepAspectRatio, Qt::FastTransformation);
    shown.setDevicePixelRatio(dRatio);
    return shown;
}

void Put(QLabel& label, const QImage& shown)
{
    label.setAlignment(Qt::AlignLeft);
    label.setPixmap(QPixmap::fromImage(shown));
}

QSize DeviceSize(const QLabel& label)
{
    return (QSizeF(label.size()) * label.devicePixelRatioF()).toSize();
}

} // namespace

CameraPicture::CameraPicture(QLabel* pLabel) : QObject(pLabel), m_pLabel(pLabel)
{
    pLabel->installEventFilter(this);
    NoteSize();
}

bool CameraPicture::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Show) {
        NoteSize();
    }
    return QObject::eventFilter(watched, event);
}

void CameraPicture::NoteSize()
{
    const std::lock_guard lock(m_mutex);
    m_size = DeviceSize(*m_pLabel);
    m_dRatio = m_pLabel->devicePixelRatioF();
}

void CameraPicture::Show(const QImage& image)
{
    QSize size;
    double dRatio = 1.0;
    unsigned nClears = 0;
    {
        const std::lock_guard lock(m_mutex);
        size = m_size;
        dRatio = m_dRatio;
        nClears = m_nClears;
    }
    QImage shown = ForLabel(image, size, dRatio);
    const bool bHere = QThread::currentThread() == thread();
    {
        const std::lock_guard lock(m_mutex);
        if (nClears != m_nClears) {
            return;
        }
        m_newest = std::move(shown);
        if (!bHere && std::exchange(m_bSent, true)) {
            return;
        }
    }
    if (bHere) {
        ShowNewest();
    } else {
        QMetaObject::invokeMethod(this, &CameraPicture::ShowNewest, Qt::QueuedConnection);
    }
}

void CameraPicture::ShowNewest()
{
    QImage shown;
    {
        const std::lock_guard lock(m_mutex);
        m_bSent = false;
        std::swap(shown, m_newest);
    }
    // Null where another call has shown it already.
    if (!shown.isNull()) {
        Put(*m_pLabel, shown);
    }
}

void CameraPicture::Clear()
{
    {
        const std::lock_guard lock(m_mutex);
        m_newest = QImage();
        ++m_nClears;
    }
    m_pLabel->clear();
}

void ShowCameraPicture(QLabel& label, const QImage& image)
{
    Put(label, ForLabel(image, DeviceSize(label), label.devicePixelRatioF()));
}
