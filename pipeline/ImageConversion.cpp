#include "ImageConversion.h"

#include "FileStore.h"
#include "Log.h"
#include "PictureMemory.h"

#include <opencv2/imgproc.hpp>

#include <QFile>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace
{

constexpr const char* g_pMatToQImage = "Vision::MatToQImage";

const QList<QRgb>& GreyColours()
{
    static const QList<QRgb> listColours = [] {
        QList<QRgb> list(256);
        for (int i = 0; i < 256; ++i) {
            list[i] = qRgb(i, i, i);
        }
        return list;
    }();
    return listColours;
}

QImage GreyImage(const cv::Mat& mat)
{
    if (mat.empty()) {
        // Answered before; stays as a guard.
        ILog_WriteLogF(0, "%s, mat is empty!", g_pMatToQImage);
        return {};
    }
    QImage image(mat.cols, mat.rows, QImage::Format_Indexed8);
    image.setColorTable(GreyColours());
    PreferLargePages(image.bits(), static_cast<std::size_t>(image.sizeInBytes()));
    for (int nRow = 0; nRow < mat.rows; ++nRow) {
        uchar* pLine = image.scanLine(nRow);
        if (!pLine) {
            ILog_WriteLogF(0, "%s, Invalid data!", g_pMatToQImage);
            return {};
        }
        // Row by row, as the strides of both sides may differ.
        std::memcpy(pLine, mat.ptr(nRow), static_cast<std::size_t>(mat.cols));
    }
    if (image.isNull()) {
        ILog_WriteLogF(0, "%s, QImage is empty!", g_pMatToQImage);
    }
    return image;
}

/// A view, not a copy; null, with a log line, for sizes that an image cannot have.
QImage WrapMat(const cv::Mat& mat, QImage::Format format)
{
    QImage image(mat.data, mat.cols, mat.rows, static_cast<qsizetype>(mat.step), format);
    if (image.isNull()) {
        ILog_WriteLogF(0, "%s, QImage is empty!", g_pMatToQImage);
    }
    return image;
}

} // namespace

QImage Vision::MatToQImage(const cv::Mat& mat)
{
    try {
        if (mat.empty()) {
            return {};
        }
        switch (mat.type()) {
        case CV_8UC1:
            return GreyImage(mat);
        case CV_8UC3: {
            const QImage wrapped = WrapMat(mat, QImage::Format_RGB888);
            return wrapped.isNull() ? QImage() : SwapRedBlue(wrapped);
        }
        case CV_8UC4: {
            const QImage wrapped = WrapMat(mat, QImage::Format_ARGB32);
            return wrapped.isNull() ? QImage() : wrapped.copy();
        }
        default:
            return {};
        }
    } catch (const std::exception& exception) {
        ILog_WriteLogF(3, "%s: %s", g_pMatToQImage, exception.what());
        return {};
    }
}

QImage SwapRedBlue(const QImage& image)
{
    if (image.format() != QImage::Format_RGB888) {
        ILog_WriteLog(0, "Invalid image format, expected Format_RGB888.");
        return {};
    }
    QImage swapped(image.size(), image.format());
    if (swapped.isNull()) {
        ILog_WriteLog(0, "Failed to allocate memory for the swapped image.");
        return {};
    }
    PreferLargePages(swapped.bits(), static_cast<std::size_t>(swapped.sizeInBytes()));
    // The header only reads: cv::Mat has no constant view.
    const cv::Mat source(image.height(), image.width(), CV_8UC3, const_cast<uchar*>(image.constBits()),
                         static_cast<std::size_t>(image.bytesPerLine()));
    cv::Mat target(swapped.height(), swapped.width(), CV_8UC3, swapped.bits(),
                   static_cast<std::size_t>(swapped.bytesPerLine()));
    cv::cvtColor(source, target, cv::COLOR_BGR2RGB);
    return swapped;
}

cv::Mat QImageToMat(const QImage& image)
{
    const auto view = [&image](int nType) {
        return cv::Mat(image.height(), image.width(), nType, const_cast<uchar*>(image.constBits()),
                       static_cast<std::size_t>(image.bytesPerLine()));
    };
    switch (image.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return view(CV_8UC4);
    case QImage::Format_RGB888: {
        // Into memory of its own: the image that was given is not ours to write into.
        cv::Mat converted;
        cv::cvtColor(view(CV_8UC3), converted, cv::COLOR_BGR2RGB);
        return converted;
    }
    case QImage::Format_Grayscale8:
        return view(CV_8UC1);
    default:
        return {};
    }
}

QImage RotateImage(const QImage& image, double dAngle)
{
    if (image.isNull() || !std::isfinite(dAngle)) {
        return {};
    }
    const double dRadians = dAngle * 3.141592653589793 / 180.0;
    const double dCos = std::cos(dRadians);
    const double dSin = std::sin(dRadians);
    const int nWidth = image.width();
    const int nHeight = image.height();
    const int nNewWidth = static_cast<int>(std::abs(nWidth * dCos) + std::abs(nHeight * dSin));
    const int nNewHeight = static_cast<int>(std::abs(nWidth * dSin) + std::abs(nHeight * dCos));
    QImage rotated(nNewWidth, nNewHeight, image.format());
    if (rotated.isNull()) {
        return {};
    }
    rotated.setColorTable(image.colorTable());
    rotated.fill(Qt::transparent);
    const cv::Point middle(nWidth / 2, nHeight / 2);
    const cv::Point newMiddle(nNewWidth / 2, nNewHeight / 2);
    // Formats of less than a byte a pixel copy nothing.
    const auto nBytes = static_cast<std::size_t>(image.depth() / 8);
    for (int y = 0; y < nNewHeight; ++y) {
        uchar* pTarget = rotated.scanLine(y);
        const int dy = y - newMiddle.y;
        for (int x = 0; x < nNewWidth; ++x) {
            const int dx = x - newMiddle.x;
            const int nColumn = static_cast<int>(dx * dCos + dy * dSin + middle.x);
            const int nRow = static_cast<int>(-dx * dSin + dy * dCos + middle.y);
            if (nColumn >= 0 && nColumn < nWidth && nRow >= 0 && nRow < nHeight) {
                std::memcpy(pTarget + static_cast<std::size_t>(x) * nBytes,
                            image.constScanLine(nRow) + static_cast<std::size_t>(nColumn) * nBytes, nBytes);
            }
        }
    }
    return rotated;
}

QString GetCameraDeviceName(int nIndex)
{
    static const std::array<const char*, 4> names{"Camera-Top", "Camera-Left", "Camera-Right", "Camera-Movable"};
    const QString strFile = QString("%1/Data/CameraSetting.ini").arg(GetCalibrationRootPath());
    if (!QFile::exists(strFile)) {
        return {};
    }
    const bool bKnown = nIndex >= 0 && nIndex < static_cast<int>(names.size());
    const QString strName = bKnown ? names[static_cast<std::size_t>(nIndex)] : "";
    return ReadIniString("CameraSetting", strName, QString(), strFile);
}
