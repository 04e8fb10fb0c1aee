#include "ErrCodeMgrExports.h"

#include "StatusText.h"

#include "Log.h"
#include "Translator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QThread>

namespace
{

bool OnGuiThread()
{
    const auto* const pApplication = qobject_cast<QApplication*>(QCoreApplication::instance());
    return pApplication && pApplication->thread() == QThread::currentThread();
}

void ShowNotice(const QString& strText)
{
    CTranslator& translator = *CTranslator::GetInstance();
    QMessageBox box(QMessageBox::Information, translator.GetWording("Tips"), strText, QMessageBox::Ok, nullptr,
                    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    box.setTextFormat(Qt::PlainText);
    box.button(QMessageBox::Ok)->setText(translator.GetWording("OK"));
    // A host whose own windows are all hidden does not end with the notice.
    box.setAttribute(Qt::WA_QuitOnClose, false);
    box.exec();
}

class ErrCodeMgr : public IErrCodeMgr
{
public:
    void ShowStatus(int nStatus, int /*nZero*/) override
    {
        if (nStatus == STATUS_SUCCESS) {
            return;
        }
        ILog_WriteLogF(2, "ErrCodeMgr: status %d: %s", nStatus, StatusMeaning(nStatus));
        // Elsewhere the line has to do: no box may be opened there.
        if (OnGuiThread()) {
            ShowNotice(StatusText(nStatus));
        }
    }
};

} // namespace

IErrCodeMgr* NewInterface()
{
    return new ErrCodeMgr;
}

void ReleaseInterface(IErrCodeMgr* pInstance)
{
    delete pInstance;
}
