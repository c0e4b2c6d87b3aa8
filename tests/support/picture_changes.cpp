#include "picture_changes.h"

#include <QTransform>
#include <algorithm>
#include <cmath>
#include <random>

#include "image_changes.h"

namespace {

QImage Rgb(const QImage& picture) {
    return picture.convertToFormat(QImage::Format_RGB888);
}

// By averaging areas, which a sign survives less well than the filters of programs for pictures.
QImage Scaled(const QImage& picture, double factor) {
    return Rgb(picture.scaled(static_cast<int>(std::lround(picture.width() * factor)),
                              static_cast<int>(std::lround(picture.height() * factor)), Qt::IgnoreAspectRatio,
                              Qt::SmoothTransformation));
}

QImage TurnedByQuarters(const QImage& picture, int quarters) {
    QTransform turn;
    turn.rotate(90.0 * quarters);
    return Rgb(picture.transformed(turn));
}

QImage Noisy(const QImage& picture, double deviation) {
    std::mt19937 generator(20);
    std::normal_distribution<double> noise(0.0, deviation);
    QImage result = picture.copy();
    for (int y = 0; y < result.height(); ++y) {
        unsigned char* row = result.scanLine(y);
        for (int x = 0; x < 3 * result.width(); ++x) {
            row[x] = static_cast<unsigned char>(std::clamp(std::lround(row[x] + noise(generator)), 0L, 255L));
        }
    }
    return result;
}

// As messengers send it: JPEG, at most 1280 pixels, JPEG again.
QImage Messaged(const QImage& picture) {
    const QImage received = BX_SaveAsJpeg(picture, 90);
    const double factor = 1280.0 / std::max(received.width(), received.height());
    return BX_SaveAsJpeg(factor < 1.0 ? Scaled(received, factor) : received, 80);
}

}  // namespace

const std::vector<SPictureChange>& PictureChanges() {
    static const std::vector<SPictureChange> kChanges = {
        {"unchanged", [](const QImage& p) { return p; }, 1.0},
        {"JPEG 70", [](const QImage& p) { return BX_SaveAsJpeg(p, 70); }, 0.98},
        {"JPEG 50", [](const QImage& p) { return BX_SaveAsJpeg(p, 50); }, 0.90},
        {"JPEG 30", [](const QImage& p) { return BX_SaveAsJpeg(p, 30); }, 0.50},
        {"scaled 50 %", [](const QImage& p) { return Scaled(p, 0.5); }, 0.95},
        {"scaled 33 %", [](const QImage& p) { return Scaled(p, 0.33); }, 0.60},
        {"scaled 25 %", [](const QImage& p) { return Scaled(p, 0.25); }, 0.30},
        {"scaled 150 %", [](const QImage& p) { return Scaled(p, 1.5); }, 0.95},
        {"scaled 200 %", [](const QImage& p) { return Scaled(p, 2.0); }, 0.95},
        {"cropped by 10 %", [](const QImage& p) { return BX_CropImage(p, 0.06, 0.06, 0.04, 0.04); }, 0.90},
        {"cropped to half", [](const QImage& p) { return BX_CropImage(p, 0.25, 0.25, 0.25, 0.25); }, 0.60},
        {"turned by 1", [](const QImage& p) { return BX_TurnImage(p, 1.0); }, 0.95},
        {"turned by 3", [](const QImage& p) { return BX_TurnImage(p, 3.0); }, 0.95},
        {"turned by 10", [](const QImage& p) { return BX_TurnImage(p, 10.0); }, 0.60},
        {"turned by 90", [](const QImage& p) { return TurnedByQuarters(p, 1); }, 0.95},
        {"turned by 180", [](const QImage& p) { return TurnedByQuarters(p, 2); }, 0.95},
        {"turned by 270", [](const QImage& p) { return TurnedByQuarters(p, 3); }, 0.95},
        {"mirrored", [](const QImage& p) { return p.mirrored(true, false); }, 0.90},
        {"brightness x 0.8", [](const QImage& p) { return BX_ToneImage(p, 0.8, 0.0, 1.0); }, 0.90},
        {"brightness x 1.25", [](const QImage& p) { return BX_ToneImage(p, 1.25, 0.0, 1.0); }, 0.90},
        {"contrast x 0.8", [](const QImage& p) { return BX_ToneImage(p, 0.8, 25.6, 1.0); }, 0.90},
        {"contrast x 1.25", [](const QImage& p) { return BX_ToneImage(p, 1.25, -32.0, 1.0); }, 0.90},
        {"gamma 0.8", [](const QImage& p) { return BX_ToneImage(p, 1.0, 0.0, 0.8); }, 0.90},
        {"gamma 1.25", [](const QImage& p) { return BX_ToneImage(p, 1.0, 0.0, 1.25); }, 0.90},
        {"offset 10", [](const QImage& p) { return BX_ToneImage(p, 1.0, 10.0, 1.0); }, 0.90},
        {"noise 3", [](const QImage& p) { return Noisy(p, 3.0); }, 1.0},
        {"noise 10", [](const QImage& p) { return Noisy(p, 10.0); }, 0.80},
        {"messenger", [](const QImage& p) { return Messaged(p); }, 0.85},
        {"cropped by 5 %, brightness x 1.1",
         [](const QImage& p) { return BX_ToneImage(BX_CropImage(p, 0.03, 0.03, 0.02, 0.02), 1.1, 0.0, 1.0); }, 0.85},
        {"turned by 1, scaled 75 %", [](const QImage& p) { return Scaled(BX_TurnImage(p, 1.0), 0.75); }, 0.85},
        {"scaled 150 %, JPEG 70", [](const QImage& p) { return BX_SaveAsJpeg(Scaled(p, 1.5), 70); }, 0.85},
    };
    return kChanges;
}
