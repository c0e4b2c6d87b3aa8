// Searches many different unsigned pictures, ordinarily and deeply: none may be reported as certain.
//
//   false_alarms [--count N] [--seed S] [--share I/N] [-v] [PHOTO...]
//
// Every picture is made anew: a part of one of the photographs, cut, turned, mirrored, rescaled, brightened or saved as
// JPEG by chance, or one of a dozen kinds made in code (noise, gradients, skies, walls, tiles, text pages, screens,
// halftones). Prints how many were searched, how many texts were tried and how far the best of them was from being
// reported. --share takes every N-th picture from the I-th on, for several processes. Ends with 1 when one is
// reported as certain, whatever else went wrong; else with 2 when a search failed, else with 0.
#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTransform>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "convert_picture.h"
#include "deep_search.h"
#include "result.h"
#include "sign_op.h"

namespace {

using CRandom = std::mt19937;

int Draw(CRandom& random, int from, int to) {
    return from + static_cast<int>(random() % static_cast<unsigned int>(to - from + 1));
}

QImage Rgb(const QImage& image) {
    return image.convertToFormat(QImage::Format_RGB888);
}

QImage Jpeg(const QImage& image, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", quality);
    return Rgb(QImage::fromData(bytes, "JPG"));
}

// A part of a photograph, changed by chance.
QImage PartOfPhoto(const QImage& photo, CRandom& random) {
    const int width = std::min(photo.width(), Draw(random, 360, 900));
    const int height = std::min(photo.height(), Draw(random, 360, 700));
    QImage part =
        photo.copy(Draw(random, 0, photo.width() - width), Draw(random, 0, photo.height() - height), width, height);
    if (Draw(random, 0, 2) == 0) {
        QTransform turn;
        turn.rotate(Draw(random, -20, 20));
        part = part.transformed(turn, Qt::SmoothTransformation);
    }
    if (Draw(random, 0, 2) == 0) {
        part = part.scaled(Draw(random, 360, 800), Draw(random, 360, 700), Qt::IgnoreAspectRatio,
                           Qt::SmoothTransformation);
    }
    part = Rgb(Draw(random, 0, 3) == 0 ? part.mirrored(true, false) : part);
    return Draw(random, 0, 1) == 0 ? Jpeg(part, Draw(random, 40, 98)) : part;
}

// The three components of a pixel of a picture made in code.
struct SKind {
    const char* name;
    void (*pixel)(int* components, int x, int y, const int* parameters, CRandom& random);
};

void Grey(int* components, double value) {
    components[0] = components[1] = components[2] = static_cast<int>(value);
}

const SKind kKinds[] = {
    {"noise",
     [](int* c, int, int, const int*, CRandom& r) { c[0] = Draw(r, 0, 255), c[1] = Draw(r, 0, 255), c[2] = c[0]; }},
    {"soft noise", [](int* c, int, int, const int* p, CRandom& r) { Grey(c, 60 + p[0] % 130 + Draw(r, -4, 4)); }},
    {"flat", [](int* c, int, int, const int* p, CRandom&) { Grey(c, p[0] % 256); }},
    {"gradient", [](int* c, int x, int y, const int* p,
                    CRandom&) { Grey(c, std::fmod(x * (p[0] % 90) / 200.0 + y * (p[1] % 90) / 200.0, 256.0)); }},
    {"sky",
     [](int* c, int x, int y, const int* p, CRandom& r) {
         Grey(c, 150 + y * 0.1 + 8 * std::sin(x * 0.003 * (p[0] % 7 + 1)) + Draw(r, 0, 1));
         c[0] = std::min(255, c[0] + 40);
     }},
    {"wall",
     [](int* c, int x, int y, const int* p, CRandom& r) {
         const int width = 20 + p[0] % 60;
         const int height = 10 + p[1] % 40;
         const bool joint = (x + y / height % 2 * width / 2) % width < 3 || y % height < 3;
         Grey(c, (joint ? 190 : 120) + Draw(r, -3, 3));
     }},
    {"tiles",
     [](int* c, int x, int y, const int* p, CRandom&) {
         const int size = 8 + p[0] % 50;
         Grey(c, (x / size + y / size) % 2 == 0 ? 40 + p[1] % 100 : 150 + p[2] % 100);
     }},
    {"halftone",
     [](int* c, int x, int y, const int* p, CRandom&) {
         const double pitch = 4 + p[0] % 9;
         const double tone = 0.5 + 0.5 * std::sin(x * 0.01) * std::sin(y * 0.013);
         Grey(c, std::sin(x * 6.283 / pitch) * std::sin(y * 6.283 / pitch) > 1 - 2 * tone ? 20 : 240);
     }},
    {"stripes", [](int* c, int x, int y, const int* p,
                   CRandom&) { Grey(c, 128 + 100 * std::sin(0.01 * (p[0] % 40 + 1) * x + 0.01 * (p[1] % 40) * y)); }},
    {"cells",
     [](int* c, int x, int y, const int* p, CRandom&) {  // steps of about a bit, in fields of about a cell
         Grey(c, 100 + 3 * ((x / (20 + p[0] % 30) * 7 + y / (20 + p[1] % 30) * 5 + p[2]) % 2));
     }},
};

QImage MadeInCode(const SKind& kind, CRandom& random) {
    QImage image(Draw(random, 400, 800), Draw(random, 400, 640), QImage::Format_RGB888);
    const int parameters[3] = {Draw(random, 0, 10000), Draw(random, 0, 10000), Draw(random, 0, 10000)};
    for (int y = 0; y < image.height(); ++y) {
        unsigned char* row = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            int components[3];
            kind.pixel(components, x, y, parameters, random);
            for (int i = 0; i < 3; ++i) {
                row[3 * x + i] = static_cast<unsigned char>(std::clamp(components[i], 0, 255));
            }
        }
    }
    return image;
}

