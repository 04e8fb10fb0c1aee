#include "MachineDock.h"

#include "LanguageBox.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>

namespace
{

using namespace Workbench;

/// A panel in its dock, and a wizard of any size.
class Dock : public testing::Test
{
protected:
    Dock()
    {
        auto* const pPanel = new QWidget;
        auto* const pLayout = new QVBoxLayout(pPanel);
        m_pStart = new QPushButton("Start engraving");
        pLayout->addWidget(m_pStart);
        pLayout->addSpacing(200);
        m_pDock = new MachineDock(pPanel);
        m_main.addDockWidget(Qt::RightDockWidgetArea, m_pDock);
        m_pLanguage = new LanguageBox(&m_main);
        m_main.show();
        m_wizard.setWindowModality(Qt::ApplicationModal);
    }
    ~Dock() override { SwitchLanguage("en"); }

    QRect Screen() const { return m_wizard.screen()->availableGeometry(); }
    int WidthWithoutRoom() const { return Screen().width() - m_pDock->sizeHint().width(); }
    void StandBeside(QSize wizard)
    {
        m_wizard.resize(wizard);
        m_wizard.show();
        m_pDock->StandBeside(&m_wizard, m_pLanguage);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(m_pDock));
    }
    /// As the window system delivers it: modality is looked at there.
    void Click(const QWidget* pWidget) const
    {
        QTest::mouseClick(m_pDock->windowHandle(), Qt::LeftButton, {},
                          pWidget->mapTo(m_pDock, pWidget->rect().center()));
        QCoreApplication::processEvents();
    }
    QToolButton* Roll() const { return m_pDock->findChild<QToolButton*>("toolButton_roll"); }

    QMainWindow m_main;
    QWidget m_wizard;
    MachineDock* m_pDock;
    QPushButton* m_pStart;
    LanguageBox* m_pLanguage;
};

TEST_F(Dock, WhereThereIsRoomThePanelStandsUnrolledBesideTheWizard)
{
    StandBeside({Screen().width() / 2, Screen().height() / 2});
    EXPECT_FALSE(m_pDock->IsRolledUp());
    EXPECT_TRUE(m_pStart->isVisible());
    EXPECT_FALSE(m_pDock->frameGeometry().intersects(m_wizard.frameGeometry()));
}

TEST_F(Dock, WhereThereIsNoRoomThePanelIsRolledUpAboveTheWizard)
{
    StandBeside({WidthWithoutRoom(), Screen().height() - 100});
    EXPECT_TRUE(m_pDock->IsRolledUp());
    EXPECT_FALSE(m_pStart->isVisible());
    EXPECT_TRUE(Roll()->isVisible());
    EXPECT_FALSE(m_pDock->frameGeometry().intersects(m_wizard.frameGeometry()));
    EXPECT_TRUE(Screen().contains(m_pDock->frameGeometry()));
    EXPECT_TRUE(Screen().contains(m_wizard.frameGeometry()));
}

TEST_F(Dock, OnAScreenThatIsTooLowAsWellItLiesInTheWizardsUpperRightCorner)
{
    StandBeside({Screen().width(), Screen().height()});
    EXPECT_TRUE(m_pDock->IsRolledUp());
    const QRect dock = m_pDock->frameGeometry();
    EXPECT_EQ(dock.topRight(), Screen().topRight());
    EXPECT_LT(dock.height(), 60);
    EXPECT_LT(dock.width(), Screen().width() / 2);
}

TEST_F(Dock, TheOperatorUnrollsItOverTheModalWizardAndRollsItUpAgain)
{
    StandBeside({WidthWithoutRoom(), Screen().height() - 100});
    const QRect rolled = m_pDock->geometry();
    const QPoint button = Roll()->mapToGlobal(QPoint());
    Click(Roll());
    EXPECT_FALSE(m_pDock->IsRolledUp());
    EXPECT_TRUE(m_pStart->isVisible());
    EXPECT_TRUE(m_pLanguage->isVisible());
    EXPECT_TRUE(Screen().contains(m_pDock->frameGeometry()));
    EXPECT_GE(m_pDock->width(), m_pDock->minimumSizeHint().width());
    EXPECT_EQ(Roll()->mapToGlobal(QPoint()), button) << "it stays under the mouse";
    bool bPressed = false;
    QObject::connect(m_pStart, &QPushButton::clicked, &m_main, [&] { bPressed = true; });
    Click(m_pStart);
    EXPECT_TRUE(bPressed);
    Click(Roll());
    EXPECT_TRUE(m_pDock->IsRolledUp());
    EXPECT_EQ(m_pDock->geometry(), rolled);
}

