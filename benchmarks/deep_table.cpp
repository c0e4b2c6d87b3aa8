// What the ordinary and the deep search read of changed pictures, and what the deep search costs.
//
//   deep_table [--text TEXT] [--unsigned] [--costs] [--threads N] [--from N] [--to N] [-v] PHOTO...
//
// Signs each photograph in memory, changes it in every way of picture_changes.h (from the N-th to the N-th, counted
// from 0), and searches what comes of it. Photographs that the ordinary search does not read unchanged are left out.
// With --unsigned nothing is signed: then nothing may be found. -v tells of each search that was not right. --costs
// tells of each search that found nothing what each stage took, and whether it holds its bound; with -v also the time
// of wall, the grids and the decodings. One thread, or N.
#include <QGuiApplication>
#include <QImage>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "convert_picture.h"
#include "deep_cost.h"
#include "deep_search.h"
#include "picture_changes.h"
#include "result.h"
#include "second_look.h"
#include "sign_op.h"

namespace {

struct SOptions {
    std::string text = "Veri-2026x";
    bool isSigned = true;
    bool isVerbose = false;
    bool tellsCosts = false;
    unsigned int threads = 1;
    std::size_t from = 0;
    std::size_t to = 1000;
    std::vector<std::string> photos;
};

constexpr int kSizeClasses = 3;
const char* const kClassNames[kSizeClasses] = {"< 1 MP", "1-6 MP", "> 6 MP"};

int SizeClass(const SBxPicBuf& picture) {
    const double pixels = static_cast<double>(picture.m_iWidth) * picture.m_iHeight;
    return pixels < 1e6 ? 0 : pixels < 6e6 ? 1 : 2;
}

// Of one change.
struct SCounts {
    int pictures = 0;
    int ordinary = 0;
    int certain = 0;
    int uncertain = 0;
    int wrongCertain = 0;
    int wrongUncertain = 0;
    int ofClass[kSizeClasses] = {};
    int readOfClass[kSizeClasses] = {};
    double deepSeconds = 0.0;  // of searches that found nothing
    double ordinaryOfLost = 0.0;
    int lost = 0;
    int overBound = 0;     // of them
    double highest = 0.0;  // agreement of wrong or unreported texts
    SBxDeepCosts costs;
};

double Megapixels(const SBxPicBuf& picture) {
    return 1e-6 * picture.m_iWidth * picture.m_iHeight;
}

// The ordinary search, and what it took.
unsigned char SearchOrdinarily(SSearchCost& cost, SBxSignRun& run, SBxPicBuf& picture, char* text,
                               unsigned int threads) {
    const double start = BX_ProcessSeconds();
    const auto wallStart = std::chrono::steady_clock::now();
    const unsigned char result = CBxSignOp::ExtractTextFromPicture(run, &picture, text, threads);
    cost.megapixels = Megapixels(picture);
    cost.ordinary = BX_ProcessSeconds() - start;
    cost.ordinaryWall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
    return result;
}

void Search(SCounts& counts, SBxPicBuf& picture, int sizeClass, const SOptions& options, const char* what) {
    const auto archive = std::make_unique<CBxCornerArchive>();
    SBxSignRun run;
    run.m_pCorners = archive.get();
    char text[CBxSignOp::kTextBytes] = "";
    SSearchCost cost;
    unsigned char result = SearchOrdinarily(cost, run, picture, text, options.threads);
    ++counts.pictures;
    ++counts.ofClass[sizeClass];
    SBxSoftReading second;
    const bool isDoubtful = result == kBxSuccess && BX_LookAgain(second, picture, run.m_Finding, text) == kBxSuccess &&
                            second.m_dGap < kLeadOfOrdinary;
    if (result == kBxSuccess && !isDoubtful) {
        const bool isRight = options.isSigned && options.text == text;
        ++(isRight ? counts.ordinary : counts.wrongCertain);
        counts.readOfClass[sizeClass] += isRight ? 1 : 0;
        if (options.isVerbose && !isRight) {
            std::printf("    %s: ordinary search \"%s\"\n", what, text);
        }
        return;
    }
    SBxDeepFinding finding;
    const double start = BX_ProcessSeconds();
    result = BX_SearchDeep(run, picture, *archive, options.threads, finding, &cost.costs);
    cost.deep = BX_ProcessSeconds() - start;
    AddCosts(counts.costs, cost.costs);
    if (result != kBxSuccess && isDoubtful) {
        // What the ordinary search has read is reported then, as uncertain.
        result = kBxSuccess;
        finding.m_Reading = second;
    }
    const bool isRight = result == kBxSuccess && options.isSigned && options.text == finding.m_Reading.m_szText;
    if (result != kBxSuccess) {
        ++counts.lost;
        counts.deepSeconds += cost.deep;
        counts.ordinaryOfLost += cost.ordinary;
        counts.overBound += cost.HoldsBound() ? 0 : 1;
        counts.highest = std::max(counts.highest, cost.costs.m_dHighestAgreement);
        if (options.tellsCosts) {
            PrintCost(what, cost, options.isVerbose);
        }
    } else if (isRight) {
        ++(finding.m_bCertain ? counts.certain : counts.uncertain);
        ++counts.readOfClass[sizeClass];
    } else {
        ++(finding.m_bCertain ? counts.wrongCertain : counts.wrongUncertain);
        counts.highest = std::max(counts.highest, finding.m_Reading.m_dAgreement);
    }
    if (options.isVerbose && !options.tellsCosts && !isRight) {
        std::printf("    %s: %s\"%s\" stage %d agreement %.2f gap %.2f, %.2f s\n", what,
                    result != kBxSuccess ? "nothing "
                    : finding.m_bCertain ? "CERTAIN "
                                         : "uncertain ",
                    result == kBxSuccess ? finding.m_Reading.m_szText : "", static_cast<int>(finding.m_eStage),
                    result == kBxSuccess ? finding.m_Reading.m_dAgreement : cost.costs.m_dHighestAgreement,
                    finding.m_Reading.m_dGap, cost.deep);
    }
}

// Signs in memory, and says whether the ordinary search reads it back; true without signing.
bool Sign(SBxPicBuf& picture, const SOptions& options) {
    if (!options.isSigned) {
        return true;
    }
    char text[CBxSignOp::kTextBytes] = "";
    std::snprintf(text, sizeof text, "%s", options.text.c_str());
    SBxSignRun run;
    if (CBxSignOp::InsertTextIntoPicture(run, &picture, text) != kBxSuccess) {
        return false;
    }
    char found[CBxSignOp::kTextBytes] = "";
    return CBxSignOp::ExtractTextFromPicture(run, &picture, found, 1) == kBxSuccess && options.text == found;
}

void PrintRow(const char* name, const SCounts& counts, double least) {
    const int read = counts.ordinary + counts.certain + counts.uncertain;
    std::printf("%-34s %3d %5d %5d %5d  %5.1f %% (at least %.0f) ", name, counts.pictures, counts.ordinary,
                counts.certain, counts.uncertain, 100.0 * read / std::max(1, counts.pictures), 100.0 * least);
    for (int i = 0; i < kSizeClasses; ++i) {
        std::printf(" %2d/%-2d", counts.readOfClass[i], counts.ofClass[i]);
    }
    std::printf("  wrong %d certain %d uncertain  highest %.2f\n", counts.wrongCertain, counts.wrongUncertain,
                counts.highest);
}

bool ReadOptions(SOptions& options, int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool hasValue = i + 1 < argc;
        if (word == "--text" && hasValue) {
            options.text = argv[++i];
        } else if (word == "--from" && hasValue) {
            options.from = std::strtoul(argv[++i], nullptr, 10);
        } else if (word == "--to" && hasValue) {
            options.to = std::strtoul(argv[++i], nullptr, 10);
        } else if (word == "--threads" && hasValue) {
            options.threads = static_cast<unsigned int>(std::clamp(std::strtoul(argv[++i], nullptr, 10), 1UL, 12UL));
        } else if (word == "--costs") {
            options.tellsCosts = true;
        } else if (word == "--unsigned") {
            options.isSigned = false;
        } else if (word == "-v") {
            options.isVerbose = true;
        } else {
            options.photos.push_back(word);
        }
    }
    return !options.photos.empty();
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    SOptions options;
    if (!ReadOptions(options, argc, argv)) {
        std::fputs("deep_table [--text TEXT] [--unsigned] [--costs] [--threads N] [--from N] [--to N] [-v] PHOTO...\n",
                   stderr);
        return 2;
    }
    if (options.tellsCosts) {
        PrintCostHeading();
    }
    const std::vector<SPictureChange>& changes = PictureChanges();
    const std::size_t end = std::min(options.to + 1, changes.size());
    std::vector<SCounts> counts(changes.size());
    for (const std::string& photo : options.photos) {
        SBxPicBuf* read = nullptr;
        if (CBxConvertPicture::ReadInputFile(read, photo.c_str()) != 0) {
            std::printf("%s: cannot be read\n", photo.c_str());
            continue;
        }
        const CBxPicBufHolder picture(read);
        if (!Sign(*read, options)) {
            std::printf("%s: not read unchanged by the ordinary search, left out\n", photo.c_str());
            continue;
        }
        const std::unique_ptr<QImage> image(CBxConvertPicture::GetQImageFromPicBuf(read));
        for (std::size_t i = options.from; i < end; ++i) {
            QImage changed = changes[i].apply(*image);
            const CBxPicBufHolder searched(CBxConvertPicture::GetPicBufFromQImage(&changed));
            if (searched == nullptr || static_cast<double>(changed.width()) * changed.height() > 2.4e7) {
                continue;
            }
            const std::string what = photo + ", " + changes[i].name;
            Search(counts[i], *searched, SizeClass(*read), options, what.c_str());
        }
        std::fflush(stdout);
    }
    std::printf("%-34s %3s %5s %5s %5s  read    by size: %s, %s, %s\n", "change", "all", "ordin", "deep", "unsur",
                kClassNames[0], kClassNames[1], kClassNames[2]);
    SCounts sum;
    for (std::size_t i = options.from; i < end; ++i) {
        PrintRow(changes[i].name, counts[i], changes[i].leastShare);
        sum.lost += counts[i].lost;
        sum.overBound += counts[i].overBound;
        sum.deepSeconds += counts[i].deepSeconds;
        sum.ordinaryOfLost += counts[i].ordinaryOfLost;
        sum.wrongCertain += counts[i].wrongCertain;
        sum.wrongUncertain += counts[i].wrongUncertain;
        sum.highest = std::max(sum.highest, counts[i].highest);
        AddCosts(sum.costs, counts[i].costs);
    }
    std::printf("searches that found nothing: %d, ordinary %.2f s, deep %.2f s of processor each\n", sum.lost,
                sum.ordinaryOfLost / std::max(1, sum.lost), sum.deepSeconds / std::max(1, sum.lost));
    std::printf("searches beyond their bound (1.5 times the ordinary one, and a second): %d of %d\n", sum.overBound,
                sum.lost);
    PrintSumOfCosts(sum.costs);
    std::printf("wrong texts: %d certain, %d uncertain; highest agreement of a wrong or unreported text %.2f\n",
                sum.wrongCertain, sum.wrongUncertain, sum.highest);
    return sum.wrongCertain == 0 ? 0 : 1;
}
