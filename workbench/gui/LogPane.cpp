#include "LogPane.h"

#include "Texts.h"

#include <QComboBox>
#include <QEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

// Weak: another log library need not offer it. Its declaration is in modules/Log/LogControl.h.
__attribute__((weak)) void ILog_SetListener(void (*pfnListener)(int, const char*, void*), void* pContext);

namespace Workbench
{

namespace
{

constexpr std::size_t g_nMaxLines = 2000;
constexpr int g_nLookMs = 100;

void TakeLine(int nLevel, const char* pLine, void* pPane)
{
    static_cast<LogPane*>(pPane)->Take(nLevel, QString::fromUtf8(pLine));
}

} // namespace

LogPane::LogPane(QWidget* pParent)
    : QWidget(pParent), m_pLabel(new QLabel), m_pLevel(new QComboBox), m_pText(new QPlainTextEdit)
{
    m_pLevel->setObjectName("comboBox_logLevel");
    m_pLevel->addItems({"", "", ""});
    m_pLevel->setCurrentIndex(1);
    m_pText->setObjectName("plainTextEdit_log");
    m_pText->setReadOnly(true);
    m_pText->setMaximumBlockCount(static_cast<int>(g_nMaxLines));
    m_pText->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_pText->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* const pTop = new QHBoxLayout;
    pTop->addWidget(m_pLabel);
    pTop->addWidget(m_pLevel);
    pTop->addStretch();
    auto* const pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(4, 0, 4, 4);
    pLayout->addLayout(pTop);
    pLayout->addWidget(m_pText);
    Retranslate();

    connect(m_pLevel, &QComboBox::currentIndexChanged, this, [this] { ShowAll(); });
    connect(&m_timer, &QTimer::timeout, this, &LogPane::Flush);
    m_timer.start(g_nLookMs);
    if (ILog_SetListener) {
        ILog_SetListener(TakeLine, this);
    }
}

LogPane::~LogPane()
{
    if (ILog_SetListener) {
        ILog_SetListener(nullptr, nullptr);
    }
}

void LogPane::Take(int nLevel, const QString& strLine)
{
    const std::lock_guard lock(m_mutex);
    m_queue.push_back({nLevel, strLine});
    if (m_queue.size() > g_nMaxLines) {
        m_queue.pop_front();
    }
}

QString LogPane::Text() const
{
    return m_pText->toPlainText();
}

void LogPane::Flush()
{
    std::deque<Line> fresh;
    {
        const std::lock_guard lock(m_mutex);
        fresh.swap(m_queue);
    }
    for (Line& line : fresh) {
        if (line.nLevel >= m_pLevel->currentIndex()) {
            m_pText->appendPlainText(line.strText);
        }
        m_lines.push_back(std::move(line));
    }
    while (m_lines.size() > g_nMaxLines) {
        m_lines.pop_front();
    }
    if (!fresh.empty()) {
        // Lines begin with what they are about; the end of a long one is nobody's first question.
        m_pText->horizontalScrollBar()->setValue(0);
    }
}

void LogPane::ShowAll()
{
    QStringList listShown;
    for (const Line& line : m_lines) {
        if (line.nLevel >= m_pLevel->currentIndex()) {
            listShown.append(line.strText);
        }
    }
    m_pText->setPlainText(listShown.join('\n'));
    m_pText->moveCursor(QTextCursor::End);
}

void LogPane::Retranslate()
{
    const QSignalBlocker quiet(m_pLevel);
    m_pLabel->setText(Wording("Log"));
    m_pLevel->setItemText(0, Wording("All lines"));
    m_pLevel->setItemText(1, Wording("Progress and failures"));
    m_pLevel->setItemText(2, Wording("Failures"));
}

void LogPane::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::LanguageChange) {
        Retranslate();
    }
}

} // namespace Workbench
