#include "Notice.h"

#include "Translator.h"

#include <QAbstractButton>

namespace
{

QString Wording(const QString& strKey)
{
    return CTranslator::GetInstance()->GetWording(strKey);
}

} // namespace

int ShowNotice(const QString& strTextKey, const QString& strTitleKey, QMessageBox::Icon icon)
{
    return ShowNoticeText(Wording(strTextKey), strTitleKey, icon);
}

int ShowNoticeText(const QString& strText, const QString& strTitleKey, QMessageBox::Icon icon)
{
    QMessageBox box(icon, Wording(strTitleKey), strText, QMessageBox::NoButton, nullptr,
                    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    box.setStandardButtons(QMessageBox::Ok);
    box.button(QMessageBox::Ok)->setText(Wording("OK"));
    return box.exec();
}
