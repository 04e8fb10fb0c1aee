#include "DualCoordinateToolBar.h"

#include "ModuleDoubles.h"
#include "Painted.h"
#include "RecordingStyle.h"

#include <gmock/gmock.h>

#include <QEvent>
#include <QHBoxLayout>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QTranslator>

namespace
{

constexpr int ADD = 0;
constexpr int MODIFY = 1;
constexpr int DELETE = 2;

class ToolBar : public testing::Test
{
protected:
    QToolButton& Button(const char* pName)
    {
        auto* const pButton = m_bar.findChild<QToolButton*>(QString("toolButton_") + pName);
        if (!pButton) {
            qFatal("no button %s", pName);
        }
        return *pButton;
    }

    void Click(const char* pName) { QTest::mouseClick(&Button(pName), Qt::LeftButton); }

    DualCoordinateToolBar m_bar;
    QSignalSpy m_added{&m_bar, &DualCoordinateToolBar::ToolButtonAddClicked};
    QSignalSpy m_modified{&m_bar, &DualCoordinateToolBar::ToolButtonModifyClicked};
    QSignalSpy m_deleted{&m_bar, &DualCoordinateToolBar::ToolButtonDeleteClicked};
};

} // namespace

TEST_F(ToolBar, HasItsFormsTree)
{
    EXPECT_EQ(m_bar.objectName(), "DualCoordinateToolBar");
    EXPECT_EQ(m_bar.windowTitle(), "Form");
    EXPECT_EQ(m_bar.size(), QSize(161, 52));
    EXPECT_EQ(m_bar.sizePolicy(), QSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed));
    const auto* const pOuter = qobject_cast<QHBoxLayout*>(m_bar.layout());
    ASSERT_TRUE(pOuter);
    EXPECT_EQ(pOuter->objectName(), "horizontalLayout");
    EXPECT_EQ(pOuter->contentsMargins(), QMargins());
    ASSERT_EQ(pOuter->count(), 1);
    const auto* const pInner = qobject_cast<QHBoxLayout*>(pOuter->itemAt(0)->layout());
    ASSERT_TRUE(pInner);
    EXPECT_EQ(pInner->objectName(), "horizontalLayout_2");
    ASSERT_EQ(pInner->count(), 3);
    EXPECT_EQ(pInner->itemAt(0)->widget(), &Button("Add"));
    EXPECT_EQ(pInner->itemAt(1)->widget(), &Button("Modify"));
    EXPECT_EQ(pInner->itemAt(2)->widget(), &Button("Delete"));
}

TEST_F(ToolBar, ButtonsBearTheirTextsAndTips)
{
    EXPECT_EQ(Button("Add").text(), "Add");
    EXPECT_EQ(Button("Modify").text(), "Modify");
    EXPECT_EQ(Button("Delete").text(), "Delete");
    EXPECT_EQ(Button("Add").toolTip(), "Add");
    EXPECT_EQ(Button("Modify").toolTip(), "Revise");
    EXPECT_EQ(Button("Delete").toolTip(), "Delete");
    EXPECT_TRUE(Button("Add").isCheckable());
    EXPECT_TRUE(Button("Modify").isCheckable());
    EXPECT_FALSE(Button("Delete").isCheckable());
}

TEST_F(ToolBar, SlotsStandInTheirOrder)
{
    const QMetaObject& meta = DualCoordinateToolBar::staticMetaObject;
    QStringList slotNames;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Slot) {
            slotNames << meta.method(i).methodSignature();
        }
    }
    EXPECT_EQ(slotNames, QStringList({"SetToolButtonEnableSlots(int,bool)", "SetToolButtonCheckStateSlots(int,bool)",
                                      "on_toolButton_Add_clicked()", "on_toolButton_Modify_clicked()",
                                      "on_toolButton_Delete_clicked()", "changeEvent(QEvent*)"}));
}

TEST_F(ToolBar, EachClickSendsItsOwnSignalOnce)
{
    Click("Add");
    EXPECT_EQ(m_added.size(), 1);
    Click("Modify");
    EXPECT_EQ(m_modified.size(), 1);
    Click("Delete");
    EXPECT_EQ(m_deleted.size(), 1);
    EXPECT_EQ(m_added.size() + m_modified.size() + m_deleted.size(), 3);
}

TEST_F(ToolBar, AClickThatUnchecksAddStillSendsTheSignalAndTheStateIsReadFromTheBar)
{
    QList<bool> states;
    QObject::connect(&m_bar, &DualCoordinateToolBar::ToolButtonAddClicked,
                     [&] { states << m_bar.IsToolButtonChecked(ADD); });
    Click("Add");
    Click("Add");
    EXPECT_EQ(states, QList<bool>({true, false}));
}

