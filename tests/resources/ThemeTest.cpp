#include "Theme.h"

#include "ApplicationTest.h"
#include "InstallResources.h"

#include <QImage>
#include <QLabel>
#include <QMainWindow>
#include <QPixmap>
#include <QRegularExpression>
#include <QStyle>
#include <QToolButton>

#include <algorithm>
#include <vector>

/// The style sheet knows the wizard by its class.
class CalibrateTwoCameraWnd : public QMainWindow
{
    Q_OBJECT
};

/// As does the bar of this page.
class CalibrateWdg : public QWidget
{
    Q_OBJECT
};

namespace
{

class Theme : public ApplicationTest
{
protected:
    void SetUp() override { ASSERT_TRUE(Workbench::ApplyTheme(*m_pApplication)); }

    /// What a page's widget of this name looks like with this property, set the way that pages do it.
    template <typename Widget> QImage Look(const char* pName, const char* pProperty, const char* pValue)
    {
        Widget widget;
        widget.setObjectName(pName);
        widget.resize(640, 500);
        widget.show();
        widget.setProperty(pProperty, QString(pValue));
        widget.style()->unpolish(&widget);
        widget.style()->polish(&widget);
        return widget.grab().toImage();
    }
};

} // namespace

TEST_F(Theme, AStepThatIsReachedLooksOtherThanOneThatIsNot)
{
    for (int i = 1; i <= 5; ++i) {
        const QByteArray name = "toolButton_Step" + QByteArray::number(i);
        EXPECT_NE(Look<QToolButton>(name, "Enable", "true"), Look<QToolButton>(name, "Enable", "false"));
        const QByteArray line = "label_Step" + QByteArray::number(i);
        EXPECT_NE(Look<QLabel>(line, "Enable", "true"), Look<QLabel>(line, "Enable", "false"));
    }
}

TEST_F(Theme, ThePatternPictureFollowsTheMode)
{
    const QImage empty = Look<QLabel>("label_calibratePic", "Mode", "");
    const QImage standard = Look<QLabel>("label_calibratePic", "Mode", "Default");
    const QImage custom = Look<QLabel>("label_calibratePic", "Mode", "Custom");
    EXPECT_NE(standard, empty);
    EXPECT_NE(custom, empty);
    EXPECT_NE(standard, custom);
}

TEST_F(Theme, TheWaitingPictureFollowsTheState)
{
    const QImage empty = Look<QLabel>("label_calibratePicTwo", "state", "");
    const QImage handEye = Look<QLabel>("label_calibratePicTwo", "state", "HandEye");
    const QImage fusion = Look<QLabel>("label_calibratePicTwo", "state", "Fusion");
    EXPECT_NE(handEye, empty);
    EXPECT_NE(fusion, empty);
    EXPECT_NE(handEye, fusion);
}

TEST_F(Theme, EveryPictureOfTheChartHasItsPose)
{
    std::vector<QImage> looks{Look<QLabel>("label_hintPic", "state", "")};
    for (int i = 1; i <= 10; ++i) {
        const QImage look = Look<QLabel>("label_hintPic", "state", QByteArray::number(i));
        EXPECT_EQ(std::find(looks.begin(), looks.end(), look), looks.end()) << i;
        looks.push_back(look);
    }
}

TEST_F(Theme, TheBarOfTheChartPageShowsWhichCameraIsInHand)
{
    CalibrateWdg page;
    QLabel bar(&page);
    bar.setObjectName("label_hintBar");
    bar.resize(200, 40);
    page.show();
    std::vector<QImage> looks;
    for (const char* pState : {"", "1", "2"}) {
        bar.setProperty("state", QString(pState));
        bar.style()->unpolish(&bar);
        bar.style()->polish(&bar);
        looks.push_back(bar.grab().toImage());
    }
    EXPECT_NE(looks[1], looks[0]);
    EXPECT_NE(looks[2], looks[0]);
    EXPECT_NE(looks[1], looks[2]);
}

TEST_F(Theme, EveryPictureThatTheStyleSheetNamesCanBeDrawn)
{
    int nNamed = 0;
    auto it = QRegularExpression("url\\(\"([^\"]+)\"\\)").globalMatch(m_pApplication->styleSheet());
    while (it.hasNext()) {
        const QString strFile = it.next().captured(1);
        EXPECT_TRUE(strFile.startsWith("theme:")) << qPrintable(strFile);
        EXPECT_FALSE(QPixmap(strFile).isNull()) << qPrintable(strFile);
        ++nNamed;
    }
    EXPECT_GE(nNamed, 7);
}

TEST_F(Theme, EachStepOfAManualRunHasItsOwnBarInTwoDensities)
{
    const QString strFolder = Workbench::InstallResourceFolder() + "/Res/Icon/CameraTwo/";
    for (const auto& [strName, nSteps] : {std::pair(QString("Step"), 7), {QString("CoordinateStep"), 4}}) {
        QImage before;
        for (int i = 1; i <= nSteps; ++i) {
            const QString strBar = strFolder + strName + QString::number(i);
            const QImage bar(strBar + ".png");
            ASSERT_FALSE(bar.isNull()) << qPrintable(strBar);
            EXPECT_EQ(QImage(strBar + "@2x.png").size(), 2 * bar.size());
            EXPECT_NE(bar, before);
            // The step itself is filled, to the left of its digit.
            EXPECT_EQ(bar.pixelColor(14 + 40 * (i - 1) - 8, 16), QColor(0x0b, 0x63, 0xb0));
            before = bar;
        }
    }
}

TEST_F(Theme, TheCursorPictureHasItsTipInTheMiddle)
{
    const QImage cursor(Workbench::InstallResourceFolder() + "/Res/Icon/RedArrow.svg");
    ASSERT_FALSE(cursor.isNull());
    EXPECT_EQ(cursor.width(), cursor.height());
    const int nMiddle = cursor.width() / 2;
    EXPECT_GT(cursor.pixelColor(nMiddle, nMiddle + 3).alpha(), 0);
    EXPECT_EQ(cursor.pixelColor(nMiddle, nMiddle - 3).alpha(), 0);
}

TEST_F(Theme, TheWizardHasItsSizeAsSoonAsItIsShownAndFitsASmallScreen)
{
    CalibrateTwoCameraWnd window;
    window.resize(400, 300);
    window.show();
    EXPECT_GE(window.width(), 1100);
    EXPECT_GE(window.height(), 620);
    // 1366 x 768 less a task bar and a title bar.
    EXPECT_LE(window.width(), 1366);
    EXPECT_LE(window.height(), 700);
}

#include "ThemeTest.moc"
