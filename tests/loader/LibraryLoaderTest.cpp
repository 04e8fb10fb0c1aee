#include "LibraryLoader.h"

#include "ModalAnswers.h"
#include "ModuleDoubles.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QLibrary>
#include <QPointer>
#include <QTemporaryDir>
#include <QThread>

#include <cstdlib>
#include <memory>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

QString ModulePath(const char* pKind)
{
    return QString(CTC_TEST_MODULES) + "/libloader_module_" + pKind + ".so";
}

/// What a module counted, asked through a handle of the test's own.
int Counted(const char* pKind, const char* pCounter)
{
    QLibrary library(ModulePath(pKind));
    const auto pfnCounter = reinterpret_cast<int (*)()>(library.resolve(pCounter));
    return pfnCounter ? pfnCounter() : -1;
}

class LibraryLoader : public testing::Test
{
protected:
    void SetUp() override { Doubles::Reset(); }
    void TearDown() override
    {
        ReleaseAllModules();
        EXPECT_THAT(g_listLoadedModules, IsEmpty());
    }

    ModalAnswers m_answers;
};

TEST_F(LibraryLoader, GivesTheInstanceOfAModuleAndRegistersIt)
{
    void* const pInstance = LoadModule(ModulePath("good"), true, nullptr);

    ASSERT_NE(pInstance, nullptr);
    ASSERT_EQ(g_listLoadedModules.size(), 1u);
    EXPECT_EQ(g_listLoadedModules[0]->pInstance, pInstance);
    EXPECT_NE(g_listLoadedModules[0]->pLibrary, nullptr);
    EXPECT_NE(g_listLoadedModules[0]->pfnNewInterface, nullptr);
    EXPECT_NE(g_listLoadedModules[0]->pfnReleaseInterface, nullptr);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(LibraryLoader, AMissingModuleShowsItsNameAndGivesNull)
{
    EXPECT_EQ(LoadModule("NoSuchModule", true, nullptr), nullptr);

    ASSERT_EQ(m_answers.Notices().size(), 1u);
    const ModalAnswers::Notice& notice = m_answers.Notices()[0];
    EXPECT_EQ(notice.strText, "Load NoSuchModule failed! \n");
    EXPECT_EQ(notice.strTitle, "Tips");
    EXPECT_EQ(notice.icon, QMessageBox::Information);
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_EQ(notice.pParent, nullptr);
    EXPECT_THAT(g_listLoadedModules, IsEmpty());
}

TEST_F(LibraryLoader, TheLogLineOfAFailureIsEmptyAndComesAfterTheBox)
{
    m_answers.OnBox([](QMessageBox&) { EXPECT_THAT(Doubles::The().logLines, IsEmpty()); });

    LoadModule("NoSuchModule", true, nullptr);

    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(1, "")));
}

TEST_F(LibraryLoader, WithoutShowErrorAFailureIsSilent)
{
    EXPECT_EQ(LoadModule("NoSuchModule", false, nullptr), nullptr);
    EXPECT_EQ(LoadModule(ModulePath("no_new"), false, nullptr), nullptr);
    EXPECT_EQ(LoadModule(ModulePath("no_release"), false, nullptr), nullptr);

    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_THAT(Doubles::The().logLines, IsEmpty());
}

TEST_F(LibraryLoader, AModuleWithoutNewInterfaceShowsTheSecondText)
{
    EXPECT_EQ(LoadModule(ModulePath("no_new"), true, nullptr), nullptr);

    EXPECT_EQ(m_answers.OnlyText(), "Load " + ModulePath("no_new") + " faile2! \n");
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(1, "")));
    EXPECT_THAT(g_listLoadedModules, IsEmpty());
}

TEST_F(LibraryLoader, AModuleWithoutReleaseInterfaceShowsTheThirdTextAndStaysUncalledAndLoaded)
{
    EXPECT_EQ(LoadModule(ModulePath("no_release"), true, nullptr), nullptr);

    EXPECT_EQ(m_answers.OnlyText(), "Load " + ModulePath("no_release") + " faile3! \n");
    // Before the counter is asked for, which loads the library itself.
    EXPECT_TRUE(QLibrary(ModulePath("no_release")).isLoaded()) << "the handle is dropped without an unload";
    EXPECT_EQ(Counted("no_release", "NewCalls"), 0);
}

