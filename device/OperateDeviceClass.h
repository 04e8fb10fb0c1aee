#pragma once

// A direct link to the machine that stands beside the wizard: it loads the driver module itself, picks a connection
// from the device list and downloads the pattern of a grid. Make one, call `SetCalibrationFile`. The wizard's own road
// is the host's device service instead. Belongs to one thread at a time; the driver it loads is never given back.

#include "ConnectRecord.h"
#include "MicroLine.h"

#include <QList>
#include <QPointF>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

class IDriverRD;

class OperateDeviceClass
{
public:
    /// Device list, driver, connection, document, download.
    /// @param listPtMm  centres of the crosses, machine millimetres
    /// @param dCrossSizeMm  full length of an arm pair
    /// @return what the driver's download answers; 0 when the device list could not be read, no driver is loaded or the
    ///         grid gives no document
    int SetCalibrationFile(QList<QPointF> listPtMm, double dCrossSizeMm);

    /// Reads "dvices.dt" of the install resources. Entry 0 is always the automatic USB connection, which the file does
    /// not hold, and the file's index counts it. A file that is cut short reads as a success: what is missing keeps its
    /// default.
    /// @return false when there is no such file, it cannot be read, or its magic is wrong
    bool ReadConnectList();

    /// Loads "DriverRD.dll" afresh; on failure there is no driver afterwards.
    void LoadDriver();

    // Without a driver these do nothing.
    void SetConnectIP(QString strAddress);
    void SetConnectPort(unsigned short nPort, std::intptr_t nFirst, std::intptr_t nSecond);
    /// The document's layer and all below it belong to the driver then. 0 without a driver.
    int DownloadMicroLine(MicroLineDocument* pDocument, const char* pName);

    /// A new document on the heap, for the caller to hand over; null where `FillMicroLine` refuses the grid.
    MicroLineDocument* CreateMicroLine(QList<QPointF> listPtMm, double dCrossSizeMm);

    /// Writes the lengths of the X and Y axis, millimetres, into the machine's factory parameters and leaves the others
    /// as they are. Blocks for half a second. Without a driver, or with a length that is not finite, it logs a line and
    /// does nothing.
    void ApplyFactoryArea(double dXMm, double dYMm);

    /// Debug aid: one line for each point into a file at a fixed path; silent when it cannot be made.
    void DumpPoints(QList<QPointF> listPt);

    const IDriverRD* Driver() const { return m_pDriver; }
    const std::vector<std::unique_ptr<ConnectRecord>>& ConnectList() const { return m_conList; }
    /// Which entry of the list to use, as the file or the last transfer left it; may lie outside of the list.
    std::int32_t Index() const { return m_nIndex; }
    void SetIndex(std::int32_t nIndex) { m_nIndex = nIndex; }

private:
    /// Tells the driver to use this connection.
    void Connect(const ConnectRecord& record);

    IDriverRD* m_pDriver = nullptr;
    std::vector<std::unique_ptr<ConnectRecord>> m_conList;
    std::int32_t m_nIndex = 0;
};
