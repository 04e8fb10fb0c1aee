// The view as it starts: cursor, picture, clearing, hints.

#include "DualGraphicsViewFixture.h"
#include "FileStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGraphicsPixmapItem>
#include <QMetaMethod>
#include <QPainter>
#include <QPointer>

// --- Start

TEST_F(View, StartsAsTheMembersSay)
{
    EXPECT_EQ(m_view.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_EQ(m_view.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_EQ(m_view.transformationAnchor(), QGraphicsView::AnchorViewCenter);
    EXPECT_EQ(m_view.resizeAnchor(), QGraphicsView::AnchorViewCenter);
    EXPECT_TRUE(m_view.renderHints().testFlag(QPainter::Antialiasing));
    EXPECT_TRUE(m_view.renderHints().testFlag(QPainter::SmoothPixmapTransform));
    EXPECT_FALSE(m_view.HasPicture());
    EXPECT_FALSE(m_view.HasPendingCross());
    EXPECT_EQ(Scale(), 1.0);
    EXPECT_FALSE(m_view.scene()->parent());
}

TEST_F(View, TheFirstItemIsTheHintTextWithItsNoBreakSpaces)
{
    ASSERT_EQ(m_view.scene()->items().size(), 1);
    EXPECT_EQ(HintText(), QString::fromUtf8("Click\xC2\xA0<Photo>\xC2\xA0to capture photo"));
    EXPECT_EQ(Items<QGraphicsTextItem>()[0]->font(), QFont());
}

TEST_F(View, TheHintTextIsCentredBySceneAndTextSize)
{
    const auto* const pText = Items<QGraphicsTextItem>()[0];
    // Alone in the scene it lies where the scene begins.
    EXPECT_EQ(pText->pos(), QPointF(0, 0));
    m_view.SetPicture(Grey(900, 700));
    m_view.UpdateHintText("Photo");
    const QRectF scene = m_view.sceneRect();
    EXPECT_EQ(pText->pos(), QPointF(scene.width() / 2 - pText->boundingRect().width() / 2,
                                    scene.height() / 2 - pText->boundingRect().height() / 2));
    EXPECT_GT(pText->pos().x(), 100.0);
}

TEST_F(View, SignalsAndSlotsHaveTheirNames)
{
    const QMetaObject& meta = DualGraphicsView::staticMetaObject;
    QStringList signalNames, slotNames;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        (meta.method(i).methodType() == QMetaMethod::Signal ? signalNames : slotNames)
            << meta.method(i).methodSignature();
    }
    EXPECT_EQ(signalNames,
              QStringList({"CrossItemPressedSignals(int)", "ClearSelectItemSignals()", "AddCrossSignals(QPointF)"}));
    EXPECT_EQ(slotNames, QStringList({"SetSelectedCrossItemSlot(int)", "AddCrossFinishSlot(int,QPointF)",
                                      "CrossItemPressedSlot(CrossItem*)"}));
}

// --- Cursor

namespace
{

/// The product's cursor picture among the install resources of this test program.
class InstalledCursor
{
public:
    InstalledCursor() : m_strFile(GetInstallResourcePath() + "/Res/Icon/RedArrow.svg")
    {
        QDir().mkpath(QFileInfo(m_strFile).path());
        m_bOk = QFile::copy(CTC_RESOURCES "/Res/Icon/RedArrow.svg", m_strFile);
    }
    ~InstalledCursor() { QDir(GetInstallResourcePath()).removeRecursively(); }

    QString m_strFile;
    bool m_bOk = false;
};

} // namespace

TEST_F(View, TheCursorIsTheRedArrowWithItsHotSpotInTheMiddle)
{
    const InstalledCursor installed;
    ASSERT_TRUE(installed.m_bOk);
    const QPixmap icon(installed.m_strFile);
    ASSERT_FALSE(icon.isNull()) << "is the picture format plug-in for SVG there?";
    Doubles::Reset();
    const DualGraphicsView view;
    EXPECT_EQ(view.cursor().shape(), Qt::BitmapCursor);
    EXPECT_EQ(view.cursor().pixmap().toImage(), icon.toImage());
    EXPECT_EQ(view.cursor().hotSpot(), QPoint(icon.width() / 2, icon.height() / 2));
    EXPECT_TRUE(Doubles::The().logLines.empty());
}

TEST_F(View, AMissingCursorPictureIsOneLogLineAndTheUsualCursor)
{
    Doubles::Reset();
    const DualGraphicsView view;
    EXPECT_EQ(view.cursor().shape(), Qt::ArrowCursor);
    ASSERT_EQ(Doubles::The().logLines.size(), 1u);
    EXPECT_THAT(Doubles::The().logLines[0].second, testing::HasSubstr("/Res/Icon/RedArrow.svg"));
}

// --- Picture

TEST_F(View, TakesADeepCopyOfThePictureAndKeepsItsItem)
{
    QPixmap picture = Grey();
    m_view.SetPicture(picture);
    EXPECT_TRUE(m_view.HasPicture());
    auto items = Items<QGraphicsPixmapItem>();
    ASSERT_EQ(items.size(), 1);
    EXPECT_NE(items[0]->pixmap().cacheKey(), picture.cacheKey());
    EXPECT_EQ(items[0]->pixmap().toImage(), picture.toImage());
    EXPECT_EQ(items[0]->transformationMode(), Qt::SmoothTransformation);
    EXPECT_EQ(items[0]->pos(), QPointF(0, 0));
    EXPECT_EQ(items[0]->scale(), 1.0);

    m_view.SetPicture(Grey(10, 20));
    const auto itemsAfter = Items<QGraphicsPixmapItem>();
    EXPECT_EQ(itemsAfter, items);
    EXPECT_EQ(itemsAfter[0]->pixmap().size(), QSize(10, 20));
}

TEST_F(View, ANullPictureIsNoPicture)
{
    m_view.SetPicture(QPixmap());
    EXPECT_FALSE(m_view.HasPicture());
    m_view.SetPicture(Grey());
    EXPECT_TRUE(m_view.HasPicture());
    m_view.SetPicture(QPixmap());
    EXPECT_FALSE(m_view.HasPicture());
}

TEST_F(View, ThePictureCoversTheHintText)
{
    const auto dark = [this] {
        const QImage image = Painted::Of(Viewport());
        int nDark = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                nDark += image.pixelColor(x, y).lightness() < 100 ? 1 : 0;
            }
        }
        return nDark;
    };
    EXPECT_GT(dark(), 50);
    m_view.SetPicture(Grey());
    EXPECT_EQ(dark(), 0);
    m_view.UpdateHintText("Photo");
    EXPECT_EQ(dark(), 0);
    // Also when it has to be made again.
    m_view.ClearCrosses();
    m_view.UpdateHintText("Stitch");
    EXPECT_EQ(HintText(), "Click <Stitch> to capture photo");
    EXPECT_EQ(dark(), 0);
    m_view.SetPicture(QPixmap());
    EXPECT_GT(dark(), 50);
}