// A page of words, or a screen with windows.
QImage Page(bool isScreen, CRandom& random) {
    QImage image(Draw(random, 480, 800), Draw(random, 480, 640), QImage::Format_RGB888);
    image.fill(isScreen ? QColor(60, 90, 120) : QColor(250, 249, 245));
    QPainter painter(&image);
    painter.setPen(Qt::black);
    painter.setFont(QFont("sans", Draw(random, 7, 16)));
    for (int window = 0; isScreen && window < 4; ++window) {
        const QRect frame(Draw(random, 0, 300), Draw(random, 0, 250), Draw(random, 150, 450), Draw(random, 100, 350));
        painter.fillRect(frame, QColor(235, 235, 235));
        painter.fillRect(QRect(frame.topLeft(), QSize(frame.width(), 22)), QColor(40, 70, 160));
        painter.drawRect(frame);
    }
    const int lineHeight = painter.fontMetrics().height();
    for (int y = lineHeight; y < image.height(); y += lineHeight) {
        QString line;
        while (line.size() < 90) {
            line += QString(Draw(random, 1, 9), QChar('a' + Draw(random, 0, 25))) + ' ';
        }
        painter.drawText(isScreen ? Draw(random, 10, 200) : 30, y, line);
    }
    return image;
}

struct SSums {
    int pictures = 0;
    int failed = 0;  // for want of memory; counted nowhere else
    int certain = 0;
    int uncertain = 0;
    int ordinary = 0;
    unsigned long grids = 0;
    unsigned long decodings = 0;
    double highest = 0.0;
};

void TellFailure(SSums& sums, const std::string& name) {
    ++sums.failed;
    std::fprintf(stderr, "%s: not searched to the end, memory could not be had\n", name.c_str());
}