TEST_F(LibraryLoader, AFileThatIsNoLibraryIsAFailureLikeAMissingOne)
{
    const QTemporaryDir folder;
    const QString strFile = folder.filePath("libNoise.so");
    QFile file(strFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("this is no library");
    file.close();

    EXPECT_EQ(LoadModule(strFile, true, nullptr), nullptr);
    EXPECT_EQ(m_answers.OnlyText(), "Load " + strFile + " failed! \n");
}

TEST_F(LibraryLoader, EmptyLongAndNonAsciiNamesFailLikeAnyOther)
{
    for (const QString& strName : {QString(), QString(5000, 'x'), QString::fromUtf8("摄像头 %1 ü")}) {
        EXPECT_EQ(LoadModule(strName, true, nullptr), nullptr);
        EXPECT_EQ(m_answers.Notices().back().strText, "Load " + strName + " failed! \n");
    }
}

TEST_F(LibraryLoader, ANullInstanceIsReturnedAndItsRecordStays)
{
    EXPECT_EQ(LoadModule(ModulePath("null_instance"), true, nullptr), nullptr);

    ASSERT_EQ(g_listLoadedModules.size(), 1u);
    EXPECT_EQ(g_listLoadedModules[0]->pInstance, nullptr);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());

    EXPECT_TRUE(ReleaseModule(nullptr)) << "a null instance is found like any other";
    EXPECT_THAT(g_listLoadedModules, IsEmpty());
    EXPECT_TRUE(QLibrary(ModulePath("null_instance")).isLoaded()) << "only a whole record unloads";
    EXPECT_EQ(Counted("null_instance", "ReleaseCalls"), 0);
}

TEST_F(LibraryLoader, OffTheGuiThreadNoBoxIsShown)
{
    void* pInstance = this;
    const std::unique_ptr<QThread> pThread(
        QThread::create([&] { pInstance = LoadModule("NoSuchModule", true, nullptr); }));
    pThread->start();
    ASSERT_TRUE(pThread->wait());

    EXPECT_EQ(pInstance, nullptr);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_THAT(Doubles::The().logLines, ElementsAre(Pair(1, "")));
}

TEST_F(LibraryLoader, AListOfTheCallersTakesTheRecordInPlaceOfTheRegistry)
{
    std::vector<LibraryRecord*> list;
    void* const pInstance = LoadModule(ModulePath("listed"), true, &list);

    EXPECT_THAT(g_listLoadedModules, IsEmpty());
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0]->pInstance, pInstance);
    list[0]->pLibrary->unload();
    delete list[0]->pLibrary;
    delete list[0];
}

TEST_F(LibraryLoader, TwoLoadsGiveTwoRecordsAndTheLaterIsReleasedFirst)
{
    void* const pFirst = LoadModule(ModulePath("good"), true, nullptr);
    void* const pSecond = LoadModule(ModulePath("good"), true, nullptr);
    ASSERT_EQ(pFirst, pSecond);
    ASSERT_EQ(g_listLoadedModules.size(), 2u);
    const LibraryRecord* const pFirstRecord = g_listLoadedModules[0];
    const int nBefore = Counted("good", "ReleaseCalls");

    EXPECT_TRUE(ReleaseModule(pSecond));

    ASSERT_EQ(g_listLoadedModules.size(), 1u);
    EXPECT_EQ(g_listLoadedModules[0], pFirstRecord);
    EXPECT_EQ(Counted("good", "ReleaseCalls"), nBefore + 1);
    EXPECT_TRUE(QLibrary(ModulePath("good")).isLoaded()) << "the other record still holds it";
}

TEST_F(LibraryLoader, AModuleThatTheHostHoldsItselfStaysLoadedForIt)
{
    QLibrary ofTheHost(ModulePath("hosted"));
    ASSERT_TRUE(ofTheHost.load());

    ReleaseModule(LoadModule(ModulePath("hosted"), true, nullptr));

    EXPECT_TRUE(ofTheHost.isLoaded());
}

