#include "exif_resolution.h"

#include <cmath>

#include "image_metadata.h"

namespace {

constexpr double kMostDotsPerMeter = 1e8;
constexpr ExifShort kPerInch = 2;  // also where the unit is not said
constexpr ExifShort kPerCentimeter = 3;

// Dots per unit, 0 when the tag is missing or makes no sense.
double RationalOf(ExifData* exif, ExifTag tag) {
    const ExifEntry* const entry = exif_content_get_entry(exif->ifd[EXIF_IFD_0], tag);
    if (entry == nullptr || entry->format != EXIF_FORMAT_RATIONAL || entry->size < 8) {
        return 0.0;
    }
    const ExifRational value = exif_get_rational(entry->data, exif_data_get_byte_order(exif));
    return value.denominator == 0 ? 0.0 : static_cast<double>(value.numerator) / value.denominator;
}

double MetersPerUnit(ExifData* exif) {
    const ExifEntry* const entry = exif_content_get_entry(exif->ifd[EXIF_IFD_0], EXIF_TAG_RESOLUTION_UNIT);
    const bool isSaid = entry != nullptr && entry->format == EXIF_FORMAT_SHORT && entry->size >= 2;
    const ExifShort unit = isSaid ? exif_get_short(entry->data, exif_data_get_byte_order(exif)) : kPerInch;
    return unit == kPerInch ? 0.0254 : unit == kPerCentimeter ? 0.01 : 0.0;
}

}  // namespace

bool BX_GetExifResolution(const char* fileName, int& dotsPerMeterX, int& dotsPerMeterY) {
    CBxOwnedMetadata metadata;
    SBxMetadataBlocks ignored;
    CBxImageMetadata::LoadByRule(fileName, EBxMetadataRule::kAny, metadata, ignored);
    if (metadata.exif == nullptr) {
        return false;
    }
    const double metersPerUnit = MetersPerUnit(metadata.exif);
    if (metersPerUnit == 0.0) {
        return false;
    }
    const double x = RationalOf(metadata.exif, EXIF_TAG_X_RESOLUTION) / metersPerUnit;
    const double y = RationalOf(metadata.exif, EXIF_TAG_Y_RESOLUTION) / metersPerUnit;
    if (x < 2.0 || y < 2.0 || x > kMostDotsPerMeter || y > kMostDotsPerMeter) {
        return false;
    }
    dotsPerMeterX = static_cast<int>(std::lround(x));
    dotsPerMeterY = static_cast<int>(std::lround(y));
    return true;
}
