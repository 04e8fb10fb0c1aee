// The crosses that the operator marks on the page of the automatic flow, and their list.

#include "AutoDualCalibrateWdg.h"

#include "ui_AutoDualCalibrateWdg.h"

#include "CrossMarks.h"
#include "CrossPtsDetectDllR.h"
#include "DualCoordinateToolBar.h"
#include "Log.h"
#include "Notice.h"
#include "PageParts.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace
{

constexpr int g_nManualLimit = 9;

} // namespace

int AutoDualCalibrateWdg::CrossesOfCamera() const
{
    const std::int64_t nCrosses = std::int64_t{m_nRowSingle} * m_nColSingle;
    return static_cast<int>(std::clamp<std::int64_t>(nCrosses, 0, std::numeric_limits<int>::max()));
}

int AutoDualCalibrateWdg::CrossLimit() const
{
    return m_nCameraType == 1 ? CrossesOfCamera() : g_nManualLimit;
}

void AutoDualCalibrateWdg::RefreshCoordList()
{
    ui->listWidget_Coord->clear();
    m_listCoord.clear();
    SortById(m_vecPts);
    QList<int> ids;
    for (const CalibrationPoint& point : m_vecPts) {
        ids << point.nId;
        m_listCoord << QPointF(point.fImageX, point.fImageY);
    }
    ui->graphicsView->SetCrosses(ids, m_listCoord);
    for (const CalibrationPoint& point : m_vecPts) {
        const QString strText = Wording("Coordinate") + QString("%1: %2,%3")
                                                            .arg(point.nId, 0, 10, QChar(' '))
                                                            .arg(static_cast<double>(point.fImageX))
                                                            .arg(static_cast<double>(point.fImageY));
        auto* const pItem = new QListWidgetItem(strText, ui->listWidget_Coord);
        pItem->setData(Qt::UserRole, point.nId);
    }
    // Nothing here goes back when the number falls; this is meant. A grid that is not known is never complete.
    if (CrossLimit() > 0 && m_listCoord.size() >= CrossLimit()) {
        if (m_pToolBar) {
            m_pToolBar->SetToolButtonEnable(g_nAdd, false);
        }
        ui->pushButton_confirm->setEnabled(true);
    }
    (IsLeftStep() ? m_listLeft : m_listRight) = m_listCoord;
}

void AutoDualCalibrateWdg::CoordinateToolBarAddSlots()
{
    ui->graphicsView->SetAddEnabled(m_pToolBar && m_pToolBar->IsToolButtonChecked(g_nAdd));
}

bool AutoDualCalibrateWdg::RefusesMark()
{
    if (m_listCoord.size() == CrossLimit()) {
        ShowNotice("Coordinate selection reaches the upper limit.");
        return true;
    }
    if (!ui->graphicsView->HasPicture()) {
        ShowNotice("Please obtain picture first!", "Warning");
        return true;
    }
    return false;
}

void AutoDualCalibrateWdg::AddCrossSlots(QPointF ptAddPoint)
{
    if (m_pToolBar) {
        m_pToolBar->SetToolButtonChecked(g_nAdd, false);
        m_pToolBar->SetToolButtonChecked(g_nModify, true);
    }
    LogClicked("pushButton_AddCoord");
    if (RefusesMark()) {
        return;
    }
    if (IsOutside(ptAddPoint, m_pixImg.size())) {
        ShowNotice("Selected coordinates exceed the range.");
        return;
    }
    m_bCoordAdded = true;
    m_vecPts.push_back(NewMark(NextMarkId(m_vecPts), m_nRowSingle, m_nColSingle, ptAddPoint));
    RefreshCoordList();
    if (m_pToolBar) {
        m_pToolBar->UncheckAddAndModify();
    }
    ui->graphicsView->SetAddEnabled(false);
}

QListWidgetItem* AutoDualCalibrateWdg::SelectedItem() const
{
    QListWidgetItem* const pItem = ui->listWidget_Coord->currentItem();
    if (!pItem || m_listCoord.isEmpty() || m_vecPts.empty()) {
        return nullptr;
    }
    const int nId = pItem->data(Qt::UserRole).toInt();
    return nId >= 0 && nId <= m_vecPts.back().nId ? pItem : nullptr;
}

