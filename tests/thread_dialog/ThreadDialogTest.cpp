#include "Log.h"
#include "LogControl.h"
#include "TaskOwner.h"
#include "TempFolder.h"
#include "TranslatorControl.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSemaphore>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace
{

using testing::HasSubstr;
using testing::Not;

/// A task that gives its result when the test lets it end.
class HeldTask : public TaskOwner
{
public:
    explicit HeldTask(int nResult)
        : TaskOwner([this, nResult](int, void*) {
              m_end.acquire();
              return nResult;
          })
    {
    }
    void End() { m_end.release(); }

private:
    QSemaphore m_end;
};

class ThreadDialog : public testing::Test
{
protected:
    void SetUp() override
    {
        ILog_SetStandardErrorLevel(4);
        ILog_SetFile(m_folder.Path("log"));
        ILog_WriteLog(0, "begin");
        ASSERT_TRUE(Translator_SetLanguage("en"));
    }
    void TearDown() override
    {
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
        ILog_SetFile({});
    }

    std::string Log() const { return m_folder.ReadAll("log").toStdString(); }

    /// Runs a held task; `look` runs on the GUI thread while the dialog is open, and then the task ends.
    template <typename Look> static int WithOpenDialog(int nResult, Look look)
    {
        HeldTask owner(nResult);
        bool bLooked = false;
        QTimer::singleShot(0, qApp, [&] {
            auto* const pDialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            EXPECT_TRUE(pDialog);
            if (pDialog) {
                look(*pDialog);
                bLooked = true;
            }
            owner.End();
        });
        const int nGiven = ThreadDialogRun(&owner, 0, nullptr, 0, "Processing...");
        EXPECT_TRUE(bLooked);
        EXPECT_EQ(owner.nRuns, 1);
        return nGiven;
    }

    TempFolder m_folder;
};

TEST_F(ThreadDialog, RunsTheTaskOffTheGuiThreadAndGivesItsResult)
{
    int nData = 5;
    std::thread::id taskThread;
    TaskOwner owner([&](int nTask, void* pData) {
        taskThread = std::this_thread::get_id();
        return nTask * 100 + *static_cast<int*>(pData);
    });
    EXPECT_EQ(ThreadDialogRun(&owner, 3, &nData, 0, "Processing..."), 305);
    EXPECT_EQ(owner.nRuns, 1);
    EXPECT_NE(taskThread, std::thread::id());
    EXPECT_NE(taskThread, std::this_thread::get_id());
}

TEST_F(ThreadDialog, EveryResultComesBackAsItIs)
{
    for (const int nResult : {0, 1011, 1016, -1, -3, 1}) {
        TaskOwner owner([nResult](int, void*) { return nResult; });
        EXPECT_EQ(ThreadDialogRun(&owner, 0, nullptr, 0, "Processing..."), nResult);
    }
    EXPECT_THAT(Log(), Not(HasSubstr("ThreadDialogRun")));
}

TEST_F(ThreadDialog, IsModalAndShowsTextTimeAndABusyBar)
{
    WithOpenDialog(0, [](QDialog& dialog) {
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(dialog.windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(dialog.parentWidget(), nullptr);
        EXPECT_FALSE(dialog.windowFlags().testFlag(Qt::WindowCloseButtonHint));
        EXPECT_FALSE(dialog.windowFlags().testFlag(Qt::WindowSystemMenuHint));
        EXPECT_EQ(dialog.findChild<QLabel*>("label_text")->text(), "Processing...");
        EXPECT_TRUE(dialog.findChild<QLabel*>("label_elapsed")->text().startsWith("Elapsed time: 0:"));
        EXPECT_EQ(dialog.findChild<QProgressBar*>("progressBar")->maximum(), 0);
        EXPECT_TRUE(dialog.findChildren<QPushButton*>().isEmpty());
    });
}

TEST_F(ThreadDialog, TheElapsedTimeGoesOnWhileTheTaskRuns)
{
    WithOpenDialog(0, [](QDialog& dialog) {
        const auto* const pElapsed = dialog.findChild<QLabel*>("label_elapsed");
        const QString strFirst = pElapsed->text();
        EXPECT_TRUE(QTest::qWaitFor([&] { return pElapsed->text() != strFirst; }, 60'000));
    });
}

TEST_F(ThreadDialog, TheOperatorCannotCloseItWhileTheTaskRuns)
{
    const int nResult = WithOpenDialog(1011, [](QDialog& dialog) {
        for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
            QTest::keyClick(&dialog, key);
        }
        EXPECT_FALSE(dialog.close());
        QApplication::closeAllWindows();
        dialog.reject();
        dialog.hide();
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(QApplication::activeModalWidget(), &dialog);
    });
    EXPECT_EQ(nResult, 1011);
}

TEST_F(ThreadDialog, OtherWindowsGetNoInputMeanwhile)
{
    int nPresses = 0;
    QWidget page;
    QPushButton button("Upload", &page);
    QObject::connect(&button, &QPushButton::clicked, [&] { ++nPresses; });
    page.resize(200, 100);
    page.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&page));
    const auto press = [&] { QTest::mouseClick(page.windowHandle(), Qt::LeftButton, {}, button.geometry().center()); };
    press();
    ASSERT_EQ(nPresses, 1);
    WithOpenDialog(0, [&](QDialog&) { press(); });
    EXPECT_EQ(nPresses, 1);
    press();
    EXPECT_EQ(nPresses, 2);
}

TEST_F(ThreadDialog, StandsInFrontOfTheWindowInUseWithoutBelongingToIt)
{
    QWidget page;
    page.setGeometry(40, 30, 100, 80); // away from the middle of the screen
    page.show();
    QApplication::setActiveWindow(&page);
    ASSERT_EQ(QApplication::activeWindow(), &page);
    WithOpenDialog(0, [&](QDialog& dialog) {
        EXPECT_EQ(dialog.parentWidget(), nullptr);
        EXPECT_EQ(dialog.windowHandle()->transientParent(), page.windowHandle());
        const QPoint ptOff = dialog.frameGeometry().center() - page.frameGeometry().center();
        EXPECT_LE(ptOff.manhattanLength(), 4) << "in its middle";
    });
}

TEST_F(ThreadDialog, AWindowThatGoesMeanwhileDoesNotTakeTheDialogAlong)
{
    auto* pPage = new QWidget;
    pPage->show();
    QApplication::setActiveWindow(pPage);
    const int nResult = WithOpenDialog(7, [&](QDialog& dialog) {
        delete pPage;
        QCoreApplication::processEvents();
        EXPECT_TRUE(dialog.isVisible());
    });
    EXPECT_EQ(nResult, 7);
}

TEST_F(ThreadDialog, ATaskThatThrowsGivesMinusOneAndOneLogLine)
{
    TaskOwner owner([](int, void*) -> int { throw std::runtime_error("the disk\nis full"); });
    EXPECT_EQ(ThreadDialogRun(&owner, 4, nullptr, 0, "Processing..."), -1);
    EXPECT_THAT(Log(), HasSubstr("[3]"));
    EXPECT_THAT(Log(), HasSubstr("ThreadDialogRun: the task 4 ended with an exception: the disk\\nis full"));
}

TEST_F(ThreadDialog, WhatIsThrownNeedNotBeAnException)
{
    TaskOwner owner([](int, void*) -> int { throw 17; });
    EXPECT_EQ(ThreadDialogRun(&owner, 0, nullptr, 0, "Processing..."), -1);
    EXPECT_THAT(Log(), HasSubstr("ThreadDialogRun: the task 0 ended with an exception that tells nothing of itself"));
}

TEST_F(ThreadDialog, AfterAThrowTheNextTaskRuns)
{
    TaskOwner bad([](int, void*) -> int { throw std::bad_alloc(); });
    TaskOwner good([](int, void*) { return 1011; });
    EXPECT_EQ(ThreadDialogRun(&bad, 0, nullptr, 0, "Processing..."), -1);
    EXPECT_EQ(ThreadDialogRun(&good, 0, nullptr, 0, "Processing..."), 1011);
}

TEST_F(ThreadDialog, ACallFromWithinTheOpenDialogIsRefused)
{
    TaskOwner second([](int, void*) { return 5; });
    const int nFirst = WithOpenDialog(1011, [&](QDialog& dialog) {
        EXPECT_EQ(ThreadDialogRun(&second, 9, nullptr, 0, "Second"), -1);
        EXPECT_EQ(QApplication::activeModalWidget(), &dialog);
        EXPECT_EQ(dialog.findChild<QLabel*>("label_text")->text(), "Processing...");
    });
    EXPECT_EQ(nFirst, 1011);
    EXPECT_EQ(second.nRuns, 0);
    EXPECT_THAT(Log(), HasSubstr("ThreadDialogRun: the task 9 is refused, another one is still running"));
    EXPECT_EQ(ThreadDialogRun(&second, 9, nullptr, 0, "Second"), 5) << "it is free again";
}

TEST_F(ThreadDialog, ACallFromTheTaskItselfIsRefused)
{
    TaskOwner inner([](int, void*) { return 5; });
    TaskOwner outer([&](int, void*) { return ThreadDialogRun(&inner, 1, nullptr, 0, "Inner"); });
    EXPECT_EQ(ThreadDialogRun(&outer, 0, nullptr, 0, "Outer"), -1);
    EXPECT_EQ(inner.nRuns, 0);
    EXPECT_EQ(outer.nRuns, 1);
}

TEST_F(ThreadDialog, ACallFromAnotherThreadMeanwhileIsRefused)
{
    TaskOwner second([](int, void*) { return 5; });
    std::atomic<int> nSecond{0};
    WithOpenDialog(
        0, [&](QDialog&) { std::thread([&] { nSecond = ThreadDialogRun(&second, 0, nullptr, 0, "Second"); }).join(); });
    EXPECT_EQ(nSecond, -1);
    EXPECT_EQ(second.nRuns, 0);
}

TEST_F(ThreadDialog, OffTheGuiThreadTheTaskRunsRightThereWithoutADialog)
{
    std::thread::id taskThread;
    std::thread::id callerThread;
    int nResult = 0;
    int nThrown = 0;
    bool bDialog = false;
    TaskOwner owner([&](int nTask, void*) {
        taskThread = std::this_thread::get_id();
        return nTask;
    });
    TaskOwner bad([](int, void*) -> int { throw std::runtime_error("no"); });
    std::atomic<bool> bEnd{false};
    std::thread caller([&] {
        callerThread = std::this_thread::get_id();
        nResult = ThreadDialogRun(&owner, 12, nullptr, 0, "Processing...");
        nThrown = ThreadDialogRun(&bad, 12, nullptr, 0, "Processing...");
        bEnd = true;
    });
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            bDialog = bDialog || QApplication::activeModalWidget();
            return bEnd.load();
        },
        60'000));
    caller.join();
    EXPECT_EQ(nResult, 12);
    EXPECT_EQ(nThrown, -1);
    EXPECT_EQ(taskThread, callerThread);
    EXPECT_FALSE(bDialog);
}

