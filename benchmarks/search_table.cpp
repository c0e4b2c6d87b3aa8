// Prints where the time of a search goes, stage by stage, against the plain form of the same engine: whole planes for
// every filter, a label map for every candidate, every pixel visited. Results are compared before anything is timed.
//
//   search_table [--full] [PHOTO...]
//
// Without photographs it works on mosaics of the sample pictures. --full times the plain form at every zoom instead of
// at five of them. Times are processor seconds of this process.
#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "cell_reader.h"
#include "image_pictures.h"
#include "important_rectangles.h"
#include "kernels.h"
#include "plain_engine.h"
#include "run_stop.h"
#include "scaled_rows.h"
#include "sign_format.h"
#include "sign_op.h"
#include "sign_probe.h"

namespace {

double Clock(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double Seconds(const std::function<void()>& work, clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
    const double start = Clock(clock);
    work();
    return Clock(clock) - start;
}

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

double MedianOfThree(const std::function<void()>& work, clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
    return Median({Seconds(work, clock), Seconds(work, clock), Seconds(work, clock)});
}

// The sample pictures side by side, mirrored now and then, so that the detail is that of photographs.
CBxOwnedPic Mosaic(int width, int height) {
    QImage canvas(width, height, QImage::Format_RGB888);
    std::vector<QImage> tiles;
    for (const char* name : {"coffee", "astronaut", "cat"}) {
        tiles.push_back(QImage(QString(VERIDANE_SAMPLES "/") + name + ".png").convertToFormat(QImage::Format_RGB888));
    }
    int number = 0;
    for (int top = 0; top < height; top += 512) {
        for (int left = 0; left < width; ++number) {
            const QImage tile =
                tiles[static_cast<std::size_t>(number * 7 % 3)].mirrored(number % 2 != 0, number % 5 == 0);
            for (int y = top; y < std::min(height, top + 512); ++y) {
                const int columns = std::min(tile.width(), width - left);
                std::memcpy(canvas.scanLine(y) + 3 * left, tile.constScanLine((y - top) % tile.height()),
                            static_cast<std::size_t>(3 * columns));
            }
            left += tile.width();
        }
    }
    return PictureOfImage(canvas);
}

struct SStages {
    double shared = 0;   // planes and bounds made once for all zooms
    double corners = 0;  // scaling and corners of both halves, candidates
    double cells = 0;    // scaling, smoothing and cells of blue
    double decode = 0;
    double Sum() const { return shared + corners + cells + decode; }
};

struct SPlainStages {
    double scale = 0;
    double corners = 0;
    double smooth = 0;
    double cells = 0;
    double Sum() const { return scale + corners + smooth + cells; }
};

double ScaledPixels(const SBxPicBuf& picture, double zoom) {
    return std::floor(picture.m_iWidth * zoom) * std::floor(picture.m_iHeight * zoom);
}

std::vector<unsigned int> SearchedZooms(const SBxPicBuf& picture) {
    std::vector<unsigned int> zooms;
    for (unsigned int k = 0; k < kZooms; ++k) {
        const double zoom = BX_ZoomOfIndex(k);
        if (static_cast<double>(picture.m_iWidth) * picture.m_iHeight * zoom * zoom <= kMostPixelsToSearch) {
            zooms.push_back(k);
        }
    }
    return zooms;
}

// One zoom of the engine, stage by stage; the candidates and their means are kept for the comparison.
void EngineZoom(SStages& stages, const CBxSearchPicture& shared, double zoom, std::vector<CBxRect<double>>& candidates,
                CBxCellReader& cells) {
    CBxColumnWeights columns;
    CBxRect<double> rects[200];
    CBxPoint<double> anchors[50];
    unsigned int count = 0;
    unsigned int anchorCount = 0;
    SBxSignRun run;
    SBxCornerBars bars;
    bool good = true;
    stages.corners += Seconds([&] {
        good = columns.Prepare(shared.Width(), zoom);
        CBxScaledRows mean(shared, columns, zoom, CBxScaledRows::EChannel::MeanOfGreenAndRed);
        good = good && mean.Prepare() &&
               BX_FindImportantRectangles(CBxRunStop(run, EBxStopOn::Abort), rects, count, mean,
                                          {mean.Width(), mean.Height()}, anchors, anchorCount, true, zoom, bars,
                                          nullptr) == 0;
        rects[count++] = {0, 0, static_cast<double>(mean.Width()), static_cast<double>(mean.Height())};
        CBxSignOp::ReduceNumbersOfRectanglesX(rects, count);
    });
    stages.cells += Seconds([&] {
        CBxScaledRows blue(shared, columns, zoom, CBxScaledRows::EChannel::Blue);
        CBxCellReader probe;
        good = good && blue.Prepare() &&
               probe.Prepare(rects, count, blue.Width(), blue.Height(), BX_ProbeCells(EBxProbe::Narrow)) &&
               probe.Read(blue, zoom, nullptr) == 0;
    });
    // The search reads all cells only of candidates that pass the probe; here they are for the comparison.
    CBxScaledRows blue(shared, columns, zoom, CBxScaledRows::EChannel::Blue);
    good = good && blue.Prepare() && cells.Prepare(rects, count, blue.Width(), blue.Height(), BX_AllCells()) &&
           cells.Read(blue, zoom, nullptr) == 0;
    if (!good) {
        std::fprintf(stderr, "out of memory\n");
        std::exit(2);
    }
    candidates.assign(rects, rects + count);
}

SPlainStages PlainZoomStages(const SBxPicBuf& picture, double zoom, const std::vector<CBxRect<double>>& candidates,
                             const CBxCellReader& cells) {
    SPlainStages stages;
    CBxOwnedPic scaled;
    CBxOwnedPic mean;
    CBxOwnedPic blue;
    stages.scale = Seconds([&] {
        scaled = PlainScale(picture, zoom);
        mean = PlainMean(scaled.Pic());
    });
    stages.corners = Seconds([&] {
        PlainCorners(mean.Pic(), 0, zoom);
        PlainCorners(mean.Pic(), 1, zoom);
    });
    stages.smooth = Seconds([&] { blue = PlainSmoothBlue(scaled.Pic(), zoom); });
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        std::vector<double> plain;
        stages.cells += Seconds([&] { plain = PlainMeans(blue.Pic(), candidates[i]); });
        double means[kCellCount];
        cells.Means(means, static_cast<unsigned int>(i));
        for (int cell = 0; cell < kCellCount; ++cell) {
            if (std::fabs(means[cell] - plain[static_cast<std::size_t>(cell)]) > 1e-6) {
                std::fprintf(stderr, "cell %d of candidate %zu at zoom %.2f: %.9f, plain %.9f\n", cell, i, zoom,
                             means[cell], plain[static_cast<std::size_t>(cell)]);
                std::exit(1);
            }
        }
    }
    return stages;
}

double CopyNanoseconds() {
    std::vector<float> from(20000000, 1.0f);
    std::vector<float> to(from.size());
    const auto copy = [&] { std::memcpy(to.data(), from.data(), from.size() * sizeof(float)); };
    copy();
    return 1e9 * MedianOfThree(copy) / static_cast<double>(from.size());
}

void ExpectPlainCandidates(const SBxPicBuf& picture, double zoom, const std::vector<CBxRect<double>>& candidates) {
    const SPlainZoom plain = PlainSearchZoom(picture, zoom);
    if (plain.candidates != candidates) {
        std::fprintf(stderr, "the candidates at zoom %.2f are not those of the plain form\n", zoom);
        std::exit(1);
    }
}

// Seconds of a whole search with one thread.
struct SSearchTimes {
    double engine;
    double plain;
};

SSearchTimes ReportSearch(const std::string& name, SBxPicBuf& picture, bool full, double copyNanoseconds) {
    const std::vector<unsigned int> zooms = SearchedZooms(picture);
    std::vector<unsigned int> timed;  // of the plain form
    for (std::size_t i = 0; i < zooms.size(); ++i) {
        if (full || i % std::max<std::size_t>(1, zooms.size() / 4) == 0) {
            timed.push_back(zooms[i]);
        }
    }
    double pixels = 0;
    double timedPixels = 0;
    SStages engine;
    SPlainStages plain;
    CBxSearchPicture shared;
    engine.shared = Seconds([&] { (void)shared.Prepare(picture); });
    for (const unsigned int k : zooms) {
        const double zoom = BX_ZoomOfIndex(k);
        std::vector<CBxRect<double>> candidates;
        CBxCellReader cells;
        EngineZoom(engine, shared, zoom, candidates, cells);
        pixels += ScaledPixels(picture, zoom);
        if (std::find(timed.begin(), timed.end(), k) == timed.end()) {
            continue;
        }
        ExpectPlainCandidates(picture, zoom, candidates);
        BX_SelectKernelForm(EBxKernelForm::Portable);
        const SPlainStages stages = PlainZoomStages(picture, zoom, candidates, cells);
        if (!BX_SelectKernelForm(EBxKernelForm::Avx512)) {
            BX_SelectKernelForm(EBxKernelForm::Avx2);
        }
        plain.scale += stages.scale;
        plain.corners += stages.corners;
        plain.smooth += stages.smooth;
        plain.cells += stages.cells;
        timedPixels += ScaledPixels(picture, zoom);
    }
    // The plain form's cost of a pixel hardly depends on the zoom: the rest is in proportion.
    const double rest = pixels / timedPixels;

    char text[CBxSignOp::kTextBytes] = {};
    SBxSignRun run;
    unsigned char found = 0;
    const auto search = [&](unsigned int threads) {
        return [&, threads] { found = CBxSignOp::ExtractTextFromPicture(run, &picture, text, threads); };
    };
    const double one = MedianOfThree(search(1));
    const double wallOne = MedianOfThree(search(1), CLOCK_MONOTONIC);
    const double wallTwo = MedianOfThree(search(2), CLOCK_MONOTONIC);
    engine.decode = std::max(0.0, one - engine.Sum());

    std::printf("\n%s: %d x %d, %.1f megapixels, %zu zooms, %.0f million scaled pixels, %s\n", name.c_str(),
                picture.m_iWidth, picture.m_iHeight, picture.m_iWidth * 1e-6 * picture.m_iHeight, zooms.size(),
                pixels * 1e-6, found == 0 ? text : "no sign");
    const auto row = [pixels](const char* stage, double seconds, double plainSeconds) {
        std::printf("  %-34s %8.3f s %7.2f ns/pixel", stage, seconds, 1e9 * seconds / pixels);
        if (plainSeconds > 0) {
            std::printf("   plain %8.3f s %7.2f ns/pixel   x %.1f", plainSeconds, 1e9 * plainSeconds / pixels,
                        plainSeconds / seconds);
        }
        std::printf("\n");
    };
    row("planes and bounds, once", engine.shared, 0);
    row("scaling, corners dark and bright", engine.corners, rest * (plain.scale + plain.corners));
    row("blue: scaling, smoothing, cells", engine.cells, rest * (plain.smooth + plain.cells));
    row("decoding and the rest", engine.decode, 0);
    row("search, 1 thread", one, rest * plain.Sum());
    std::printf("  %-34s %8.3f s wall, %.3f s with 1 thread: x %.2f\n", "search, 2 threads", wallTwo, wallOne,
                wallOne / wallTwo);
    std::printf("  plain form by stage: scaling %.2f, corners %.2f, smoothing %.2f, cells %.2f s\n", rest * plain.scale,
                rest * plain.corners, rest * plain.smooth, rest * plain.cells);
    std::printf("  a searched pixel costs %.1f copies of a float (%.3f ns)\n", 1e9 * one / pixels / copyNanoseconds,
                copyNanoseconds);
    return {one, rest * plain.Sum()};
}

void ReportSigning(SBxPicBuf& picture, const SSearchTimes& search) {
    QByteArray jpeg;
    {
        QBuffer buffer(&jpeg);
        ImageOfPicture(picture).save(&buffer, "JPG", 90);
    }
    const auto loadAndSave = [&] {
        QByteArray again;
        QBuffer buffer(&again);
        QImage::fromData(jpeg).save(&buffer, "JPG", 90);
        return again;
    };
    if (QImage::fromData(loadAndSave()).size() != QSize(picture.m_iWidth, picture.m_iHeight)) {
        std::fprintf(stderr, "the JPEG does not come back\n");
        std::exit(1);
    }
    const double fileTime = MedianOfThree([&] { loadAndSave(); });
    char text[] = "Veri-2026x";
    std::vector<double> times;
    for (int i = 0; i < 3; ++i) {
        CBxOwnedPic copy;
        (void)copy.AllocateLike(picture);
        CBxPicBufAPI::Copy(copy.Pic(), picture);
        SBxSignRun run;
        times.push_back(Seconds([&] { (void)CBxSignOp::InsertTextIntoPicture(run, &copy.Pic(), text); }));
    }
    std::printf("  signing without the search: %.3f s; loading and saving the JPEG: %.3f s; x %.2f\n", Median(times),
                fileTime, Median(times) / fileTime);
    const double signing = Median(times) + search.engine;
    const double plain = Median(times) + search.plain;
    std::printf("  signing with the search: %.3f s; with the plain search and the same insertion: %.3f s; x %.1f\n",
                signing, plain, plain / signing);
}

void Report(const std::string& name, SBxPicBuf& picture, bool full, double copyNanoseconds) {
    const SSearchTimes search = ReportSearch(name, picture, full, copyNanoseconds);
    ReportSigning(picture, search);
}

}  // namespace

