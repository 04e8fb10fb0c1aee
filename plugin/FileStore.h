#pragma once

// Where the plug-in's files live and how INI values are read and written. All that the wizard learns and the run-time
// calls need passes through here. Nothing reports a failure: a missing file reads as the default, an unwritable one is
// silent. Paths are joined by plain concatenation; every fragment carries its own separators.

#include <QByteArray>
#include <QString>

/// The writable data root, created when it is missing. The theme's name selects the host product's folder.
QString GetCalibrationRootPath();
/// The read-only install root: "Resources" beside the application's folder.
QString GetInstallResourcePath();

int ReadIniInt(QString strSection, QString strKey, int nDefault, QString strFile);
double ReadIniDouble(QString strSection, QString strKey, double dDefault, QString strFile);
QString ReadIniString(QString strSection, QString strKey, QString strDefault, QString strFile);
/// While a batch is open the writers write to the batch's file and ignore `strFile`; this is meant.
void WriteIniInt(QString strSection, QString strKey, int nValue, QString strFile);
void WriteIniDouble(QString strSection, QString strKey, double dValue, QString strFile);
void WriteIniString(QString strSection, QString strKey, QString strValue, QString strFile);
/// Opens one process-wide batch so that many writes save the file once. GUI thread only.
void BeginIniBatch(QString strFile);
void EndIniBatch();

/// Tells the host which two cameras a finished calibration used. A camera is listed as "[0] Camera-Left"; only the last
/// of the words between single blanks is kept.
void WriteCameraDevices(QString strLeftCameraName, QString strRightCameraName);

/// Renames, or copies file by file where the target exists already. False when the source does not exist or the target
/// folder cannot be made. A file that cannot be copied stays in the source folder, which then stays too; the answer is
/// true all the same.
bool MoveDirectory(QString strFrom, QString strTo);

QString Utf8ToQString(const char* pText);
QByteArray QStringToUtf8(QString strText);
/// Local 8-bit text, as the modules take paths.
QByteArray ToLocalBytes(QString strText);