// --- Clearing and hints

TEST_F(View, ClearingRemovesEverythingButThePicture)
{
    m_view.SetPicture(Grey());
    SetNumberedCrosses(3);
    m_view.UpdateHintText("Photo");
    m_view.ShowHintPicture(Grey(5, 5), {1, 1});
    const QPointer<CrossItem> pCross(Crosses()[0]);
    m_view.ClearCrosses();
    EXPECT_TRUE(pCross.isNull());
    ASSERT_EQ(m_view.scene()->items().size(), 1);
    EXPECT_TRUE(m_view.HasPicture());
    EXPECT_EQ(m_view.GetLastCrossPos(), QPoint(0, 0));
    m_view.ClearCrosses();
    EXPECT_TRUE(m_view.HasPicture());
}

TEST_F(View, ClearingDeletesItemsOfAnyKind)
{
    m_view.SetPicture(Grey());
    m_view.scene()->addRect(0, 0, 10, 10);
    m_view.scene()->addPixmap(Grey(5, 5));
    m_view.ClearCrosses();
    EXPECT_EQ(m_view.scene()->items().size(), 1);
    EXPECT_TRUE(m_view.HasPicture());
}

TEST_F(View, ClearingKeepsTheScenesIndex)
{
    SetNumberedCrosses(3);
    m_view.ClearCrosses();
    EXPECT_EQ(m_view.scene()->itemIndexMethod(), QGraphicsScene::BspTreeIndex);
}

