#include "ProgressDialog.h"

#include "Translator.h"

#include <QEvent>
#include <QLabel>
#include <QMetaObject>
#include <QProgressBar>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace
{

constexpr int MAX_LINES = 12;
/// A longer word may break here, and again after every so many characters.
constexpr int MAX_WORD = 30;
constexpr int PIECE = 10;
constexpr int TICK_MS = 200;

/// Widths in average characters.
constexpr int MIN_WIDTH = 30;
constexpr int MAX_WIDTH = 60;

QString Wording(const QString& strKey)
{
    return CTranslator::GetInstance()->GetWording(strKey);
}

QString WithBreaksInLongWords(const QString& strText)
{
    QString strResult;
    int nInWord = 0;
    for (const QChar c : strText) {
        // Not between the halves of one character.
        if (nInWord >= MAX_WORD && !c.isSpace() && !c.isLowSurrogate() && !c.isMark()) {
            strResult += QChar(0x200b);
            nInWord -= PIECE;
        }
        strResult += c;
        nInWord = c.isSpace() ? 0 : nInWord + 1;
    }
    return strResult;
}

} // namespace

QString ElapsedText(qint64 nElapsedMs)
{
    const qint64 nSeconds = std::max<qint64>(nElapsedMs, 0) / 1000;
    const QChar cZero('0');
    const QString strSeconds = QString("%1").arg(nSeconds % 60, 2, 10, cZero);
    const qint64 nMinutes = nSeconds / 60;
    return nMinutes < 60 ? QString("%1:%2").arg(nMinutes).arg(strSeconds)
                         : QString("%1:%2:%3").arg(nMinutes / 60).arg(nMinutes % 60, 2, 10, cZero).arg(strSeconds);
}

QString ShowableText(const QString& strText, int nMaxCharacters)
{
    QString strShort = strText.left(nMaxCharacters);
    strShort.replace("\r\n", "\n");
    if (strShort.count('\n') >= MAX_LINES) {
        strShort = strShort.section('\n', 0, MAX_LINES - 1);
    }
    const bool bWhole = strShort == QString(strText).replace("\r\n", "\n");
    if (!bWhole) {
        if (!strShort.isEmpty() && strShort.back().isHighSurrogate()) {
            strShort.chop(1);
        }
        strShort += QChar(0x2026);
    }
    return WithBreaksInLongWords(strShort);
}

ProgressDialog::ProgressDialog(const QString& strText)
    : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::MSWindowsFixedSizeDialogHint),
      m_strText(strText), m_pText(new QLabel(this)), m_pElapsed(new QLabel(this))
{
    setObjectName("ThreadDialog");
    setWindowModality(Qt::ApplicationModal);
    // A host whose own windows are all hidden does not end with the task.
    setAttribute(Qt::WA_QuitOnClose, false);

    m_pText->setObjectName("label_text");
    m_pText->setTextFormat(Qt::PlainText);
    m_pText->setWordWrap(true);
    m_pElapsed->setObjectName("label_elapsed");
    auto* const pBar = new QProgressBar(this);
    pBar->setObjectName("progressBar");
    pBar->setRange(0, 0);
    pBar->setTextVisible(false);

    auto* const pLayout = new QVBoxLayout(this);
    pLayout->setSizeConstraint(QLayout::SetFixedSize);
    pLayout->addWidget(m_pText);
    pLayout->addWidget(pBar);
    pLayout->addWidget(m_pElapsed);

    m_elapsed.start();
    connect(&m_tick, &QTimer::timeout, this, &ProgressDialog::RefreshElapsed);
    m_tick.start(TICK_MS);
    RefreshTexts();
}

void ProgressDialog::Finish()
{
    m_bFinished = true;
    QMetaObject::invokeMethod(this, "accept", Qt::QueuedConnection);
}

void ProgressDialog::done(int nResult)
{
    if (m_bFinished) {
        QDialog::done(nResult);
    }
}

void ProgressDialog::setVisible(bool bVisible)
{
    if (bVisible || m_bFinished) {
        QDialog::setVisible(bVisible);
    }
}

void ProgressDialog::changeEvent(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::LanguageChange) {
        RefreshTexts();
    }
    QDialog::changeEvent(pEvent);
}

void ProgressDialog::RefreshTexts()
{
    setWindowTitle(Wording("Please wait"));
    const QString strText = Wording(m_strText);
    m_pText->setText(ShowableText(strText));
    // Wide enough for the text where that is short, and never wider than the screen.
    m_pText->ensurePolished();
    const QFontMetrics metrics = m_pText->fontMetrics();
    const int nCharacter = metrics.averageCharWidth();
    const int nWanted =
        std::clamp(metrics.size(0, m_pText->text()).width(), MIN_WIDTH * nCharacter, MAX_WIDTH * nCharacter);
    const QSize room = screen()->availableGeometry().size();
    const int nWidth = std::min(nWanted, room.width() * 3 / 4);
    m_pText->setFixedWidth(nWidth);
    // In large print less of it fits.
    for (int nCharacters = 400; nCharacters >= 50 && m_pText->heightForWidth(nWidth) > room.height() / 2;
         nCharacters -= 50) {
        m_pText->setText(ShowableText(strText, nCharacters));
    }
    RefreshElapsed();
}

void ProgressDialog::RefreshElapsed()
{
    m_pElapsed->setText(Wording("Elapsed time: %1").arg(ElapsedText(m_elapsed.elapsed())));
}