int main(int argc, char** argv) {
    std::setbuf(stdout, nullptr);
    bool full = false;
    std::vector<std::string> photos;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--full") == 0) {
            full = true;
        } else {
            photos.emplace_back(argv[i]);
        }
    }
    const double copy = CopyNanoseconds();
    std::printf("kernels: %s; copying a float of a large plane: %.3f ns\n", BX_Kernels().m_szName, copy);
    struct SMosaic {
        const char* name;
        int width;
        int height;
    };
    constexpr SMosaic kMosaics[] = {
        {"mosaic 0.4", 768, 512}, {"mosaic 2", 1730, 1156}, {"mosaic 5", 2736, 1824}, {"mosaic 12", 4240, 2832}};
    for (const SMosaic& mosaic : kMosaics) {
        if (photos.empty()) {
            CBxOwnedPic picture = Mosaic(mosaic.width, mosaic.height);
            Report(mosaic.name, picture.Pic(), full, copy);
        }
    }
    for (const std::string& photo : photos) {
        const QImage image(QString::fromStdString(photo));
        if (image.isNull()) {
            std::fprintf(stderr, "%s: cannot be read\n", photo.c_str());
            return 2;
        }
        CBxOwnedPic picture = PictureOfImage(image);
        Report(photo, picture.Pic(), full, copy);
    }
    return 0;
}
