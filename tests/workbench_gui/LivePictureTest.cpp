#include "LivePicture.h"

#include "Failure.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <atomic>

namespace
{

using namespace Workbench;

constexpr int g_nPicturePatienceMs = 20'000;

class Live : public testing::Test
{
protected:
    void SetUp() override { m_live.SetPauseMs(1); }
    /// Counts its calls; waits in each of them where the test holds it.
    LivePicture::Maker Maker()
    {
        return [this](const std::function<void(const char*)>& tell) {
            tell("Taking pictures");
            ++m_nCalls;
            m_begun.release();
            if (m_bHeld) {
                m_go.acquire();
            }
            if (m_bFails) {
                throw Failure("The left camera gives no picture.");
            }
            return cv::Mat(4, 6, CV_8UC3, cv::Scalar::all(90));
        };
    }

    std::atomic<int> m_nCalls = 0;
    std::atomic<bool> m_bHeld = false;
    std::atomic<bool> m_bFails = false;
    QSemaphore m_begun;
    QSemaphore m_go;
    LivePicture m_live; ///< last: it ends first
};

TEST_F(Live, MakesOnePicturePerRequest)
{
    QSignalSpy spy(&m_live, &LivePicture::PictureSignal);
    m_live.RequestSlot();
    EXPECT_FALSE(m_live.IsBusy()) << "nothing was started yet";
    m_live.Start(Maker());
    m_live.RequestSlot();
    ASSERT_TRUE(spy.wait(g_nPicturePatienceMs));
    EXPECT_EQ(spy[0][0].value<AreaPicturePointer>()->Size(), QSize(6, 4));
    EXPECT_FALSE(m_live.IsBusy());
    EXPECT_EQ(m_nCalls, 1);
}

TEST_F(Live, RequestsWhileOneIsUnderWayBecomeOneMore)
{
    m_bHeld = true;
    QSignalSpy spy(&m_live, &LivePicture::PictureSignal);
    m_live.Start(Maker());
    m_live.RequestSlot();
    m_begun.acquire();
    m_live.RequestSlot();
    m_live.RequestSlot();
    m_live.RequestSlot();
    m_bHeld = false;
    m_go.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return spy.count() == 2; }, g_nPicturePatienceMs));
    QTest::qWait(20);
    EXPECT_EQ(m_nCalls, 2);
}

TEST_F(Live, TheWindowIsFreeWhileAPictureIsMade)
{
    m_bHeld = true;
    QSignalSpy stages(&m_live, &LivePicture::StageSignal);
    m_live.Start(Maker());
    m_live.RequestSlot();
    ASSERT_TRUE(stages.wait(g_nPicturePatienceMs)) << "what it does is told while it does it";
    EXPECT_EQ(stages[0][0].toString(), "Taking pictures");
    EXPECT_TRUE(m_live.IsBusy());
    m_go.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !m_live.IsBusy(); }, g_nPicturePatienceMs));
    EXPECT_EQ(stages.last()[0].toString(), "") << "and that it is done";
}

TEST_F(Live, LivePicturesFollowOneAnotherUntilItEnds)
{
    QSignalSpy spy(&m_live, &LivePicture::PictureSignal);
    m_live.SetLive(true);
    m_live.Start(Maker());
    ASSERT_TRUE(QTest::qWaitFor([&] { return spy.count() >= 3; }, g_nPicturePatienceMs));
    m_live.SetLive(false);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !m_live.IsBusy(); }, g_nPicturePatienceMs));
    const int nCalls = m_nCalls;
    QTest::qWait(20);
    EXPECT_EQ(m_nCalls, nCalls);
}

TEST_F(Live, AFailureIsToldAndTheNextPictureIsTried)
{
    m_bFails = true;
    QSignalSpy failed(&m_live, &LivePicture::FailedSignal);
    QSignalSpy made(&m_live, &LivePicture::PictureSignal);
    m_live.SetLive(true);
    m_live.Start(Maker());
    ASSERT_TRUE(failed.wait(g_nPicturePatienceMs));
    EXPECT_EQ(failed[0][0].toString(), "The left camera gives no picture.");
    EXPECT_EQ(failed[0][1].toString(), "The left camera gives no picture.");
    m_bFails = false;
    EXPECT_TRUE(made.wait(g_nPicturePatienceMs));
}

TEST_F(Live, TheOperatorReadsAFailureInHisLanguageAndTheLogInEnglish)
{
    ASSERT_TRUE(SwitchLanguage("de"));
    m_bFails = true;
    QSignalSpy failed(&m_live, &LivePicture::FailedSignal);
    m_live.Start(Maker());
    m_live.RequestSlot();
    const bool bFailed = failed.wait(g_nPicturePatienceMs);
    EXPECT_TRUE(SwitchLanguage("en"));
    ASSERT_TRUE(bFailed);
    EXPECT_EQ(failed[0][0].toString(), "The left camera gives no picture.");
    EXPECT_EQ(failed[0][1].toString(), "Die linke Kamera liefert kein Bild.");
}

TEST_F(Live, StoppingWaitsForThePictureUnderWayAndForTheMakersEnd)
{
    struct Held {
        ~Held() { *pGone = true; }
        std::atomic<bool>* pGone;
    };
    std::atomic<bool> bGone = false;
    m_bHeld = true;
    QSignalSpy made(&m_live, &LivePicture::PictureSignal);
    QSignalSpy stopped(&m_live, &LivePicture::StoppedSignal);
    bool bGoneWhenTold = false;
    QObject::connect(&m_live, &LivePicture::StoppedSignal, [&] { bGoneWhenTold = bGone; });
    m_live.SetLive(true);
    m_live.Start([pHeld = std::make_shared<Held>(&bGone), make = Maker()](const auto& tell) { return make(tell); });
    m_begun.acquire();
    m_live.StopSlot();
    QTest::qWait(20);
    EXPECT_EQ(stopped.count(), 0);
    m_go.release();
    ASSERT_TRUE(stopped.wait(g_nPicturePatienceMs));
    EXPECT_TRUE(bGoneWhenTold) << "cameras are free when it is told";
    EXPECT_EQ(made.count(), 0) << "a picture of before is not shown any more";
    m_live.RequestSlot();
    EXPECT_FALSE(m_live.IsBusy());
}

TEST_F(Live, StoppingWithoutAPictureUnderWayIsToldFromTheEventLoop)
{
    QSignalSpy stopped(&m_live, &LivePicture::StoppedSignal);
    m_live.Start(Maker());
    m_live.StopSlot();
    EXPECT_EQ(stopped.count(), 0);
    ASSERT_TRUE(stopped.wait(g_nPicturePatienceMs));
    m_live.Start(Maker());
    m_live.RequestSlot();
    EXPECT_TRUE(m_live.IsBusy()) << "it can begin anew";
}

TEST_F(Live, EndsWhileAPictureIsUnderWay)
{
    auto pLive = std::make_unique<LivePicture>();
    pLive->Start(Maker());
    pLive->RequestSlot();
    m_begun.acquire();
    pLive.reset();
    EXPECT_EQ(m_nCalls, 1);
}

} // namespace

Q_DECLARE_METATYPE(Workbench::AreaPicturePointer)