TEST_F(Dock, APageThatGrowsTakesTheRoomAndOneThatShrinksGivesItBack)
{
    StandBeside({200, 200});
    m_wizard.resize(WidthWithoutRoom(), 200);
    EXPECT_TRUE(m_pDock->IsRolledUp());
    EXPECT_FALSE(m_pDock->frameGeometry().intersects(m_wizard.frameGeometry()));
    m_wizard.resize(200, 200);
    EXPECT_FALSE(m_pDock->IsRolledUp());
    EXPECT_FALSE(m_pDock->frameGeometry().intersects(m_wizard.frameGeometry()));
    EXPECT_TRUE(Screen().contains(m_pDock->frameGeometry()));
}

TEST_F(Dock, APanelThatGrowsWiderThanTheRoomBesideTheWizardIsRolledUp)
{
    StandBeside({Screen().width() - 300, 200});
    ASSERT_FALSE(m_pDock->IsRolledUp());
    m_pStart->setMinimumWidth(320);
    EXPECT_TRUE(QTest::qWaitFor([this] { return m_pDock->IsRolledUp(); }));
}

TEST_F(Dock, WhatTheOperatorHasChosenStaysWhileTheRoomIsTheSame)
{
    StandBeside({WidthWithoutRoom(), 200});
    Click(Roll());
    m_wizard.resize(WidthWithoutRoom(), 260);
    EXPECT_FALSE(m_pDock->IsRolledUp());
    EXPECT_TRUE(Screen().contains(m_pDock->frameGeometry()));
}

TEST_F(Dock, BackInsideItIsUnrolledAndHasNothingToRollItWith)
{
    StandBeside({WidthWithoutRoom(), 200});
    m_pDock->StandInside();
    m_wizard.close();
    EXPECT_FALSE(m_pDock->isFloating());
    EXPECT_FALSE(m_pDock->IsRolledUp());
    EXPECT_TRUE(m_pStart->isVisible());
    EXPECT_FALSE(Roll()->isVisible());
}

TEST_F(Dock, BesideTheWizardItIsNoWiderThanWhatItHolds)
{
    const auto* const pScroll = m_pDock->findChild<QScrollArea*>("scrollArea_machine");
    const int nBar = pScroll->verticalScrollBar()->sizeHint().width();
    StandBeside({200, 200});
    EXPECT_EQ(pScroll->sizeHint().width(), pScroll->widget()->sizeHint().width()) << "all of it is seen";
    EXPECT_GE(pScroll->viewport()->height(), pScroll->widget()->sizeHint().height());
    m_pDock->StandInside();
    EXPECT_EQ(pScroll->sizeHint().width(), pScroll->widget()->sizeHint().width() + nBar);
}

TEST_F(Dock, WhatStandsBelowThePanelKeepsAsFarFromTheEdgesAsThePanelsButtons)
{
    StandBeside({200, 200});
    const int nLeft = m_pLanguage->mapTo(m_pDock, QPoint()).x();
    EXPECT_GE(nLeft, m_pStart->mapTo(m_pDock, QPoint()).x());
    EXPECT_LE(nLeft + m_pLanguage->width(), m_pDock->width() - 5);
}

TEST_F(Dock, ItsTitleAndButtonAreInTheOperatorsLanguage)
{
    const QString strTitle = m_pDock->findChild<QLabel*>("label_machineTitle")->text();
    const QString strTip = Roll()->toolTip();
    ASSERT_TRUE(SwitchLanguage("de"));
    QCoreApplication::processEvents();
    EXPECT_NE(m_pDock->findChild<QLabel*>("label_machineTitle")->text(), strTitle);
    EXPECT_NE(Roll()->toolTip(), strTip);
}

} // namespace