TEST_F(LibraryLoader, AModuleInAListOfTheCallersStaysLoadedForItAfterTheRegistrysLastRelease)
{
    void* const pInstance = LoadModule(ModulePath("kept"), true, nullptr);
    std::vector<LibraryRecord*> list;
    LoadModule(ModulePath("kept"), true, &list);
    ASSERT_EQ(list.size(), 1u);

    ReleaseModule(pInstance);

    EXPECT_THAT(g_listLoadedModules, IsEmpty());
    EXPECT_TRUE(list[0]->pLibrary->isLoaded());
    list[0]->pLibrary->unload();
    delete list[0]->pLibrary;
    delete list[0];
}

TEST_F(LibraryLoader, ReleasingAnUnknownInstanceIsTrueAndChangesNothing)
{
    LoadModule(ModulePath("good"), true, nullptr);

    EXPECT_TRUE(ReleaseModule(this));
    EXPECT_EQ(g_listLoadedModules.size(), 1u);
}

TEST_F(LibraryLoader, ReleasingUnloadsTheLibraryAndKeepsTheHandle)
{
    void* const pInstance = LoadModule(ModulePath("good"), true, nullptr);
    const QPointer<QLibrary> pHandle = g_listLoadedModules[0]->pLibrary;

    ReleaseModule(pInstance);

    ASSERT_TRUE(pHandle);
    EXPECT_FALSE(pHandle->isLoaded());
}

TEST_F(LibraryLoader, LoadingAndReleasingForALongTimeReusesTheHandle)
{
    LoadModule(ModulePath("good"), true, nullptr);
    const QLibrary* const pHandle = g_listLoadedModules[0]->pLibrary;
    for (int i = 0; i < 50; ++i) {
        ReleaseModule(g_listLoadedModules[0]->pInstance);
        ASSERT_NE(LoadModule(ModulePath("good"), true, nullptr), nullptr);
        ASSERT_EQ(g_listLoadedModules[0]->pLibrary, pHandle);
    }
}

TEST_F(LibraryLoader, TheLastReleaseUnloadsHoweverOftenTheHandlesWereUsed)
{
    for (int i = 0; i < 3; ++i) {
        void* const pInstance = LoadModule(ModulePath("good"), true, nullptr);
        LoadModule(ModulePath("good"), true, nullptr);
        ReleaseModule(pInstance);
        EXPECT_TRUE(QLibrary(ModulePath("good")).isLoaded());
        ReleaseModule(pInstance);
        EXPECT_FALSE(QLibrary(ModulePath("good")).isLoaded());
    }
}

TEST_F(LibraryLoader, ReleaseAllGivesBackEveryRecord)
{
    LoadModule(ModulePath("good"), true, nullptr);
    LoadModule(ModulePath("null_instance"), true, nullptr);
    LoadModule(ModulePath("good"), true, nullptr);

    ReleaseAllModules();

    EXPECT_THAT(g_listLoadedModules, IsEmpty());
    EXPECT_FALSE(QLibrary(ModulePath("good")).isLoaded());
}

TEST_F(LibraryLoader, WhatIsNotGivenBackLivesUntilTheProcessEndsAndIsNotReleasedThen)
{
    const auto loadAndExit = [](bool bRelease) {
        void* const pInstance = LoadModule(ModulePath("loud"), true, nullptr);
        if (bRelease) {
            ReleaseModule(pInstance);
        }
        std::exit(pInstance ? 0 : 1);
    };
    EXPECT_EXIT(loadAndExit(false), testing::ExitedWithCode(0), testing::Not(testing::HasSubstr("released")));
    EXPECT_EXIT(loadAndExit(true), testing::ExitedWithCode(0), "released");
}

TEST_F(LibraryLoader, TwoWorkersMayLoadAtTheSameTime)
{
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(QThread::create([] {
            for (int k = 0; k < 25; ++k) {
                LoadModule(ModulePath("good"), true, nullptr);
            }
        }));
        threads.back()->start();
    }
    for (const auto& pThread : threads) {
        ASSERT_TRUE(pThread->wait());
    }
    EXPECT_EQ(g_listLoadedModules.size(), 100u);
}

} // namespace