void AutoDualCalibrateWdg::CoordinateToolBarModifySlots()
{
    const QListWidgetItem* const pItem = SelectedItem();
    if (!pItem) {
        const QPointer<AutoDualCalibrateWdg> pAlive(this);
        ShowNotice("Please select the cross you want to modify before clicking this button.", "Warning");
        if (pAlive && m_pToolBar) {
            m_pToolBar->SetToolButtonChecked(g_nModify, false);
        }
        return;
    }
    const int nId = pItem->data(Qt::UserRole).toInt();
    const bool bModify = m_pToolBar && m_pToolBar->IsToolButtonChecked(g_nModify);
    ui->graphicsView->SetCrossMovableById(nId, bModify);
    if (bModify) {
        return;
    }
    const QPointF centre = ui->graphicsView->GetCrossPos(nId);
    const auto point = std::find_if(m_vecPts.begin(), m_vecPts.end(),
                                    [=](const CalibrationPoint& candidate) { return candidate.nId == nId; });
    if (point != m_vecPts.end()) {
        point->fImageX = static_cast<float>(centre.x());
        point->fImageY = static_cast<float>(centre.y());
    }
    RefreshCoordList();
}

void AutoDualCalibrateWdg::CoordinateToolBarDeleteSlots()
{
    const QListWidgetItem* const pItem = SelectedItem();
    if (!pItem) {
        return;
    }
    const int nId = pItem->data(Qt::UserRole).toInt();
    DeleteCalibrationPt_ID(nId, m_vecPts);
    m_listCoord.removeAt(ui->listWidget_Coord->row(pItem));
    ui->graphicsView->RemoveCrossById(nId);
    ui->graphicsView->RemoveHintPicture();
    RefreshCoordList();
}

void AutoDualCalibrateWdg::on_pushButton_AddCoord_clicked()
{
    LogClicked("pushButton_AddCoord");
    if (RefusesMark()) {
        return;
    }
    if (!ui->graphicsView->HasPendingCross()) {
        ShowNotice("Please double-click on the image to add coordinates.");
        return;
    }
    const QPoint position = ui->graphicsView->GetLastCrossPos();
    if (IsOutside(position, m_pixImg.size())) {
        ShowNotice("Selected coordinates exceed the range.");
        return;
    }
    if (!AddCalibrationPt_Coordinate(static_cast<float>(position.x()), static_cast<float>(position.y()), m_vecPts)) {
        return;
    }
    SortById(m_vecPts);
    m_listCoord << position;
    ui->graphicsView->SetLastCrossMovable(false);
    ui->graphicsView->RemoveHintPicture();
    RefreshCoordList();
}

void AutoDualCalibrateWdg::on_pushButton_RemoveCoord_clicked()
{
    LogClicked("pushButton_RemoveCoord");
    if (m_listCoord.isEmpty()) {
        return;
    }
    if (TakeNewestCrossBack(*ui->graphicsView)) {
        m_listCoord.removeLast();
    }
    RefreshCoordList();
}

void AutoDualCalibrateWdg::ListCoordItemClickedSlots(QListWidgetItem* item)
{
    emit ListCoordRowClickedSignal(ui->listWidget_Coord->row(item));
}

void AutoDualCalibrateWdg::ClearSelectItemSlots()
{
    ui->listWidget_Coord->clearSelection();
}

void AutoDualCalibrateWdg::CrossItemPressedSlots(int iCrossIndex)
{
    ui->listWidget_Coord->setCurrentRow(iCrossIndex);
}

void AutoDualCalibrateWdg::on_listWidget_Coord_itemDoubleClicked(QListWidgetItem* item)
{
    ILog_WriteLog(0, "listWidget_Coord item was double clicked.");
    ShowMarkOfRow(*ui->graphicsView, *ui->listWidget_Coord, *item);
}