TEST_F(ThreadDialog, ATaskMayAskTheGuiThreadAndWait)
{
    QThread* pAnswering = nullptr;
    TaskOwner owner([&](int, void*) {
        QMetaObject::invokeMethod(
            qApp, [&] { pAnswering = QThread::currentThread(); }, Qt::BlockingQueuedConnection);
        return 3;
    });
    EXPECT_EQ(ThreadDialogRun(&owner, 0, nullptr, 0, "Processing..."), 3);
    EXPECT_EQ(pAnswering, QThread::currentThread());
}

TEST_F(ThreadDialog, AnApplicationThatIsToldToExitWaitsForTheTask)
{
    HeldTask owner(1011);
    bool bStillOpen = false;
    QTimer::singleShot(0, qApp, [&] {
        QCoreApplication::exit(0);
        // Comes when the dialog's own loop has ended.
        QTimer::singleShot(0, qApp, [&] {
            bStillOpen = QApplication::activeModalWidget() != nullptr;
            owner.End();
        });
    });
    EXPECT_EQ(ThreadDialogRun(&owner, 0, nullptr, 0, "Processing..."), 1011);
    EXPECT_TRUE(bStillOpen);
}

TEST_F(ThreadDialog, ItsEndDoesNotEndAnApplicationWithoutAnotherWindow)
{
    int nLastClosed = 0;
    QObject context;
    QObject::connect(qApp, &QGuiApplication::lastWindowClosed, &context, [&] { ++nLastClosed; });
    QTimer::singleShot(0, &context, [&] {
        WithOpenDialog(0, [](QDialog&) {});
        // After whatever the closing has posted.
        QTimer::singleShot(0, &context, [] { QCoreApplication::exit(7); });
    });
    EXPECT_EQ(QApplication::exec(), 7);
    EXPECT_EQ(nLastClosed, 0);
}

TEST_F(ThreadDialog, ATaskOfNobodyIsRefused)
{
    EXPECT_EQ(ThreadDialogRun(nullptr, 6, nullptr, 0, "Processing..."), -1);
    EXPECT_THAT(Log(), HasSubstr("ThreadDialogRun: nobody owns the task 6"));
}

TEST_F(ThreadDialog, ManyShortTasksInARowAllComeBack)
{
    for (int i = 0; i < 50; ++i) {
        TaskOwner owner([i](int, void*) { return i; });
        ASSERT_EQ(ThreadDialogRun(&owner, 0, nullptr, i, QString()), i);
    }
}

} // namespace
