// What the ordinary and the deep search read of changed pictures, and what the deep search costs.
//
//   deep_table [--text TEXT] [--unsigned] [--costs] [--threads N] [--from N] [--to N] [-v] PHOTO...
//
// Signs each photograph in memory, changes it in every way of picture_changes.h (from the N-th to the N-th, counted
// from 0), and searches what comes of it. Photographs that the ordinary search does not read unchanged are left out.
// With --unsigned nothing is signed: then nothing may be found. -v tells of each search that was not right. --costs
// tells of each search that found nothing what each stage took, and whether it holds its bound; with -v also the time
// of wall, the grids and the decodings. One thread, or N. Ends with 1 when a wrong text was called certain, whatever
// else went wrong; else with 2 when a search failed or nothing was asked for, else with 0.
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
    int failed = 0;        // searches that ended without memory; counted nowhere else
    int overBound = 0;     // of them that were lost
    double highest = 0.0;  // agreement of wrong or unreported texts
    SBxDeepCosts costs;
};

constexpr double kMostMegapixels = 24.0;  // of a changed picture; larger ones are left out

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

// Whether the text of the ordinary search may have become of another one: 0, 1 when not, 6.
unsigned char LookAgain(SBxSoftReading& second, const SBxPicBuf& picture, const SBxFinding& finding, const char* text) {
    const unsigned char result = BX_LookAgain(second, picture, finding, text);
    return result != kBxSuccess || second.m_dGap < kLeadOfOrdinary ? result : kBxFailure;
}

void TellFailure(SCounts& counts, const char* what) {
    ++counts.failed;
    std::fprintf(stderr, "%s: not searched to the end, memory could not be had\n", what);
}

// What both searches made of one picture.
struct SAnswer {
    unsigned char code = kBxFailure;
    bool isOrdinary = false;
    char text[CBxSignOp::kTextBytes] = "";  // of the ordinary search
    SBxDeepFinding deep;
    SSearchCost cost;
};

SAnswer SearchBoth(SBxPicBuf& picture, unsigned int threads) {
    SAnswer answer;
    const auto archive = std::make_unique<CBxCornerArchive>();
    SBxSignRun run;
    run.m_pCorners = archive.get();
    answer.code = SearchOrdinarily(answer.cost, run, picture, answer.text, threads);
    SBxSoftReading second;
    const unsigned char doubt =
        answer.code == kBxSuccess ? LookAgain(second, picture, run.m_Finding, answer.text) : answer.code;
    answer.isOrdinary = answer.code == kBxSuccess && doubt == kBxFailure;
    if (answer.isOrdinary || doubt == kBxOutOfMemory) {
        answer.code = answer.isOrdinary ? kBxSuccess : kBxOutOfMemory;
        return answer;
    }
    const bool isDoubtful = doubt == kBxSuccess;
    const double start = BX_ProcessSeconds();
    answer.code = BX_SearchDeep(run, picture, *archive, threads, answer.deep, &answer.cost.costs);
    answer.cost.deep = BX_ProcessSeconds() - start;
    if (answer.code == kBxFailure && isDoubtful) {
        // What the ordinary search has read is reported then, as uncertain.
        answer.code = kBxSuccess;
        answer.deep.m_Reading = second;
    }
    return answer;
}

void TellDeep(const SAnswer& answer, const char* what) {
    const SBxDeepFinding& deep = answer.deep;
    const bool isFound = answer.code == kBxSuccess;
    std::printf("    %s: %s\"%s\" stage %d agreement %.2f gap %.2f, %.2f s\n", what,
                !isFound          ? "nothing "
                : deep.m_bCertain ? "CERTAIN "
                                  : "uncertain ",
                isFound ? deep.m_Reading.m_szText : "", static_cast<int>(deep.m_eStage),
                isFound ? deep.m_Reading.m_dAgreement : answer.cost.costs.m_dHighestAgreement, deep.m_Reading.m_dGap,
                answer.cost.deep);
}

void CountDeep(SCounts& counts, const SAnswer& answer, bool isRight, int sizeClass) {
    const SSearchCost& cost = answer.cost;
    AddCosts(counts.costs, cost.costs);
    if (answer.code != kBxSuccess) {
        ++counts.lost;
        counts.deepSeconds += cost.deep;
        counts.ordinaryOfLost += cost.ordinary;
        counts.overBound += cost.HoldsBound() ? 0 : 1;
        counts.highest = std::max(counts.highest, cost.costs.m_dHighestAgreement);
    } else if (isRight) {
        ++(answer.deep.m_bCertain ? counts.certain : counts.uncertain);
        ++counts.readOfClass[sizeClass];
    } else {
        ++(answer.deep.m_bCertain ? counts.wrongCertain : counts.wrongUncertain);
        counts.highest = std::max(counts.highest, answer.deep.m_Reading.m_dAgreement);
    }
}

void Search(SCounts& counts, SBxPicBuf& picture, int sizeClass, const SOptions& options, const char* what) {
    const SAnswer answer = SearchBoth(picture, options.threads);
    if (answer.code == kBxOutOfMemory) {
        TellFailure(counts, what);
        return;
    }
    ++counts.pictures;
    ++counts.ofClass[sizeClass];
    const char* const text = answer.isOrdinary ? answer.text : answer.deep.m_Reading.m_szText;
    const bool isRight = answer.code == kBxSuccess && options.isSigned && options.text == text;
    if (answer.isOrdinary) {
        ++(isRight ? counts.ordinary : counts.wrongCertain);
        counts.readOfClass[sizeClass] += isRight ? 1 : 0;
        if (options.isVerbose && !isRight) {
            std::printf("    %s: ordinary search \"%s\"\n", what, text);
        }
        return;
    }
    CountDeep(counts, answer, isRight, sizeClass);
    if (options.tellsCosts && answer.code != kBxSuccess) {
        PrintCost(what, answer.cost, options.isVerbose);
    }
    if (options.isVerbose && !options.tellsCosts && !isRight) {
        TellDeep(answer, what);
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
        std::fputs(
            "deep_table [--text TEXT] [--unsigned] [--costs] [--threads N] [--from N] [--to N] [-v] PHOTO...\n"
            "status: 1 a wrong text was called certain; else 2 a search failed, or this usage; else 0\n",
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
            const std::string what = photo + ", " + changes[i].name;
            if (searched == nullptr) {
                TellFailure(counts[i], what.c_str());
                continue;
            }
            if (Megapixels(*searched) > kMostMegapixels) {
                continue;
            }
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
        sum.failed += counts[i].failed;
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
    if (sum.failed > 0) {
        std::fprintf(stderr, "searches that failed and are not counted: %d\n", sum.failed);
    }
    return sum.wrongCertain > 0 ? 1 : sum.failed > 0 ? 2 : 0;
}
