#pragma once

// The pictures of a camera in a label of a page, upright as the operator sees the machine. A live picture may come on
// any thread: the work on it is done there, and only the newest one reaches the label, when the GUI thread gets to it.
// Whoever sends pictures must have stopped before this goes.

#include <QImage>
#include <QObject>
#include <QSize>

#include <mutex>

class QLabel;

class CameraPicture : public QObject
{
public:
    /// @param pLabel  becomes the owner
    explicit CameraPicture(QLabel* pLabel);

    /// Any thread. On the GUI thread the label shows the picture at once, else as soon as that thread gets to it,
    /// unless a newer one has come or the label was cleared meanwhile. Never waits for the GUI thread.
    void Show(const QImage& image);
    /// GUI thread. Drops what has not been shown yet, too.
    void Clear();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void NoteSize();
    void ShowNewest();

    QLabel* m_pLabel;
    std::mutex m_mutex; ///< over everything below; never held over the work on a picture
    QSize m_size;       ///< the label's, device pixels
    double m_dRatio = 1.0;
    QImage m_newest; ///< null where nothing waits to be shown
    bool m_bSent = false;
    unsigned m_nClears = 0;
};

/// Shows a still picture of the camera in the label, in the same way. GUI thread only.
void ShowCameraPicture(QLabel& label, const QImage& image);
