#pragma once

// The one notice of this program: a small modal box that the operator reads and dismisses with OK. For the GUI thread
// only; the call returns when the box is gone. Prompts with a choice are not for here.

#include <QMessageBox>
#include <QString>

/// Shows the wording of `strTextKey` under the wording of `strTitleKey`.
/// @return the button that ended it, `QMessageBox::Ok`, also where the box was closed
int ShowNotice(const QString& strTextKey, const QString& strTitleKey = "Tips",
               QMessageBox::Icon icon = QMessageBox::Information);

/// The same for a text that is worded already, since wording comes before placeholders are filled.
int ShowNoticeText(const QString& strText, const QString& strTitleKey = "Tips",
                   QMessageBox::Icon icon = QMessageBox::Information);

/// A warning over a page, with the wordings of `strTextKey` and `strTitleKey` and Qt's own button Ok. The page may be
/// deleted meanwhile: the caller must not touch it then.
void ShowWarning(QWidget* pParent, const QString& strTextKey, const QString& strTitleKey = "Tips");
