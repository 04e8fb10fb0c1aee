#include "LibraryLoader.h"

#include "Log.h"

#include <QApplication>
#include <QByteArray>
#include <QLibrary>
#include <QMessageBox>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <algorithm>
#include <map>
#include <memory>

namespace
{

enum class Failure { NotLoaded, NoNewInterface, NoReleaseInterface };

// Two workers may load at the same time.
QMutex g_registryMutex;

/// Drops the text that it is given and hands out an empty one, so the log line of a failure is empty: this is meant,
/// the message box carries the text. One buffer for each kind of failure.
template <Failure> const char* LogTextBuffer(const QString&)
{
    static QMutex mutex;
    static QByteArray buffer;
    const QMutexLocker locker(&mutex);
    buffer.clear();
    return buffer.constData();
}

/// On the GUI thread only, and not in a program without widgets, which a box would end.
bool CanShowBox()
{
    const auto* const pApplication = qobject_cast<QApplication*>(QCoreApplication::instance());
    return pApplication && pApplication->thread() == QThread::currentThread();
}

template <Failure failure> void ReportFailure(const char* pTemplate, const QString& strName, const QLibrary& library)
{
    const QString strText = QString::fromLatin1(pTemplate).arg(strName);
    if (CanShowBox()) {
        QMessageBox::information(nullptr, "Tips", strText, QMessageBox::Ok);
    }
    ILog_WriteLog(1, LogTextBuffer<failure>(library.errorString()));
}

/// Handles of modules that were given back. A handle is never deleted; the next load of its name takes it again, so
/// that opening and closing for a long time does not grow.
std::vector<QLibrary*>& RetiredHandles()
{
    static auto* const pHandles = new std::vector<QLibrary*>;
    return *pHandles;
}

std::unique_ptr<QLibrary> TakeHandle(const QString& strName)
{
    const QMutexLocker locker(&g_registryMutex);
    std::vector<QLibrary*>& retired = RetiredHandles();
    const auto found = std::find_if(retired.rbegin(), retired.rend(),
                                    [&](const QLibrary* pLibrary) { return pLibrary->objectName() == strName; });
    if (found == retired.rend()) {
        auto pLibrary = std::make_unique<QLibrary>(strName);
        pLibrary->setObjectName(strName);
        return pLibrary;
    }
    std::unique_ptr<QLibrary> pLibrary(*found);
    retired.erase(std::next(found).base());
    return pLibrary;
}

/// Who holds a library, by its file name. QLibrary's own count cannot be leaned on: the load of a handle that was made
/// while the library was loaded already is not counted, its unload is.
struct Holders {
    int nRecords = 0;         ///< of the registry
    bool bForeignToo = false; ///< somebody outside of the registry holds it as well; it is never unloaded from here
};

std::map<QString, Holders>& HoldersByFile()
{
    static auto* const pHolders = new std::map<QString, Holders>;
    return *pHolders;
}

void CountLoad(const QLibrary& library, bool bWasLoaded, bool bOwnList)
{
    const QMutexLocker locker(&g_registryMutex);
    Holders& holders = HoldersByFile()[library.fileName()];
    holders.bForeignToo = holders.bForeignToo || bOwnList || (bWasLoaded && holders.nRecords == 0);
    holders.nRecords += bOwnList ? 0 : 1;
}

/// Ends the instance and unloads the library where the record is whole and nobody else holds it; the handle itself
/// stays.
void FreeLibraryRecord(const LibraryRecord& record)
{
    const bool bWhole = record.pLibrary && record.pfnReleaseInterface && record.pInstance;
    if (bWhole) {
        record.pfnReleaseInterface(record.pInstance);
    }
    if (!record.pLibrary) {
        return;
    }
    const QMutexLocker locker(&g_registryMutex);
    std::vector<QLibrary*>& retired = RetiredHandles();
    retired.push_back(record.pLibrary);
    const QString strFile = record.pLibrary->fileName();
    Holders& holders = HoldersByFile()[strFile];
    // A record without an instance never gives its load back; this is meant.
    if (bWhole && --holders.nRecords == 0 && !holders.bForeignToo) {
        for (QLibrary* const pLibrary : retired) {
            if (pLibrary->fileName() == strFile) {
                pLibrary->unload();
            }
        }
    }
}

/// Takes the last record that `matches` out of the registry; null when there is none.
template <typename Predicate> std::unique_ptr<LibraryRecord> TakeLastRecord(Predicate matches)
{
    const QMutexLocker locker(&g_registryMutex);
    const auto found = std::find_if(g_listLoadedModules.rbegin(), g_listLoadedModules.rend(), matches);
    if (found == g_listLoadedModules.rend()) {
        return nullptr;
    }
    std::unique_ptr<LibraryRecord> pRecord(*found);
    g_listLoadedModules.erase(std::next(found).base());
    return pRecord;
}

} // namespace

void* LoadModule(QString strName, bool bShowError, std::vector<LibraryRecord*>* pList)
{
    auto pRecord = std::make_unique<LibraryRecord>();
    std::unique_ptr<QLibrary> pLibrary = TakeHandle(strName);
    pRecord->pLibrary = pLibrary.get();

    const bool bWasLoaded = pLibrary->isLoaded();
    if (!pLibrary->load()) {
        if (bShowError) {
            ReportFailure<Failure::NotLoaded>("Load %1 failed! \n", strName, *pLibrary);
        }
        return nullptr;
    }
    pRecord->pfnNewInterface = reinterpret_cast<void* (*)()>(pLibrary->resolve("NewInterface"));
    if (!pRecord->pfnNewInterface) {
        if (bShowError) {
            ReportFailure<Failure::NoNewInterface>("Load %1 faile2! \n", strName, *pLibrary);
        }
        return nullptr;
    }
    pRecord->pfnReleaseInterface = reinterpret_cast<void (*)(void*)>(pLibrary->resolve("ReleaseInterface"));
    if (!pRecord->pfnReleaseInterface) {
        if (bShowError) {
            ReportFailure<Failure::NoReleaseInterface>("Load %1 faile3! \n", strName, *pLibrary);
        }
        return nullptr;
    }

    // A null instance is kept as it stands; its record stays registered, and this is meant.
    pRecord->pInstance = pRecord->pfnNewInterface();
    void* const pInstance = pRecord->pInstance;
    CountLoad(*pLibrary, bWasLoaded, pList != nullptr);
    static_cast<void>(pLibrary.release());
    if (pList) {
        pList->push_back(pRecord.release());
    } else {
        const QMutexLocker locker(&g_registryMutex);
        g_listLoadedModules.push_back(pRecord.release());
    }
    return pInstance;
}

bool ReleaseModule(void* pInstance)
{
    const auto pRecord =
        TakeLastRecord([pInstance](const LibraryRecord* pOne) { return pOne->pInstance == pInstance; });
    if (pRecord) {
        FreeLibraryRecord(*pRecord);
    }
    return true;
}

void ReleaseAllModules()
{
    while (const auto pRecord = TakeLastRecord([](const LibraryRecord*) { return true; })) {
        FreeLibraryRecord(*pRecord);
    }
}
