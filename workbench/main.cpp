#include "Calibrate.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Gui.h"
#include "Lens.h"
#include "Log.h"
#include "WritableInstall.h"

#include <opencv2/core/utils/logger.hpp>

#include <QApplication>

#include <cstdio>
#include <exception>
#include <memory>

// Weak: another log library need not offer it.
__attribute__((weak)) void ILog_SetStandardErrorLevel(int nLevel);

namespace
{

QStringList Words(int argc, char** argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i) {
        words.append(QString::fromLocal8Bit(argv[i]));
    }
    return words;
}

/// What Qt says of itself is nothing for a terminal.
void LogQtMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& strText)
{
    const int nLevel = type == QtDebugMsg ? 0 : type == QtInfoMsg ? 1 : type == QtWarningMsg ? 2 : 3;
    ILog_WriteLogF(nLevel, "Qt: %s", strText.toUtf8().constData());
}

std::unique_ptr<QCoreApplication> MakeApplication(const Workbench::CommandLine& line, int& argc, char** argv)
{
    const bool bScript = line.strCommand == "calibrate" || line.strCommand == "demo";
    if (line.strCommand != "gui" && !bScript) {
        return std::make_unique<QCoreApplication>(argc, argv);
    }
    if (!bScript) {
        Workbench::RequireScreen();
    }
    Workbench::RunFromWritableInstall(argv);
    if (!bScript) {
        return std::make_unique<QApplication>(argc, argv);
    }
    // The wizard has widgets, which nobody needs to see while a script presses them.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    auto pApplication = std::make_unique<QApplication>(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return pApplication;
}

int Run(const Workbench::CommandLine& line)
{
    if (line.strCommand == "help") {
        std::printf("%s", qPrintable(Workbench::HelpText()));
        return Workbench::Success;
    }
    if (line.strCommand == "version") {
        std::printf("workbench %s\n", qPrintable(QCoreApplication::applicationVersion()));
        return Workbench::Success;
    }
    if (line.strCommand == "picture") {
        return Workbench::RunPicture(line);
    }
    if (line.strCommand == "gui") {
        return Workbench::RunGui(line);
    }
    if (line.strCommand == "to-world" || line.strCommand == "to-pixel") {
        return Workbench::RunPoint(line);
    }
    if (line.strCommand == "lens") {
        return Workbench::RunLens(line);
    }
    return Workbench::RunCalibrate(line);
}

} // namespace

int main(int argc, char** argv)
{
    // A failure is one sentence of the command's own; the log file has the rest.
    if (ILog_SetStandardErrorLevel) {
        ILog_SetStandardErrorLevel(4);
    }
    // OpenCV would tell of each file that is not there as well.
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    // The configuration folder's name for this host; an organisation would add a folder level.
    QCoreApplication::setApplicationName("CalibrateTwoCameraWorkbench");
    QCoreApplication::setApplicationVersion("0.1");
    qInstallMessageHandler(LogQtMessage);
    try {
        const Workbench::CommandLine line = Workbench::ParseCommandLine(Words(argc, argv));
        const std::unique_ptr<QCoreApplication> pApplication = MakeApplication(line, argc, argv);
        return Run(line);
    } catch (const Workbench::Failure& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return failure.Code();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "This did not work: %s\n", exception.what());
        return Workbench::Failed;
    }
}
