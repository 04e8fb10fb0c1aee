#include "ErrCodeMgrExports.h"
#include "LibraryLoader.h"
#include "Log.h"
#include "LogControl.h"
#include "ModalAnswers.h"
#include "StatusText.h"
#include "TempFolder.h"
#include "TranslatorControl.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QTimer>

#include <limits>
#include <memory>
#include <thread>

namespace
{

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int BUSY = 1001;

class ErrorCodes : public testing::Test
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
        ILog_SetFile({});
        Translator_SetLanguage("en");
    }

    std::string Log() const { return m_folder.ReadAll("log").toStdString(); }

    TempFolder m_folder;
    ModalAnswers m_answers;
    std::unique_ptr<IErrCodeMgr, void (*)(IErrCodeMgr*)> m_pErrors{NewInterface(), ReleaseInterface};
};

TEST_F(ErrorCodes, SuccessIsQuiet)
{
    const std::string strBefore = Log();
    m_pErrors->ShowStatus(1011, 0);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_EQ(Log(), strBefore);
}

TEST_F(ErrorCodes, AFailureIsTheUsualNoticeWithMeaningAdviceAndNumber)
{
    m_pErrors->ShowStatus(BUSY, 0);

    ASSERT_EQ(m_answers.Notices().size(), 1u);
    const ModalAnswers::Notice& notice = m_answers.Notices()[0];
    EXPECT_EQ(notice.strTitle, "Tips");
    EXPECT_EQ(notice.icon, QMessageBox::Information);
    EXPECT_EQ(notice.buttons, QStringList{"OK"});
    EXPECT_EQ(notice.pParent, nullptr);
    EXPECT_TRUE(notice.flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
    EXPECT_EQ(notice.strText, "No machine is connected, or the machine is busy.\n\n"
                              "Check that the machine is switched on and connected and that no other job is running, "
                              "then try again.\n\n"
                              "Status: 1001");
    EXPECT_THAT(Log(), HasSubstr("[2]"));
    EXPECT_THAT(Log(), HasSubstr("ErrCodeMgr: status 1001: No machine is connected, or the machine is busy."));
}

TEST_F(ErrorCodes, TheNoticeIsModalAndPlainText)
{
    bool bModal = false;
    m_answers.OnBox([&](QMessageBox& box) {
        bModal = box.isModal() && QApplication::activeModalWidget() == &box;
        EXPECT_EQ(box.textFormat(), Qt::PlainText);
    });
    m_pErrors->ShowStatus(BUSY, 0);
    EXPECT_TRUE(bModal);
}

TEST_F(ErrorCodes, KnownFailuresAreToldApart)
{
    QStringList meanings;
    for (const int nStatus : {-1, 1001, 1016, 7}) {
        meanings << StatusMeaning(nStatus);
    }
    EXPECT_EQ(meanings.removeDuplicates(), 0);
}

TEST_F(ErrorCodes, AnyOtherNumberIsAnUnknownStatusAndIsNamed)
{
    for (const int nStatus : {0, 1, 1010, 1012, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        m_pErrors->ShowStatus(nStatus, 0);
        ASSERT_FALSE(m_answers.Notices().empty());
        const QString strText = m_answers.Notices().back().strText;
        EXPECT_TRUE(strText.startsWith("The machine reported a status that is not known here.")) << nStatus;
        EXPECT_TRUE(strText.endsWith(QString("\n\nStatus: %1").arg(nStatus))) << nStatus;
    }
    EXPECT_EQ(m_answers.Notices().size(), 6u);
}

TEST_F(ErrorCodes, TheSecondNumberChangesNothing)
{
    m_pErrors->ShowStatus(BUSY, 77);
    m_pErrors->ShowStatus(1011, 77);
    EXPECT_EQ(m_answers.OnlyText(), StatusText(BUSY));
}

TEST_F(ErrorCodes, EveryTextIsWordedInEveryLanguage)
{
    const QStringList languages = Translator_AvailableLanguages();
    ASSERT_GE(languages.size(), 4);
    for (const int nStatus : {-1, 1001, 1016, 7}) {
        ASSERT_TRUE(Translator_SetLanguage("en"));
        const QStringList english = StatusText(nStatus).split("\n\n");
        ASSERT_EQ(english.size(), 3);
        for (const QString& strLanguage : languages) {
            ASSERT_TRUE(Translator_SetLanguage(strLanguage));
            const QStringList paragraphs = StatusText(nStatus).split("\n\n");
            ASSERT_EQ(paragraphs.size(), 3) << qPrintable(strLanguage);
            EXPECT_EQ(paragraphs[0] == english[0], strLanguage == "en") << nStatus << qPrintable(strLanguage);
            EXPECT_EQ(paragraphs[1] == english[1], strLanguage == "en") << nStatus << qPrintable(strLanguage);
            EXPECT_TRUE(paragraphs[2].endsWith(QString::number(nStatus))) << qPrintable(paragraphs[2]);
        }
    }
}

TEST_F(ErrorCodes, TheNoticeSpeaksTheLanguageOfTheMoment)
{
    ASSERT_TRUE(Translator_SetLanguage("es"));
    m_pErrors->ShowStatus(BUSY, 0);
    ASSERT_EQ(m_answers.Notices().size(), 1u);
    EXPECT_EQ(m_answers.Notices()[0].strTitle, "Aviso");
    EXPECT_EQ(m_answers.Notices()[0].buttons, QStringList{"Aceptar"});
    EXPECT_THAT(Log(), HasSubstr("No machine is connected")) << "the log stays English";
}

TEST_F(ErrorCodes, OffTheGuiThreadAStatusIsOnlyLogged)
{
    std::thread([this] { m_pErrors->ShowStatus(BUSY, 0); }).join();
    QCoreApplication::processEvents();
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    EXPECT_THAT(Log(), HasSubstr("ErrCodeMgr: status 1001"));
}

TEST_F(ErrorCodes, ClosingTheNoticeDoesNotEndAnApplicationWithoutAnotherWindow)
{
    int nLastClosed = 0;
    QObject::connect(qApp, &QGuiApplication::lastWindowClosed, &m_answers, [&] { ++nLastClosed; });
    QTimer::singleShot(0, &m_answers, [this] {
        m_pErrors->ShowStatus(BUSY, 0);
        // After whatever the closing has posted.
        QTimer::singleShot(0, &m_answers, [] { QCoreApplication::exit(7); });
    });
    EXPECT_EQ(QApplication::exec(), 7);
    EXPECT_EQ(m_answers.Notices().size(), 1u);
    EXPECT_EQ(nLastClosed, 0);
}

TEST_F(ErrorCodes, ReleasingNothingDoesNothing)
{
    ReleaseInterface(nullptr);
}

TEST_F(ErrorCodes, TheBuiltModuleWorksThroughTheLoader)
{
    auto* const pErrors = static_cast<IErrCodeMgr*>(LoadModule(MODULE_FILE, true, nullptr));
    ASSERT_NE(pErrors, nullptr) << qPrintable(m_answers.OnlyText());
    pErrors->ShowStatus(1011, 0);
    EXPECT_THAT(m_answers.Notices(), IsEmpty());
    pErrors->ShowStatus(BUSY, 0);
    EXPECT_EQ(m_answers.OnlyText(), StatusText(BUSY));
    EXPECT_TRUE(ReleaseModule(pErrors));
    EXPECT_THAT(g_listLoadedModules, IsEmpty());
    QCoreApplication::processEvents();
}

} // namespace
