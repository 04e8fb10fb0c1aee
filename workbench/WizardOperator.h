#pragma once

// Sits in front of the open wizard in place of a person: looks which page is shown, presses its buttons, zooms the
// picture and double clicks each cross, reads every notice and dismisses it. It sees the widgets of this process only
// as a person's hands and eyes do, by their object names, and calls nothing past them, so a page that cannot be used
// by hand cannot be used by this either. GUI thread only.

#include "OperatorScript.h"
#include "RunFiles.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <future>
#include <vector>

class QGraphicsView;
class QMainWindow;
class QMessageBox;
class QWidget;

namespace Workbench
{

/// What the operator sees of the machine and of the computer that it stands beside, and the button that it has.
struct MachineHands {
    std::function<bool()> hasPattern;     ///< a pattern was sent to it
    std::function<bool()> isEngraved;     ///< and burnt into the material that lies there
    std::function<bool()> startEngraving; ///< presses start and returns when it is done, on a thread of its own; false
                                          ///< when the machine could not
    /// Holds the chart of discs under the right or the left camera, at the pose of this number; false where a person
    /// has to do it.
    std::function<bool(bool bRight, int nPose)> holdChart = [](bool, int) { return false; };
    std::function<void()> takeChartAway = [] {};
    /// Why the run's files find no place, in a sentence; empty where they do. The wizard passes over what it cannot
    /// write and says something else.
    /// @param nBytes  of one file
    std::function<QString(qint64 nBytes)> whyNoPlace = [](qint64) { return QString(); };
};

/// What the wizard shows for a key, in the operator's language.
QString WizardWording(const QString& strKey);

class WizardOperator final : public QObject
{
    Q_OBJECT

public:
    /// @param opening  of the wizard: what is passed over by it is not missed
    WizardOperator(OperatorScript script, MachineHands hands, Opening opening = Opening::Calibration);
    ~WizardOperator() override;

    /// Goes through the wizard that is open now, from whatever page it shows, until it is closed. Event loops run
    /// meanwhile.
    /// @return true when the wizard went to its end; else `Problem` says what came in the way, and the wizard has been
    ///         cancelled
    bool Run();
    QString Problem() const { return m_strProblem; }
    /// What the wizard told meanwhile, notice by notice.
    QStringList Notices() const { return m_listNotices; }

signals:
    /// The operator is about to do this, in a few words for who watches.
    void ProgressSignal(const QString& strWhat);

private:
    void Look();
    void AnswerBox(QMessageBox& box);
    void UsePage(QMainWindow& window);
    void UseWorkAreaPage(QWidget& page);
    void UseWaitPage(QWidget& page);
    void UseCoordinatePage(QWidget& page);
    void UseStitchingPage(QWidget& page);
    void UseChartPage(QWidget& page);
    void HoldNextPose(QWidget& page);
    void AwaitPicture(QWidget& page);
    void UseFusionPage(QWidget& page);
    void UseMarkPage(QWidget& page);
    void SetMark(QWidget& page, QGraphicsView& view, QPointF target, int nListed);
    /// Counts what the page lists by now. True where that is more than before.
    bool IsListed(int nListed);
    /// False while the page has not listed a cross that was marked, and where one cannot be reached, which fails the
    /// run.
    bool MayTurn(QPointF target);
    void ClickCross(QWidget& page, QGraphicsView& view, QPointF target, int nListed);
    void Cancel(QMainWindow& window);
    /// False while the button is hidden or shut.
    bool Press(QWidget& page, const char* pButton);
    bool ChooseSubModel(QWidget& page);
    void GoBack(QWidget& page);
    void Fail(const QString& strProblem);
    void NextPhase(const QString& strWhat = {});

    const OperatorScript m_script;
    const MachineHands m_hands;
    QTimer m_timer;
    QEventLoop m_loop;
    QElapsedTimer m_sincePhase;
    QPointer<QWidget> m_page; ///< that `m_nPhase` is about
    bool m_bRightSide = false;
    int m_nPhase = 0;
    std::size_t m_nClicked = 0;
    int m_nTurns = 0; ///< of the wheel, for one cross
    int m_nPoses = 0; ///< of the chart, for this camera
    int m_nPoor = 0;  ///< pictures in a row that the page did not take
    bool m_bPoorPicture = false;
    bool m_bChartHeld = false;
    qint64 m_nLiveKey = 0; ///< of the live picture that was seen last
    int m_nLiveSeen = 0;   ///< live pictures since the chart was moved
    qint64 m_nLiveWaitMs = 0;
    std::vector<QPointF> m_vecMarks;
    std::future<bool> m_engraving;
    bool m_bRightDone = false;  ///< the right camera was calibrated, before these eyes or before this run
    bool m_bToTheStart = false; ///< going back to the page that the pattern is sent from
    bool m_bConfirmed = false;  ///< the last button of the last page was pressed
    QString m_strProblem;
    QStringList m_listNotices;
};

} // namespace Workbench
