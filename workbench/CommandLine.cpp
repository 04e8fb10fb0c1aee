#include "CommandLine.h"

#include "Failure.h"

#include <QHash>
#include <QRegularExpression>

#include <cmath>

namespace Workbench
{

namespace
{

/// The options that each command knows.
const QHash<QString, QStringList>& KnownOptions()
{
    static const QHash<QString, QStringList> options{
        {"demo", {"--out", "--seed", "--click-error", "--data"}},
        {"calibrate", {"--flow", "--opening", "--out", "--seed", "--click-error", "--script", "--data"}},
        {"picture", {"--left", "--right", "--out", "--size", "--data"}},
        {"to-world", {"--data"}},
        {"to-pixel", {"--data"}},
        {"lens", {"--images", "--out", "--chart", "--spacing", "--coverage"}},
        {"gui", {"--data", "--seed", "--flow"}},
    };
    return options;
}

Failure Wrong(const QString& strSentence)
{
    return Failure(strSentence + " See --help.", WrongUse);
}

double Number(const QString& strWord, const QString& strWhat)
{
    bool bOk = false;
    const double dValue = strWord.toDouble(&bOk);
    if (!bOk || !std::isfinite(dValue)) {
        throw Wrong(QString("%1 must be a number, not '%2'.").arg(strWhat, strWord));
    }
    return dValue;
}

/// Pixel or millimetre; beyond a kilometre the conversion's floats have lost the unit.
double Coordinate(const QString& strWord, const QString& strWhat)
{
    constexpr double dMost = 1.0e6;
    const double dValue = Number(strWord, strWhat);
    if (std::abs(dValue) > dMost) {
        throw Wrong(QString("%1 must lie between -1000000 and 1000000, not be '%2'.").arg(strWhat, strWord));
    }
    return dValue;
}

QSize SizeMm(const QString& strWord)
{
    const auto match = QRegularExpression("^([0-9]{1,5})x([0-9]{1,5})$").match(strWord);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (!match.hasMatch() || size.width() < 1 || size.height() < 1 || size.width() > 5000 || size.height() > 5000) {
        throw Wrong(
            QString("The work area must be given as WIDTHxHEIGHT in whole millimetres, at most 5000x5000, not '%1'.")
                .arg(strWord));
    }
    return size;
}

QSize ChartDiscs(const QString& strWord)
{
    const auto match = QRegularExpression("^([0-9]{1,2})x([0-9]{1,2})$").match(strWord);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (!match.hasMatch() || qMin(size.width(), size.height()) < 3 || qMax(size.width(), size.height()) > 60) {
        throw Wrong(QString("The chart must be given as discs in a row x rows, 3x3 to 60x60, not '%1'.").arg(strWord));
    }
    return size;
}

double SpacingMm(const QString& strWord)
{
    const double dValue = Number(strWord, "The spacing");
    if (!(dValue > 0.0 && dValue <= 1000.0)) {
        throw Wrong(QString("The spacing must lie above 0 and not above 1000 mm, not be '%1'.").arg(strWord));
    }
    return dValue;
}

void TakeOption(CommandLine& line, const QString& strName, const QString& strValue)
{
    if (strName == "--out") {
        line.strOut = strValue;
    } else if (strName == "--data") {
        line.strDataFolder = strValue;
    } else if (strName == "--left") {
        line.strLeft = strValue;
    } else if (strName == "--right") {
        line.strRight = strValue;
    } else if (strName == "--script") {
        line.strScript = strValue;
    } else if (strName == "--images") {
        line.strImages = strValue;
    } else if (strName == "--coverage") {
        line.strCoverage = strValue;
    } else if (strName == "--chart") {
        line.chartDiscs = ChartDiscs(strValue);
    } else if (strName == "--spacing") {
        line.dSpacingMm = SpacingMm(strValue);
    } else if (strName == "--size") {
        line.sizeMm = SizeMm(strValue);
    } else if (strName == "--flow") {
        line.strFlow = strValue;
        if (strValue != "automatic" && strValue != "manual") {
            throw Wrong(QString("The flow is automatic or manual, not '%1'.").arg(strValue));
        }
    } else if (strName == "--opening") {
        line.strOpening = strValue;
        if (strValue != "whole" && strValue != "fusion" && strValue != "coordinates") {
            throw Wrong(QString("The opening is whole, fusion or coordinates, not '%1'.").arg(strValue));
        }
    } else if (strName == "--seed") {
        bool bOk = false;
        line.nSeed = strValue.toULongLong(&bOk);
        line.bSeedGiven = true;
        if (!bOk) {
            throw Wrong(QString("The seed must be a whole number, not '%1'.").arg(strValue));
        }
    } else if (strName == "--click-error") {
        line.clickErrorPx = Number(strValue, "The click error");
        if (*line.clickErrorPx < 0.0 || *line.clickErrorPx > 100.0) {
            throw Wrong("The click error must lie between 0 and 100 px.");
        }
    }
}

void TakePlainWords(CommandLine& line, const QStringList& listPlain)
{
    const bool bPoint = line.strCommand == "to-world" || line.strCommand == "to-pixel";
    if (listPlain.size() != (bPoint ? 2 : 0)) {
        throw bPoint ? Wrong(QString("%1 needs two numbers, X and Y.").arg(line.strCommand))
                     : Wrong(QString("'%1' means nothing to %2.").arg(listPlain.first(), line.strCommand));
    }
    if (bPoint) {
        line.dX = Coordinate(listPlain[0], "X");
        line.dY = Coordinate(listPlain[1], "Y");
    }
}

} // namespace

CommandLine ParseCommandLine(const QStringList& listWords)
{
    CommandLine line;
    if (listWords.isEmpty() || listWords.first() == "help" || listWords.contains("--help") ||
        listWords.contains("-h")) {
        line.strCommand = "help";
        return line;
    }
    line.strCommand = listWords.first() == "--gui" ? "gui" : listWords.first();
    if (line.strCommand == "--version") {
        line.strCommand = "version";
        return line;
    }
    if (!KnownOptions().contains(line.strCommand)) {
        throw Wrong(QString("There is no command '%1'.").arg(line.strCommand));
    }
    if (line.strCommand == "picture" || line.strCommand == "lens") {
        line.strOut.clear();
    }
    const QStringList listKnown = KnownOptions().value(line.strCommand);
    QStringList listPlain;
    for (qsizetype i = 1; i < listWords.size(); ++i) {
        const QString& strWord = listWords[i];
        if (!strWord.startsWith("--")) {
            listPlain.append(strWord);
            continue;
        }
        // "--name value" or "--name=value"
        const QString strName = strWord.section('=', 0, 0);
        if (!listKnown.contains(strName)) {
            throw Wrong(QString("%1 has no option '%2'.").arg(line.strCommand, strName));
        }
        const QString strValue = strWord.contains('=') ? strWord.section('=', 1) : listWords.value(++i);
        if (strValue.isEmpty() || (!strWord.contains('=') && listKnown.contains(strValue))) {
            throw Wrong(QString("The option %1 needs a value.").arg(strName));
        }
        TakeOption(line, strName, strValue);
    }
    TakePlainWords(line, listPlain);
    if (line.strCommand == "picture" && (line.strLeft.isEmpty() || line.strRight.isEmpty() || line.strOut.isEmpty())) {
        throw Wrong("picture needs --left, --right and --out.");
    }
    if (line.strOpening == "fusion" && !line.IsManual()) {
        throw Wrong("--opening fusion needs --flow manual: the automatic flow has no fusion step of its own.");
    }
    if (line.strCommand == "lens" && (line.strImages.isEmpty() || line.strOut.isEmpty())) {
        throw Wrong("lens needs --images and --out.");
    }
    return line;
}

QString HelpText()
{
    return R"(Usage: workbench COMMAND [OPTIONS]

The reference host of CalibrateTwoCamera: two camera pictures become one picture of the work area at 6 px per mm, and points
convert between that picture and machine millimetres.

Commands
  demo                      calibrate a simulated machine through the wizard, make its work area picture, and measure the
                            error in millimetres; always from the beginning
      --out DIR             where work_area.png, error_map.png, report.json and the two camera pictures left.png and right.png
                            go (default: out)
      --seed N              which simulated machine (default: 1)
      --click-error PX      how far the simulated operator's clicks are off, sigma in pixels (default: 3)
      --data DIR            where the calibration goes (default: data below the --out folder)
  calibrate [--flow automatic|manual]
                            the same on the machine of the data folder: an interrupted run is resumed, and cameras that
                            CameraSetting.ini names take the place of the simulated ones (then --script is needed, and only
                            work_area.png is made)
      --flow manual         the manual machine: charts, fusion, eighteen marks
      --opening whole|fusion|coordinates
                            where the wizard begins (default: whole); the other two build on a calibration that is there
      --script FILE         the operator's clicks as JSON instead of the simulated operator's
      --out, --seed, --click-error, --data
                            as above; without --data the user's configuration folder; clicks are 1 px off in the manual flow
  --gui                     the window: live work area picture, calibration wizard, the simulated machine's panel, log
      --flow automatic|manual   which simulated machine it is for (default: automatic)
      --seed N              which one of them (default: the one of the last time, or 1)
      --data DIR            see below
  picture                   make a work area picture from two camera pictures
      --left A --right B    the two pictures, as the cameras deliver them
      --out C.png           where the result goes; the suffix names the format
      --size WxH            work area in millimetres (default: the machine's own)
      --data DIR            see below
  to-world X Y [--data DIR] millimetres of a pixel of the work area picture
  to-pixel X Y [--data DIR] pixel of the work area picture of a point in millimetres
  lens                      find a camera's lens from photographs of a chart of discs
      --images DIR          the folder of the photographs, all of one size
      --out FILE            where the camera parameters go (XML)
      --chart COLSxROWS     discs in a row and rows (default: 7x9)
      --spacing MM          from disc to disc; then each chart's distance is told as well
      --coverage FILE.png   where the picture of what the charts covered goes (default: beside --out)

--data DIR takes the place of the user's configuration folder. The calibration lies below it in
Quillboost/Resources/Vision/calib/Camera_Two/Result, the work area in Quillboost/Resources/Data/CameraSetting.ini.
After a demonstration, --data out/data is the folder of the simulated machine.

Exit codes: 0 success, 1 failure, 2 wrong use, 3 the demonstration ran but missed one of its measures. A failure is one
sentence on standard error; what the modules had to say stands in the log, ~/.local/state/calibrate-two-camera.log.
)";
}

} // namespace Workbench
