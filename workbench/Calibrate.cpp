#include "Calibrate.h"

#include "AccuracyReport.h"
#include "Clicks.h"
#include "DataFolder.h"
#include "ErrorMap.h"
#include "Failure.h"
#include "FolderLock.h"
#include "FolderRoom.h"
#include "HostSession.h"
#include "MachineTypes.h"
#include "Measurement.h"
#include "PictureFile.h"
#include "PictureMaker.h"
#include "Stopwatch.h"
#include "WizardOperator.h"
#include "WizardRun.h"

#include <opencv2/core.hpp>

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTimer>

#include <sys/resource.h>

#include <cstdio>
#include <memory>
#include <optional>

namespace Workbench
{

namespace
{

constexpr int g_nWatchMs = 100;

void Say(const QString& strText)
{
    std::printf("%s\n", qPrintable(strText));
    std::fflush(stdout);
}

double PeakMemoryMib()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void MakeFolder(const QString& strFolder)
{
    if (!QDir().mkpath(strFolder)) {
        throw Failure(QString("The folder %1 cannot be made.").arg(strFolder));
    }
}

/// Of an earlier run; they must not stand beside the new pictures should this one be interrupted.
void RemoveResults(const QString& strOut)
{
    for (const char* pName : {"report.json", "error_map.png", "work_area.png"}) {
        QFile::remove(strOut + "/" + pName);
    }
}

Simulator::Machine::Kind FlowOf(const CommandLine& line)
{
    return line.IsManual() ? Simulator::Machine::Kind::Manual : Simulator::Machine::Kind::Automatic;
}

Opening OpeningOf(const CommandLine& line)
{
    return line.strOpening == "fusion"        ? Opening::Fusion
           : line.strOpening == "coordinates" ? Opening::Coordinate
                                              : Opening::Calibration;
}

OperatorScript SimulatedScript(const CommandLine& line, HostSession& session, std::uint64_t nSeed)
{
    Simulator::ClickOptions clicks;
    clicks.sigmaPx = line.ClickErrorPx();
    clicks.nSeed = nSeed;
    if (line.IsManual()) {
        return SimulatedManualOperator(nSeed, clicks, DataRoot() + "/Vision/calib/Camera_Two/Output");
    }
    OperatorScript script;
    session.Device().WithMachine([&](Simulator::Machine& machine) { script = SimulatedOperator(machine, clicks); });
    return script;
}

MachineHands HandsOn(SimulatedDevice& device, const RoomWatch& watch, bool bSimulatedCameras)
{
    MachineHands hands;
    hands.hasPattern = [&device] { return !device.GetState().strPattern.isEmpty(); };
    hands.isEngraved = [&device] { return device.GetState().bEngraved; };
    hands.startEngraving = [&device] { return device.StartEngraving(); };
    hands.whyNoPlace = [&watch](qint64 nBytes) { return watch.Problem(nBytes); };
    if (bSimulatedCameras) {
        hands.holdChart = [&device](bool bRight, int nPose) {
            device.HoldChart({.side = bRight ? Simulator::Side::Right : Simulator::Side::Left, .nPose = nPose});
            return true;
        };
        hands.takeChartAway = [&device] { device.TakeChartAway(); };
    }
    return hands;
}

/// From the opening of the wizard to its end. The calibration of before comes back where the end is not reached.
void Calibrate(HostSession& session, const OperatorScript& script, Opening opening)
{
    session.PrepareRun(opening);
    const InstanceSetup setup = session.Setup();
    if (!setup.cameras.AreBothThere()) {
        session.Files().Conclude(false);
        throw Failure("The camera module lists no left and right camera; CameraSetting.ini names them.");
    }
    RoomWatch watch(DataRoot() + "/Vision/calib/Camera_Two");
    QTimer watching;
    QObject::connect(&watching, &QTimer::timeout, [&watch] { watch.Look(); });
    watching.start(g_nWatchMs);
    bool bFinished = false;
    QString strProblem;
    {
        WizardRun run(setup, nullptr);
        QEventLoop loop;
        bool bEnded = false;
        QObject::connect(&run, &WizardRun::EndedSignal, &loop, [&](bool bToTheEnd) {
            bEnded = true;
            bFinished = bToTheEnd;
            loop.quit();
        });
        if (!run.Open(opening)) {
            session.Files().Conclude(false);
            throw Failure("The plug-in has opened no wizard.");
        }
        WizardOperator wizardOperator(
            script, HandsOn(session.Device(), watch, session.Cameras() == CameraOwner::SimulatedMachine), opening);
        QObject::connect(&wizardOperator, &WizardOperator::ProgressSignal,
                         [](const QString& strWhat) { Say("  " + strWhat); });
        bFinished = wizardOperator.Run();
        strProblem = wizardOperator.Problem();
        if (!bEnded && strProblem.isEmpty()) {
            loop.exec();
        }
        bFinished = bFinished && strProblem.isEmpty();
    }
    watch.Look();
    const QString strNoPlace = watch.Problem();
    const bool bKept = session.Files().Conclude(bFinished);
    if (!strProblem.isEmpty()) {
        throw Failure(QString("The machine could not be calibrated. %1").arg(strProblem));
    }
    if (!bKept) {
        throw Failure(QString("The wizard went to its end but left no whole calibration. %1")
                          .arg(strNoPlace.isEmpty() ? session.Files().Problem() : strNoPlace));
    }
}

/// Dots in fresh material, the work area picture of them, and how far off it is.
int Measure(HostSession& session, const QString& strOut, AccuracyReport& report)
{
    Say("Engraving the dots that the picture is measured by");
    Simulator::CrossGrid grid;
    std::vector<Simulator::EngravedDot> dots;
    cv::Mat left;
    cv::Mat right;
    session.Device().WithMachine([&](Simulator::Machine& machine) {
        grid = machine.Grid();
        machine.PlaceMaterial();
        dots = DotGrid(machine.WorkAreaMm());
        machine.EngraveDots(dots);
        left = machine.Snap(Simulator::Side::Left);
        right = machine.Snap(Simulator::Side::Right);
    });
    WritePicture(strOut + "/left.png", left);
    WritePicture(strOut + "/right.png", right);

    Say("Making the work area picture");
    PluginHost host(session.Setup());
    const std::vector<cv::Point2d> crosses = grid.PointsMm();
    {
        const cv::Mat workArea = MakeWorkAreaPicture(host, left, right, report);
        report.dCoverage = Coverage(workArea, report.workAreaMm);
        Say(QString("Locating %1 dots").arg(dots.size()));
        MeasureDots(host, workArea, dots, crosses, report);
        WritePicture(strOut + "/work_area.png", workArea);
    }
    if (session.Device().Kind() == Simulator::Machine::Kind::Manual) {
        session.Device().WithMachine(
            [&](const Simulator::Machine& machine) { MeasureManualSeam(left, right, dots, machine, report); });
    } else {
        MeasureSeam(left, right, dots, grid, report);
    }
    WritePicture(strOut + "/error_map.png", DrawErrorMap(report, crosses));
    report.dMemoryMib = PeakMemoryMib();
    if (!WriteReport(report, strOut + "/report.json")) {
        throw Failure(QString("The report cannot be written to %1/report.json.").arg(strOut));
    }
    Say(QString("Wrote work_area.png, error_map.png, report.json, left.png and right.png to %1").arg(strOut));
    Say(ReportTable(report));
    for (const QString& strMissed : report.MissedMeasures()) {
        std::fprintf(stderr, "Measure missed: %s.\n", qPrintable(strMissed));
    }
    return report.MissedMeasures().isEmpty() ? Success : MeasureMissed;
}

} // namespace

int RunCalibrate(const CommandLine& line)
{
    const bool bDemo = line.strCommand == "demo";
    const QString strOut = line.strOut;
    OperatorScript script;
    if (!line.strScript.isEmpty()) {
        // Before a folder is made or a result of before is removed.
        script = ReadOperatorScript(line.strScript, FlowOf(line), ReadMachineTypes());
    }
    MakeFolder(strOut);
    if (bDemo || !line.strDataFolder.isEmpty()) {
        UseDataFolder(line.strDataFolder.isEmpty() ? strOut + "/data" : line.strDataFolder);
    }
    MakeFolder(DataRoot());
    const FolderLock lockOut(strOut);
    auto pLockData = std::make_unique<FolderLock>(DataRoot());
    // Before minutes are spent on what could not be kept.
    RequireRoom(strOut);
    RequireRoom(DataRoot());

    AccuracyReport report;
    report.strFlow = line.strFlow;
    report.dClickErrorPx = line.ClickErrorPx();

    if (bDemo) {
        // One that was interrupted is not resumed but begun again, on a bed that nothing has happened to.
        QFile::remove(DataRoot() + "/Vision/calib/Camera_Two/Progress.ini");
        QFile::remove(DataRoot() + "/Data/SimulatedMachine.json");
    }
    HostSession session(FlowOf(line), bDemo || line.bSeedGiven ? std::optional(line.nSeed) : std::nullopt);
    const std::uint64_t nSeed = session.Device().GetState().nSeed;
    report.nSeed = nSeed;
    const bool bSimulated = session.Cameras() == CameraOwner::SimulatedMachine;
    if (bDemo && !bSimulated) {
        throw Failure("CameraSetting.ini in the data folder names cameras of your own; a demonstration uses the "
                      "simulated machine's. Give it another --data folder, or use calibrate.");
    }
    const Opening opening = OpeningOf(line);
    if (const QString strReason = session.Files().ReasonAgainst(opening); !strReason.isEmpty()) {
        throw Failure(strReason);
    }
    if (!bSimulated && line.strScript.isEmpty()) {
        throw Failure("Cameras of your own need --script, the places of the crosses in their pictures.", WrongUse);
    }
    if (line.strScript.isEmpty()) {
        script = SimulatedScript(line, session, nSeed);
    } else {
        RequireScriptFits(script, session.Setup().areaMm,
                          bSimulated ? SimulatedPictures(FlowOf(line)) : ScriptPictures());
    }
    RemoveResults(strOut);
    report.workAreaMm = cv::Size(session.Device().WorkAreaMm());
    Say(bSimulated
            ? QString("Calibrating the simulated %1 machine, seed %2, through the wizard").arg(line.strFlow).arg(nSeed)
            : QString("Calibrating the cameras of CameraSetting.ini through the wizard"));
    const Stopwatch stopwatch;
    Calibrate(session, script, opening);
    report.dSecondsCalibrate = stopwatch.Seconds();
    if (bSimulated) {
        return Measure(session, strOut, report);
    }
    pLockData.reset();
    PictureMaker maker(session.Modules(), session.Setup());
    WritePicture(strOut + "/work_area.png", maker.Make([](const char* pStage) { Say(QString("  %1").arg(pStage)); }));
    Say(QString("Calibrated; wrote work_area.png to %1").arg(strOut));
    return Success;
}

} // namespace Workbench
