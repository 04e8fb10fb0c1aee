#include "Notice.h"

#include "Translator.h"

#include <QAbstractButton>
#include <QPointer>

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

void ShowWarning(QWidget* pParent, const QString& strTextKey, const QString& strTitleKey)
{
    // On the heap: whoever deletes the page meanwhile deletes the box with it.
    const QPointer<QMessageBox> pBox =
        new QMessageBox(QMessageBox::Warning, Wording(strTitleKey), Wording(strTextKey), QMessageBox::Ok, pParent);
    pBox->exec();
    delete pBox;
}
