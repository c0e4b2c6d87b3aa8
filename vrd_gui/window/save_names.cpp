#include "save_names.h"

#include <QFileInfo>
#include <QStringList>
#include <algorithm>

#include "gui_text.h"
#include "output_target.h"

namespace {

// Endings of pictures that cannot be written, in lower case. Whoever types one means it.
constexpr std::array<const char*, 24> kOtherEndings{"gif", "webp", "heic", "heif", "avif", "jfif", "jpe", "jp2",
                                                    "j2k", "jxl",  "tga",  "psd",  "xcf",  "svg",  "pdf", "ico",
                                                    "ppm", "pgm",  "pnm",  "pbm",  "dng",  "cr2",  "nef", "arw"};

QString NameOf(const QString& path) {
    return path.section('/', -1);
}

bool HasPictureEnding(const QString& name) {
    const qsizetype dot = name.lastIndexOf('.');
    const QString ending = name.mid(dot + 1).toLower();
    return dot > 0 && (BX_GetPictureFormat(name.toStdString()) != EBxPictureFormat::kUnknown ||
                       std::any_of(kOtherEndings.begin(), kOtherEndings.end(),
                                   [&ending](const char* other) { return ending == QLatin1String(other); }));
}

}  // namespace

QString BX_GetSaveFilter(std::size_t index) {
    // Spelled out, so that the texts are found by those who translate them.
    const std::array<QString, kSaveKinds.size()> texts{BX_Text("JPEG files"), BX_Text("Bitmap"), BX_Text("TIFF Files"),
                                                       BX_Text("Portable Network Graphics")};
    return texts[index] + kSaveKinds[index].pattern;
}

QString BX_GetSaveFilters() {
    QStringList filters;
    for (std::size_t i = 0; i < kSaveKinds.size(); ++i) {
        filters.append(BX_GetSaveFilter(i));
    }
    return filters.join(";;");
}

std::size_t BX_GetSaveKindOf(const QString& path) {
    switch (BX_GetPictureFormat(path.toStdString())) {
        case EBxPictureFormat::kBmp:
            return 1;
        case EBxPictureFormat::kTiff:
            return 2;
        case EBxPictureFormat::kPng:
            return 3;
        default:
            return 0;
    }
}

std::size_t BX_GetSaveKindOfFilter(const QString& filter) {
    for (std::size_t i = 0; i < kSaveKinds.size(); ++i) {
        if (filter.endsWith(kSaveKinds[i].pattern)) {
            return i;
        }
    }
    return 0;
}

QString BX_GetProposedPath(const QString& folder, const QString& path, bool isSigned) {
    QString name = NameOf(path);
    const qsizetype dot = name.lastIndexOf('.');
    if (dot > 0) {
        name.truncate(dot);
    }
    QString start = folder;
    while (start.endsWith('/')) {
        start.chop(1);
    }
    return start + "/" + name + (isSigned ? "-signed" : "");
}

QString BX_GetCompletedPath(const QString& chosen, const QString& proposal, std::size_t kind) {
    const QString name = NameOf(chosen);
    return name != NameOf(proposal) && HasPictureEnding(name) ? chosen : chosen + kSaveKinds[kind].ending;
}