TEST_F(ToolBar, AClickThatUnchecksModifyStillSendsTheSignal)
{
    QList<bool> states;
    QObject::connect(&m_bar, &DualCoordinateToolBar::ToolButtonModifyClicked,
                     [&] { states << m_bar.IsToolButtonChecked(MODIFY); });
    Click("Modify");
    Click("Modify");
    EXPECT_EQ(states, QList<bool>({true, false}));
}

TEST_F(ToolBar, CheckingOneOfThePairUnchecksTheOther)
{
    Click("Add");
    Click("Modify");
    EXPECT_FALSE(m_bar.IsToolButtonChecked(ADD));
    EXPECT_TRUE(m_bar.IsToolButtonChecked(MODIFY));
    Click("Add");
    EXPECT_TRUE(m_bar.IsToolButtonChecked(ADD));
    EXPECT_FALSE(m_bar.IsToolButtonChecked(MODIFY));
}

TEST_F(ToolBar, UncheckingOneOfThePairLeavesTheOtherAsItIs)
{
    // Both on, which only code can do.
    m_bar.SetToolButtonChecked(ADD, true);
    m_bar.SetToolButtonChecked(MODIFY, true);
    Click("Add");
    EXPECT_FALSE(m_bar.IsToolButtonChecked(ADD));
    EXPECT_TRUE(m_bar.IsToolButtonChecked(MODIFY));
}

TEST_F(ToolBar, BothMayBeOffAndClicksAloneNeverLeaveBothOn)
{
    const char* const names[] = {"Add", "Modify", "Delete"};
    bool bBothOff = false;
    unsigned nRandom = 1;
    for (int i = 0; i < 300; ++i) {
        nRandom = nRandom * 1664525u + 1013904223u;
        Click(names[(nRandom >> 16) % 3]);
        EXPECT_FALSE(m_bar.IsToolButtonChecked(ADD) && m_bar.IsToolButtonChecked(MODIFY));
        bBothOff = bBothOff || (!m_bar.IsToolButtonChecked(ADD) && !m_bar.IsToolButtonChecked(MODIFY));
    }
    EXPECT_TRUE(bBothOff);
}

TEST_F(ToolBar, DeleteUnchecksThePairBeforeItsSignalGoesOut)
{
    for (const int nChecked : {ADD, MODIFY}) {
        m_bar.SetToolButtonChecked(nChecked, true);
        bool bChecked = true;
        const auto connection = QObject::connect(&m_bar, &DualCoordinateToolBar::ToolButtonDeleteClicked,
                                                 [&] { bChecked = m_bar.IsToolButtonChecked(nChecked); });
        Click("Delete");
        EXPECT_FALSE(bChecked);
        QObject::disconnect(connection);
    }
}

TEST_F(ToolBar, DeleteIsNeverChecked)
{
    m_bar.SetToolButtonChecked(DELETE, true);
    EXPECT_FALSE(m_bar.IsToolButtonChecked(DELETE));
    Click("Delete");
    EXPECT_FALSE(m_bar.IsToolButtonChecked(DELETE));
}

TEST_F(ToolBar, SettingAStateFromCodeSendsNothing)
{
    m_bar.SetToolButtonChecked(ADD, true);
    m_bar.SetToolButtonChecked(MODIFY, true);
    m_bar.UncheckAddAndModify();
    m_bar.SetToolButtonEnable(DELETE, false);
    EXPECT_EQ(m_added.size() + m_modified.size() + m_deleted.size(), 0);
    EXPECT_FALSE(m_bar.IsToolButtonChecked(ADD));
    EXPECT_FALSE(m_bar.IsToolButtonChecked(MODIFY));
}

TEST_F(ToolBar, EachButtonIsEnabledByItsIndex)
{
    const char* const names[] = {"Add", "Modify", "Delete"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(m_bar.IsToolButtonEnabled(i));
        m_bar.SetToolButtonEnable(i, false);
        EXPECT_FALSE(m_bar.IsToolButtonEnabled(i));
        EXPECT_FALSE(Button(names[i]).isEnabled());
        m_bar.SetToolButtonEnableSlots(i, true);
        EXPECT_TRUE(Button(names[i]).isEnabled());
    }
    m_bar.SetToolButtonCheckStateSlots(MODIFY, true);
    EXPECT_TRUE(Button("Modify").isChecked());
    EXPECT_FALSE(Button("Add").isChecked());
}