TEST_F(View, AfterClearingTheHintTextIsMadeAgainWhenItIsNeeded)
{
    m_view.ClearCrosses();
    EXPECT_EQ(HintText(), "(0 texts)");
    m_view.UpdateHintText("Photo");
    EXPECT_EQ(HintText(), "Click <Photo> to capture photo");
    EXPECT_TRUE(Items<QGraphicsTextItem>()[0]->isVisible());
    m_view.UpdateHintText("Stitch");
    EXPECT_EQ(HintText(), "Click <Stitch> to capture photo");
}

TEST_F(View, AfterClearingTheHintPictureIsMadeAgainWhenItIsNeeded)
{
    for (const bool bShownWhenCleared : {true, false}) {
        m_view.ShowHintPicture(Grey(5, 5), {1, 1});
        if (!bShownWhenCleared) {
            m_view.RemoveHintPicture();
        }
        m_view.ClearCrosses();
        m_view.RemoveHintPicture();
        EXPECT_TRUE(Items<QGraphicsPixmapItem>().isEmpty());
        m_view.ShowHintPicture(Grey(6, 7), {2, 3});
        ASSERT_EQ(Items<QGraphicsPixmapItem>().size(), 1);
        EXPECT_EQ(Items<QGraphicsPixmapItem>()[0]->pos(), QPointF(2, 3));
    }
}

TEST_F(View, TheHintTextIsForStitchingUnlessTheModeIsPhoto)
{
    for (const char* const pMode : {"Stitch", "", "photo", "Photo "}) {
        m_view.UpdateHintText("Photo");
        EXPECT_EQ(HintText(), "Click <Photo> to capture photo");
        m_view.UpdateHintText(pMode);
        EXPECT_EQ(HintText(), "Click <Stitch> to capture photo") << pMode;
    }
    Items<QGraphicsTextItem>()[0]->setVisible(false);
    m_view.UpdateHintText("Stitch");
    EXPECT_TRUE(Items<QGraphicsTextItem>()[0]->isVisible());
}

TEST_F(View, EachHintIsWordedByTheTranslator)
{
    const QString strFirst = QString::fromUtf8("Click\xC2\xA0<Photo>\xC2\xA0to capture photo");
    Doubles::The().wordings = {{strFirst, "~first"},
                               {"Click <Photo> to capture photo", "~photo"},
                               {"Click <Stitch> to capture photo", "~stitch"}};
    const DualGraphicsView view;
    const auto* const pText = dynamic_cast<QGraphicsTextItem*>(view.scene()->items().value(0));
    ASSERT_TRUE(pText);
    EXPECT_EQ(pText->document()->toRawText(), "~first");
    m_view.UpdateHintText("Photo");
    EXPECT_EQ(HintText(), "~photo");
    m_view.UpdateHintText("Stitch");
    EXPECT_EQ(HintText(), "~stitch");
}

TEST_F(View, TheHintPictureIsShownAtItsPointAndTakenOut)
{
    m_view.RemoveHintPicture(); // not shown yet
    EXPECT_TRUE(Items<QGraphicsPixmapItem>().isEmpty());
    m_view.ShowHintPicture(Grey(20, 10), {-7, 9});
    ASSERT_EQ(Items<QGraphicsPixmapItem>().size(), 1);
    QGraphicsPixmapItem* const pHint = Items<QGraphicsPixmapItem>()[0];
    EXPECT_EQ(pHint->pos(), QPointF(-7, 9));
    EXPECT_EQ(pHint->pixmap().size(), QSize(20, 10));
    // It is no picture of the view.
    EXPECT_FALSE(m_view.HasPicture());

    m_view.ShowHintPicture(Grey(30, 40), {1, 2});
    EXPECT_EQ(Items<QGraphicsPixmapItem>(), QList<QGraphicsPixmapItem*>({pHint}));
    EXPECT_EQ(pHint->pixmap().size(), QSize(30, 40));
    m_view.RemoveHintPicture();
    EXPECT_TRUE(Items<QGraphicsPixmapItem>().isEmpty());
    m_view.RemoveHintPicture();
    m_view.ShowHintPicture(Grey(30, 40), {1, 2});
    EXPECT_EQ(Items<QGraphicsPixmapItem>(), QList<QGraphicsPixmapItem*>({pHint})) << "it stays alive";
}
