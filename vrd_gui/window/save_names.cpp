#include "save_names.h"

#include <QFileInfo>
#include <QStringList>
#include <algorithm>

#include "gui_text.h"
#include "output_target.h"

namespace {

constexpr qsizetype kMostEndingLetters = 4;

QString NameOf(const QString& path) {
    return path.section('/', -1);
}

bool HasEnding(const QString& path) {
    const QString name = NameOf(path);
    const qsizetype dot = name.lastIndexOf('.');
    const QString ending = name.mid(dot + 1);
    return dot > 0 && !ending.isEmpty() && ending.size() <= kMostEndingLetters && ending.front().isLetter() &&
           std::all_of(ending.begin(), ending.end(), [](QChar letter) { return letter.isLetterOrNumber(); });
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

QString BX_GetCompletedPath(const QString& chosen, std::size_t kind) {
    return HasEnding(chosen) ? chosen : chosen + kSaveKinds[kind].ending;
}