TEST_F(ToolBar, OtherIndicesHaveNoEffectAndAnswerFalse)
{
    for (const int nIndex : {-1, 3, 1000}) {
        m_bar.SetToolButtonEnable(nIndex, false);
        m_bar.SetToolButtonChecked(nIndex, true);
        EXPECT_FALSE(m_bar.IsToolButtonEnabled(nIndex));
        EXPECT_FALSE(m_bar.IsToolButtonChecked(nIndex));
    }
    for (const char* const pName : {"Add", "Modify", "Delete"}) {
        EXPECT_TRUE(Button(pName).isEnabled());
        EXPECT_FALSE(Button(pName).isChecked());
    }
}

TEST_F(ToolBar, ADisabledButtonSendsNothing)
{
    m_bar.SetToolButtonEnable(ADD, false);
    Click("Add");
    EXPECT_TRUE(m_added.isEmpty());
}

TEST_F(ToolBar, AChangeOfLanguageRenewsTheToolTips)
{
    for (const char* const pName : {"Add", "Modify", "Delete"}) {
        Button(pName).setToolTip("old");
    }
    QEvent other(QEvent::FontChange);
    QCoreApplication::sendEvent(&m_bar, &other);
    EXPECT_EQ(Button("Add").toolTip(), "old");
    QEvent language(QEvent::LanguageChange);
    QCoreApplication::sendEvent(&m_bar, &language);
    EXPECT_EQ(Button("Add").toolTip(), "Add");
    EXPECT_EQ(Button("Modify").toolTip(), "Revise");
    EXPECT_EQ(Button("Delete").toolTip(), "Delete");
    EXPECT_EQ(Button("Modify").text(), "Modify");
}

TEST_F(ToolBar, OtherChangesArePassedOver)
{
    m_bar.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_bar));
    Painted::PaintCounter counter(m_bar);
    counter.Take();
    // The toolkit would repaint a widget that hands this on.
    QEvent font(QEvent::FontChange);
    QCoreApplication::sendEvent(&m_bar, &font);
    EXPECT_EQ(counter.Take(), 0);
}

TEST_F(ToolBar, ItsTipsAreWordedByTheTranslatorAndItsTextsAreNot)
{
    Doubles::The().wordings = {{"Add", "~Add"}, {"Modify", "~Modify"}, {"Revise", "~Revise"}, {"Delete", "~Delete"}};
    const DualCoordinateToolBar bar;
    Doubles::Reset();
    for (const auto& [pName, pTip] : {std::pair("Add", "~Add"), {"Modify", "~Revise"}, {"Delete", "~Delete"}}) {
        const auto* const pButton = bar.findChild<QToolButton*>(QString("toolButton_") + pName);
        EXPECT_EQ(pButton->toolTip(), pTip);
        EXPECT_EQ(pButton->text(), pName);
    }
}

TEST_F(ToolBar, ItsTextsComeFromItsFormsOwnContext)
{
    class Contexts : public QTranslator
    {
    public:
        QString translate(const char* pContext, const char* pText, const char*, int) const override
        {
            return strcmp(pContext, "DualCoordinateToolBar") == 0 ? QString("<%1>").arg(pText) : QString();
        }
        bool isEmpty() const override { return false; }
    } contexts;
    qApp->installTranslator(&contexts);
    const DualCoordinateToolBar bar;
    qApp->removeTranslator(&contexts);
    for (const char* const pName : {"Add", "Modify", "Delete"}) {
        const auto* const pButton = bar.findChild<QToolButton*>(QString("toolButton_") + pName);
        EXPECT_EQ(pButton->text(), QString("<%1>").arg(pName));
    }
    EXPECT_EQ(bar.windowTitle(), "<Form>");
}

TEST_F(ToolBar, ItsStyleSheetsBackgroundAndBorderAreSeen)
{
    m_bar.setStyleSheet("DualCoordinateToolBar { background-color: rgb(0, 0, 255); border: 3px solid red; }");
    const QImage image = Painted::Of(m_bar);
    EXPECT_EQ(image.pixelColor(1, 1), QColor(255, 0, 0));
    EXPECT_EQ(image.pixelColor(5, 5), QColor(0, 0, 255));
}

TEST_F(ToolBar, TheStyleDrawsItAsAPlainWidgetWithAntialiasing)
{
    const RecordingStyle::Installed installed;
    DualCoordinateToolBar bar;
    Painted::Of(bar);
    ASSERT_EQ(installed->PlainWidgets().size(), 1u);
    const RecordingStyle::PlainWidget& drawn = installed->PlainWidgets()[0];
    EXPECT_EQ(drawn.pWidget, &bar);
    EXPECT_EQ(drawn.nVersion, 1);
    EXPECT_EQ(drawn.nType, 0);
    EXPECT_EQ(drawn.rect, bar.rect());
    EXPECT_TRUE(drawn.bAntialiased);
}
