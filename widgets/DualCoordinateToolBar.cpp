#include "DualCoordinateToolBar.h"

#include "ui_DualCoordinateToolBar.h"

#include "Translator.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>

namespace
{

constexpr int ADD = 0;
constexpr int MODIFY = 1;
constexpr int DELETE = 2;

} // namespace

DualCoordinateToolBar::DualCoordinateToolBar(QWidget* parent) : QWidget(parent), ui(new Ui::DualCoordinateToolBar)
{
    ui->setupUi(this);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    ui->toolButton_Add->setCheckable(true);
    ui->toolButton_Modify->setCheckable(true);
    RetranslateButtons();
}

DualCoordinateToolBar::~DualCoordinateToolBar()
{
    delete ui;
}

QToolButton* DualCoordinateToolBar::Button(int iButtonIndex) const
{
    switch (iButtonIndex) {
    case ADD:
        return ui->toolButton_Add;
    case MODIFY:
        return ui->toolButton_Modify;
    case DELETE:
        return ui->toolButton_Delete;
    default:
        return nullptr;
    }
}

void DualCoordinateToolBar::SetToolButtonEnable(int iButtonIndex, bool bEnable)
{
    if (QToolButton* const pButton = Button(iButtonIndex)) {
        pButton->setEnabled(bEnable);
    }
}

void DualCoordinateToolBar::SetToolButtonChecked(int iButtonIndex, bool bChecked)
{
    if (QToolButton* const pButton = Button(iButtonIndex)) {
        pButton->setChecked(bChecked);
    }
}

bool DualCoordinateToolBar::IsToolButtonEnabled(int iButtonIndex) const
{
    const QToolButton* const pButton = Button(iButtonIndex);
    return pButton && pButton->isEnabled();
}

bool DualCoordinateToolBar::IsToolButtonChecked(int iButtonIndex) const
{
    const QToolButton* const pButton = Button(iButtonIndex);
    return pButton && pButton->isChecked();
}

void DualCoordinateToolBar::UncheckAddAndModify()
{
    SetToolButtonChecked(ADD, false);
    SetToolButtonChecked(MODIFY, false);
}

void DualCoordinateToolBar::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    // A plain QWidget's subclass shows its style sheet only when it draws this itself.
    QStyleOption option(1, QStyleOption::SO_Default);
    option.initFrom(this);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}

void DualCoordinateToolBar::SetToolButtonEnableSlots(int iButtonIndex, bool bEnable)
{
    SetToolButtonEnable(iButtonIndex, bEnable);
}

void DualCoordinateToolBar::SetToolButtonCheckStateSlots(int iButtonIndex, bool bChecked)
{
    SetToolButtonChecked(iButtonIndex, bChecked);
}

void DualCoordinateToolBar::on_toolButton_Add_clicked()
{
    if (IsToolButtonChecked(ADD)) {
        SetToolButtonChecked(MODIFY, false);
    }
    emit ToolButtonAddClicked();
}

void DualCoordinateToolBar::on_toolButton_Modify_clicked()
{
    if (IsToolButtonChecked(MODIFY)) {
        SetToolButtonChecked(ADD, false);
    }
    emit ToolButtonModifyClicked();
}

void DualCoordinateToolBar::on_toolButton_Delete_clicked()
{
    UncheckAddAndModify();
    emit ToolButtonDeleteClicked();
}

void DualCoordinateToolBar::changeEvent(QEvent* event)
{
    // The base class is not called, and the buttons' own texts stay; only the tool tips follow the language.
    if (event->type() == QEvent::LanguageChange) {
        RetranslateButtons();
    }
}

void DualCoordinateToolBar::RetranslateButtons()
{
    CTranslator* const pTranslator = CTranslator::GetInstance();
    ui->toolButton_Add->setToolTip(pTranslator->GetWording("Add"));
    // "Revise" over a button that reads "Modify" is meant.
    ui->toolButton_Modify->setToolTip(pTranslator->GetWording("Revise"));
    ui->toolButton_Delete->setToolTip(pTranslator->GetWording("Delete"));
}