void Search(SSums& sums, QImage image, const std::string& name, bool isVerbose) {
    const CBxPicBufHolder picture(CBxConvertPicture::GetPicBufFromQImage(&image));
    if (picture == nullptr) {
        TellFailure(sums, name);
        return;
    }
    const auto archive = std::make_unique<CBxCornerArchive>();
    SBxSignRun run;
    run.m_pCorners = archive.get();
    char text[CBxSignOp::kTextBytes] = "";
    const unsigned char ordinary = CBxSignOp::ExtractTextFromPicture(run, picture.get(), text, 1);
    if (ordinary == kBxOutOfMemory) {
        TellFailure(sums, name);
        return;
    }
    if (ordinary == kBxSuccess) {
        ++sums.pictures;
        ++sums.ordinary;
        std::printf("%s: ORDINARY \"%s\"\n", name.c_str(), text);
        return;
    }
    SBxDeepFinding finding;
    SBxDeepCosts costs;
    const unsigned char result = BX_SearchDeep(run, *picture, *archive, 1, finding, &costs);
    if (result == kBxOutOfMemory) {
        TellFailure(sums, name);
        return;
    }
    ++sums.pictures;
    for (const SBxDeepCost& cost : costs.m_Stages) {
        sums.grids += cost.m_ulGrids;
        sums.decodings += cost.m_ulDecodings;
    }
    sums.highest = std::max(sums.highest, costs.m_dHighestAgreement);
    if (result == kBxSuccess) {
        ++(finding.m_bCertain ? sums.certain : sums.uncertain);
        std::printf("%s: %s \"%s\" agreement %.2f gap %.2f stage %d\n", name.c_str(),
                    finding.m_bCertain ? "CERTAIN" : "uncertain", finding.m_Reading.m_szText,
                    finding.m_Reading.m_dAgreement, finding.m_Reading.m_dGap, static_cast<int>(finding.m_eStage));
    } else if (isVerbose) {
        std::printf("%s: nothing, highest %.2f\n", name.c_str(), costs.m_dHighestAgreement);
    }
}

// "1/2" is the second of two shares.
bool ReadShare(int& share, int& shares, const char* text) {
    constexpr long kMost = 1000;
    char* slash = nullptr;
    char* end = nullptr;
    const long first = std::strtol(text, &slash, 10);
    if (slash == text || *slash != '/') {
        return false;
    }
    const long second = std::strtol(slash + 1, &end, 10);
    share = static_cast<int>(std::clamp(first, 0L, kMost));
    shares = static_cast<int>(std::clamp(second, 0L, kMost));
    return end != slash + 1 && *end == '\0' && first == share && second == shares && shares > 0;
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    int count = 200;
    unsigned int seed = 1;
    int share = 0;
    int shares = 1;
    bool isVerbose = false;
    std::vector<QImage> photos;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--count" && i + 1 < argc) {
            count = static_cast<int>(std::clamp(std::strtol(argv[++i], nullptr, 10), 0L, 1L << 30));
        } else if (word == "--seed" && i + 1 < argc) {
            seed = static_cast<unsigned int>(std::strtoul(argv[++i], nullptr, 10));
        } else if (word == "--share" && i + 1 < argc) {
            if (!ReadShare(share, shares, argv[++i])) {
                return 2;
            }
        } else if (word == "-v") {
            isVerbose = true;
        } else {
            const QImage photo(argv[i]);
            if (!photo.isNull()) {
                photos.push_back(Rgb(photo));
            }
        }
    }
    constexpr int kMade = static_cast<int>(std::size(kKinds));
    SSums sums;
    for (int i = share % shares; i < count; i += shares) {
        CRandom random(seed * 1000003U + static_cast<unsigned int>(i));
        const int kind = photos.empty() || i % 4 == 0 ? i / 4 % (kMade + 2) : -1;
        const std::string name = "picture " + std::to_string(i);
        if (kind < 0) {
            Search(sums, PartOfPhoto(photos[random() % photos.size()], random), name + " (photograph)", isVerbose);
        } else if (kind < kMade) {
            Search(sums, MadeInCode(kKinds[kind], random), name + " (" + kKinds[kind].name + ")", isVerbose);
        } else {
            Search(sums, Page(kind == kMade + 1, random), name + (kind == kMade ? " (text page)" : " (screen)"),
                   isVerbose);
        }
        std::fflush(stdout);
    }
    std::printf(
        "%d pictures, %lu grids, %lu decodings; found: %d ordinary, %d certain, %d uncertain; highest agreement "
        "%.2f\n",
        sums.pictures, sums.grids, sums.decodings, sums.ordinary, sums.certain, sums.uncertain, sums.highest);
    if (sums.failed > 0) {
        std::fprintf(stderr, "searches that failed and are not counted: %d\n", sums.failed);
    }
    return sums.ordinary + sums.certain > 0 ? 1 : sums.failed > 0 ? 2 : 0;
}
