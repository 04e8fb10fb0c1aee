#include "CMsgBoxQss.h"

#include "Translator.h"

#include <QAbstractButton>
#include <QStyle>

namespace
{

struct NamedButton {
    QMessageBox::StandardButton value;
    const char* pWording;
    const char* pObjectName;
};

constexpr NamedButton NAMED_BUTTONS[] = {
    {QMessageBox::No, "No", "messageBox_noButton"},          {QMessageBox::Cancel, "Cancel", "messageBox_cancelButton"},
    {QMessageBox::Ok, "OK", "messageBox_okButton"},          {QMessageBox::Yes, "Yes", "messageBox_yesButton"},
    {QMessageBox::Retry, "Retry", "messageBox_retryButton"},
};

QMessageBox::Icon KnownIcon(int icon)
{
    return icon >= QMessageBox::NoIcon && icon <= QMessageBox::Question ? static_cast<QMessageBox::Icon>(icon)
                                                                        : QMessageBox::NoIcon;
}

} // namespace

CMsgBoxQss::CMsgBoxQss(int icon, const QString& title, const QString& text, QMessageBox::StandardButtons buttons,
                       QWidget* parent)
    : QMessageBox(KnownIcon(icon), title, text, buttons, parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint)
{
    setObjectName("CMsgBoxQss");
    for (const NamedButton& row : NAMED_BUTTONS) {
        QAbstractButton* const pButton = buttons.testFlag(row.value) ? button(row.value) : nullptr;
        if (pButton) {
            pButton->setText(CTranslator::GetInstance()->GetWording(row.pWording));
            pButton->setObjectName(row.pObjectName);
            // Rules on the name count from here on, before the box is first shown.
            style()->unpolish(pButton);
            style()->polish(pButton);
        }
    }
}

CMsgBoxQss::~CMsgBoxQss() = default;
