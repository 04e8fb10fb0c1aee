#include "PageParts.h"

#include "CalibGlobalParam.h"
#include "DualGraphicsView.h"
#include "FileStore.h"
#include "Log.h"
#include "Translator.h"

#include <QDir>
#include <QFile>
#include <QFontMetrics>
#include <QLabel>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

void SetTexts(std::initializer_list<QToolButton*> buttons, std::initializer_list<const char*> keys)
{
    const std::size_t nTexts = std::min(buttons.size(), keys.size());
    for (std::size_t i = 0; i < nTexts; ++i) {
        buttons.begin()[i]->setText(Wording(keys.begin()[i]));
    }
}

bool IsWithin(const QString& strFolder, const QString& strInner)
{
    const QString strOuterPath = QFileInfo(strFolder).canonicalFilePath();
    return !strOuterPath.isEmpty() && (QFileInfo(strInner).canonicalFilePath() + "/").startsWith(strOuterPath + "/");
}

} // namespace

QString Wording(const QString& strKey)
{
    return CTranslator::GetInstance()->GetWording(strKey);
}

QString ProgressFile()
{
    return GetCalibrationRootPath() + "/Vision/calib/Camera_Two/Progress.ini";
}

void LogClicked(const char* pObject)
{
    ILog_WriteLogF(0, "%s was clicked.", pObject);
}

ProgressBatch::ProgressBatch()
{
    BeginIniBatch(ProgressFile());
}

ProgressBatch::~ProgressBatch()
{
    EndIniBatch();
}

void FitButtonWidths(QWidget* pPage)
{
    for (QPushButton* pButton : pPage->findChildren<QPushButton*>()) {
        const int nWidth = pButton->fontMetrics().horizontalAdvance(pButton->text());
        pButton->setMinimumWidth(std::max(nWidth, pButton->minimumWidth()));
    }
}

void SetStepEnable(std::initializer_list<QWidget*> widgets, bool bEnable)
{
    for (QWidget* pWidget : widgets) {
        pWidget->setProperty("Enable", QString(bEnable ? "true" : "false"));
    }
}

void Repolish(QWidget* pWidget)
{
    pWidget->style()->unpolish(pWidget);
    pWidget->style()->polish(pWidget);
    // A picture alone that changes asks for no repaint.
    pWidget->update();
}

void Repolish(std::initializer_list<QWidget*> widgets)
{
    for (QWidget* pWidget : widgets) {
        Repolish(pWidget);
    }
}

void SetAutomaticStepTexts(std::initializer_list<QToolButton*> buttons)
{
    SetTexts(buttons, {"Select work area", "Engraving pattern", "Add Left Coords", "Add Right Coords", "Stitch"});
}

void SetManualStepTexts(std::initializer_list<QToolButton*> buttons)
{
    SetTexts(buttons, {"Distortion Correction", "Select Working Area", "Wait for Engraving", "Add Coordinates"});
}

QString StepPictureStyle(const QString& strCoordinateKey, const QString& strKey)
{
    const QString strWizard = ReadIniString(g_pProgressSection, "WIZARD", "Completely", ProgressFile());
    return QString("image: url(\"%1/Res/Icon/CameraTwo/%2.png\");")
        .arg(GetInstallResourcePath(), strWizard == "Coordinate" ? strCoordinateKey : strKey);
}

void CountDown(int& nCounter, QTimer& timer, QPushButton& button, const QString& strCaption)
{
    button.setText(QString::number(nCounter));
    --nCounter;
    if (nCounter < 0) {
        nCounter = g_nCountdownStart;
        timer.stop();
        button.setText(Wording(strCaption));
        button.setEnabled(true);
    }
}

bool IsOutside(QPointF point, QSize picture)
{
    return point.x() < 0 || point.y() < 0 || point.x() > picture.width() || point.y() > picture.height();
}

bool TakeNewestCrossBack(DualGraphicsView& view)
{
    const bool bRecorded = !view.HasPendingCross();
    view.RemoveLastCross();
    view.RemoveHintPicture();
    return bRecorded;
}

void ShowHint(DualGraphicsView& view, int nNumber, QPoint point)
{
    const QPixmap pixmap(g_calibGlobalParam.strCalibResourcePath + "/Camera_Two/AdjustHandEye_HintImages/" +
                         QString::number(nNumber) + ".svg");
    view.RemoveHintPicture();
    view.ShowHintPicture(pixmap, QPoint(point.x() + 5, point.y() - pixmap.height() - 5));
}

void ShowWholePicture(DualGraphicsView& view, QSize picture)
{
    const QSize room = view.viewport()->size();
    if (picture.width() > room.width() || picture.height() > room.height()) {
        view.fitInView(QRectF(QPointF(), picture), Qt::KeepAspectRatio);
    }
}

void ShowLastCrossPos(const DualGraphicsView& view, QLabel& label)
{
    const QPoint position = view.GetLastCrossPos();
    label.setText(Wording("Coordinate") + QString(": %1,%2").arg(position.x()).arg(position.y()));
}

void ShowMarkOfRow(DualGraphicsView& view, const QListWidget& list, const QListWidgetItem& item)
{
    const QStringList parts = item.text().split(':');
    if (parts.size() < 2) {
        return;
    }
    const QStringList numbers = parts[1].split(',');
    const QPoint point(numbers[0].toInt(), numbers.value(1).toInt());
    view.centerOn(point);
    ShowHint(view, list.currentRow() + 1, point);
}

int WholePart(double dValue)
{
    using Limits = std::numeric_limits<int>;
    if (std::isnan(dValue)) {
        return 0;
    }
    if (dValue <= Limits::min()) {
        return Limits::min();
    }
    return dValue >= Limits::max() ? Limits::max() : static_cast<int>(dValue);
}

QSize CanvasMm()
{
    const QString strFile = GetCalibrationRootPath() + "/Data/CameraSetting.ini";
    return {WholePart(ReadIniDouble("CANVAS_SIZE", "WIDTH", 900.0, strFile)),
            WholePart(ReadIniDouble("CANVAS_SIZE", "HEIGHT", 600.0, strFile))};
}

bool CopyFolder(const QString& strFrom, const QString& strTo)
{
    bool bAll = QDir().mkpath(strTo);
    const QFileInfoList entries = QDir(strFrom).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        const QString strTarget = strTo + "/" + entry.fileName();
        if (entry.isDir()) {
            // A link may lead back up.
            bAll = !entry.isSymLink() && CopyFolder(entry.filePath(), strTarget) && bAll;
        } else {
            QFile::remove(strTarget);
            bAll = QFile::copy(entry.filePath(), strTarget) && bAll;
        }
    }
    return bAll;
}

bool CoverOldFile(const QString& strFrom, const QString& strTo)
{
    ILog_WriteLogF(1, "CoverOldFile, srcPath: %s,  dstPath: %s", ToLocalBytes(strFrom).constData(),
                   ToLocalBytes(strTo).constData());
    QDir().mkpath(strTo);
    if (IsWithin(strFrom, strTo)) {
        ILog_WriteLog(2, "CoverOldFile, a folder is not copied into itself");
        return true;
    }
    const QFileInfoList entries =
        QDir(strFrom).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo& entry : entries) {
        const QString strTarget = strTo + "/" + entry.fileName();
        QFile::remove(strTarget);
        if (!entry.isDir()) {
            QFile::copy(entry.filePath(), strTarget);
        } else if (!entry.isSymLink()) {
            // A link may lead back up.
            CoverOldFile(entry.filePath(), strTarget);
        }
    }
    return true;
}
