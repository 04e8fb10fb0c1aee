// Draws the bars that show how far a run of the manual flow has come: FOLDER/StepN.png for step N of a whole run,
// FOLDER/CoordinateStepN.png for step N of a run of the coordinate part alone, each with a twin of twice the density.
// The digits are strokes, so that no font has a say. Called by the build, with the folder.

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cstdio>

namespace
{

constexpr int g_nWholeSteps = 7;
constexpr int g_nCoordinateSteps = 4;

constexpr double g_dHeight = 32.0;
constexpr double g_dSpacing = 40.0;
constexpr double g_dRadius = 12.0;

const QColor g_blue(0x0b, 0x63, 0xb0);
const QColor g_paleBlue(0xdc, 0xea, 0xfa);
const QColor g_grey(0xae, 0xb7, 0xc2);
const QColor g_darkGrey(0x4a, 0x57, 0x66);

/// The strokes of 1 to 7 in a box from (-3, -5) to (3, 5).
QPainterPath Digit(int nDigit)
{
    QPainterPath path;
    switch (nDigit) {
    case 1:
        path.moveTo(-2, -3);
        path.lineTo(0.5, -5);
        path.lineTo(0.5, 5);
        break;
    case 2:
        path.moveTo(-3, -2.5);
        path.cubicTo(-3, -6, 3, -6, 3, -2.5);
        path.cubicTo(3, 0, -1.5, 2.5, -3, 5);
        path.lineTo(3, 5);
        break;
    case 3:
        path.moveTo(-2.7, -3.5);
        path.cubicTo(-2, -6, 3, -5.5, 2.7, -2.5);
        path.cubicTo(2.5, -0.5, 0, -0.4, -0.5, -0.4);
        path.cubicTo(1, -0.4, 3, 0.3, 3, 2.3);
        path.cubicTo(3, 5.8, -2.5, 6, -3, 3);
        break;
    case 4:
        path.moveTo(1.2, 5);
        path.lineTo(1.2, -5);
        path.lineTo(-3.2, 2);
        path.lineTo(3, 2);
        break;
    case 5:
        path.moveTo(2.6, -5);
        path.lineTo(-2, -5);
        path.lineTo(-2.5, -0.5);
        path.cubicTo(-0.5, -2.2, 3, -1.3, 3, 1.8);
        path.cubicTo(3, 5.8, -2.5, 6, -3, 3.2);
        break;
    case 6:
        path.moveTo(2, -4.8);
        path.cubicTo(-1, -4.5, -3, -1.5, -3, 2);
        path.addEllipse(QPointF(0, 2), 3, 3);
        break;
    case 7:
        path.moveTo(-3, -5);
        path.lineTo(3, -5);
        path.lineTo(-1, 5);
        break;
    default:
        break;
    }
    return path;
}

QImage Bar(int nSteps, int nStep, int nScale)
{
    const QSizeF size((nSteps - 1) * g_dSpacing + 2.0 * g_dRadius + 4.0, g_dHeight);
    QImage bar((size * nScale).toSize(), QImage::Format_ARGB32);
    bar.fill(Qt::transparent);
    QPainter painter(&bar);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(nScale, nScale);
    painter.translate(g_dRadius + 2.0, g_dHeight / 2.0);
    for (int i = 1; i <= nSteps; ++i) {
        const QPointF centre((i - 1) * g_dSpacing, 0.0);
        if (i > 1) {
            painter.setPen(QPen(i <= nStep ? g_blue : g_grey, 2.0));
            painter.drawLine(centre - QPointF(g_dSpacing - g_dRadius - 1.0, 0.0),
                             centre - QPointF(g_dRadius + 1.0, 0.0));
        }
        painter.setPen(QPen(i <= nStep ? g_blue : g_grey, 1.5));
        painter.setBrush(i == nStep ? g_blue : i < nStep ? g_paleBlue : QColor(Qt::white));
        painter.drawEllipse(centre, g_dRadius, g_dRadius);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(i == nStep  ? QColor(Qt::white)
                            : i < nStep ? g_blue
                                        : g_darkGrey,
                            1.7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(Digit(i).translated(centre));
    }
    return bar;
}

bool SaveBars(const QString& strPrefix, int nSteps)
{
    bool bAll = true;
    for (int i = 1; i <= nSteps; ++i) {
        bAll = Bar(nSteps, i, 1).save(QString("%1%2.png").arg(strPrefix).arg(i)) && bAll;
        bAll = Bar(nSteps, i, 2).save(QString("%1%2@2x.png").arg(strPrefix).arg(i)) && bAll;
    }
    return bAll;
}

} // namespace

int main(int nArguments, char** pArguments)
{
    if (nArguments != 2) {
        std::fprintf(stderr, "usage: draw_step_bars FOLDER\n");
        return 2;
    }
    const QString strFolder = QString::fromLocal8Bit(pArguments[1]);
    if (!QDir().mkpath(strFolder) || !SaveBars(strFolder + "/Step", g_nWholeSteps) ||
        !SaveBars(strFolder + "/CoordinateStep", g_nCoordinateSteps)) {
        std::fprintf(stderr, "draw_step_bars: %s cannot be filled\n", pArguments[1]);
        return 1;
    }
    return 0;
}
