#pragma once

// What several pages of the wizard do alike, once: wordings, notices of the log, the step bar's properties, button
// widths, the countdown of the photo button, the range of a click, hint pictures. GUI thread only.

#include <QList>
#include <QPointF>
#include <QSize>
#include <QString>
#include <QStringList>

#include <initializer_list>

class DualGraphicsView;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QTimer;
class QToolButton;
class QWidget;

/// The wording of `strKey` in the operator's language.
QString Wording(const QString& strKey);

/// The file that a run's progress is kept in, and the section of all its keys.
QString ProgressFile();
inline constexpr const char* g_pProgressSection = "PROGRESS";

/// Raises the minimum width of every `QPushButton` below the page, at any depth, to the advance of its text.
void FitButtonWidths(QWidget* pPage);

/// The one line that a button's slot begins with.
/// @param pObject  object name of what was pressed
void LogClicked(const char* pObject);

/// Collects what is written to the progress file until it goes out of scope, so that the file is saved once. Not while
/// another one lives.
class ProgressBatch
{
public:
    ProgressBatch();
    ~ProgressBatch();
    ProgressBatch(const ProgressBatch&) = delete;
    ProgressBatch& operator=(const ProgressBatch&) = delete;
};

/// Sets the dynamic property that the theme's style sheet reads: the text "true" or "false". Does not repolish.
void SetStepEnable(std::initializer_list<QWidget*> widgets, bool bEnable);
/// Lets the style sheet see a changed property.
void Repolish(QWidget* pWidget);
void Repolish(std::initializer_list<QWidget*> widgets);
/// The names of the five steps of the automatic flow, worded, on as many buttons as are given.
void SetAutomaticStepTexts(std::initializer_list<QToolButton*> buttons);
/// The names of the four steps of the manual flow, worded.
void SetManualStepTexts(std::initializer_list<QToolButton*> buttons);

/// The style with a step's picture: "CoordinateStepN" in a coordinate-only run, else what the page names.
QString StepPictureStyle(const QString& strCoordinateKey, const QString& strKey);

/// One second of the countdown that keeps a photo or stitch button shut: writes the counter as the button's text and
/// lowers it. Below 0 it goes back to 5, the timer stops and the button reads the wording of `strCaption` again.
/// @param nCounter  the page class's own counter, which all its objects share; this is meant
void CountDown(int& nCounter, QTimer& timer, QPushButton& button, const QString& strCaption);
inline constexpr int g_nCountdownStart = 5;

/// Whether a click lies outside of a picture; its far edges still count as inside.
bool IsOutside(QPointF point, QSize picture);

/// Takes the cross back that was clicked last, with its hint. False where it was pending, not recorded yet.
bool TakeNewestCrossBack(DualGraphicsView& view);

/// Shows the hint picture number `nNumber`, counted from 1, with its lower left corner 5 px right of and above
/// `point`, in place of the one before.
void ShowHint(DualGraphicsView& view, int nNumber, QPoint point);

/// Makes a picture that is larger than the view small enough to be seen at once; a smaller one stays as it is. For the
/// first picture of a page: later ones come where the operator has zoomed and panned to.
void ShowWholePicture(DualGraphicsView& view, QSize picture);

/// Where the newest cross of the view is, not the mouse; this is meant. (0, 0) before there is one.
void ShowLastCrossPos(const DualGraphicsView& view, QLabel& label);

/// Brings the mark of a row into view and shows which cross of the pattern it means. The place is read from the row's
/// text, "Coordinate1: 20,30": the first colon counts, a number with a fraction reads as 0, and a text without a colon
/// shows nothing; this is meant.
/// @param list  its current row is the number of the cross
void ShowMarkOfRow(DualGraphicsView& view, const QListWidget& list, const QListWidgetItem& item);

/// The whole part of a number; the nearest `int` where it has none, 0 for what is no number.
int WholePart(double dValue);
/// The machine's canvas that the settings name, 900 x 600 where they name none. Also off the GUI thread.
QSize CanvasMm();

/// Copies all files and folders below `strFrom` into `strTo`, which is made; files of the same name are replaced.
/// False where anything could not be copied; the rest is copied all the same.
bool CopyFolder(const QString& strFrom, const QString& strTo);
/// Merges one folder into another, with a log line for each folder below: whatever file has the name of an entry goes
/// first, be the entry a file or a folder. Always true; what cannot be copied is passed over.
bool CoverOldFile(const QString& strFrom, const QString& strTo);
