#include "jpeg_header.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr double kMetersPerInch = 0.0254;
constexpr int kDensityOffset = 13;  // in a stream that begins with SOI and JFIF: unit, then both densities
constexpr int kHeaderBytes = 20;    // SOI and a JFIF segment without a thumbnail
constexpr qsizetype kMostProfileBytesOfSegment = 65519;
constexpr qsizetype kMostProfileSegments = 255;

enum class EDensityUnit : char { kNone = 0, kPerInch = 1, kPerCentimeter = 2 };

struct SDensity {
    EDensityUnit unit = EDensityUnit::kNone;
    int x = 1;
    int y = 1;
};

// Centimetres where they are exact, inches otherwise: nearly all files mean whole dots per inch.
SDensity DensityOf(const SBxPictureExtras& extras) {
    SDensity density;
    if (extras.HasResolution()) {
        const bool isExact = extras.dotsPerMeterX % 100 == 0 && extras.dotsPerMeterY % 100 == 0;
        const double factor = isExact ? 0.01 : kMetersPerInch;
        density = {isExact ? EDensityUnit::kPerCentimeter : EDensityUnit::kPerInch,
                   static_cast<int>(std::lround(extras.dotsPerMeterX * factor)),
                   static_cast<int>(std::lround(extras.dotsPerMeterY * factor))};
    }
    const auto fits = [](int value) { return value >= 1 && value <= 0xFFFF; };
    return fits(density.x) && fits(density.y) ? density : SDensity();
}

void AppendBigEndian(QByteArray& bytes, qsizetype value) {
    bytes.append(static_cast<char>(value >> 8));
    bytes.append(static_cast<char>(value));
}

// The profile in as many APP2 segments as it needs.
QByteArray ProfileSegments(const QByteArray& profile) {
    const qsizetype count = (profile.size() + kMostProfileBytesOfSegment - 1) / kMostProfileBytesOfSegment;
    QByteArray segments;
    for (qsizetype index = 0; index < count; ++index) {
        const QByteArray part = profile.mid(index * kMostProfileBytesOfSegment, kMostProfileBytesOfSegment);
        segments.append("\xFF\xE2", 2);
        AppendBigEndian(segments, part.size() + 16);
        segments.append("ICC_PROFILE\0", 12);
        segments.append(static_cast<char>(index + 1));
        segments.append(static_cast<char>(count));
        segments.append(part);
    }
    return segments;
}

}  // namespace

bool BX_DescribeJpeg(QByteArray& jpeg, const SBxPictureExtras& extras, bool isRgb, SBxFileReport& report) {
    const QByteArray start = QByteArray("\xFF\xD8\xFF\xE0\x00\x10JFIF\0", 11);
    if (jpeg.size() < kHeaderBytes || !jpeg.startsWith(start)) {
        report.SetReason("it was encoded without the header that its resolution belongs into");
        return false;
    }
    const SDensity density = DensityOf(extras);
    QByteArray values(1, static_cast<char>(density.unit));
    AppendBigEndian(values, density.x);
    AppendBigEndian(values, density.y);
    jpeg.replace(kDensityOffset, values.size(), values);
    if (!isRgb || extras.iccProfile.isEmpty()) {
        return true;
    }
    if (extras.iccProfile.size() > kMostProfileBytesOfSegment * kMostProfileSegments) {
        report.SetReason("the colour profile is too long for a JPEG");
        return false;
    }
    jpeg.insert(kHeaderBytes, ProfileSegments(extras.iccProfile));
    return true;
}
