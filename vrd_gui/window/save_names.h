// Names of files that are saved. No widgets.
#pragma once

#include <QString>
#include <array>

// The file kinds of the save dialog.
struct SBxSaveKind {
    const char* pattern;  // " (*.jpg)"
    const char* ending;   // ".jpg"
};
inline constexpr std::array<SBxSaveKind, 4> kSaveKinds{
    {{" (*.jpg)", ".jpg"}, {" (*.bmp)", ".bmp"}, {" (*.tif)", ".tif"}, {" (*.png)", ".png"}}};

// What the dialog of kind `index` says, in the user's language: "JPEG files (*.jpg)".
QString BX_GetSaveFilter(std::size_t index);
// All of them, for the file dialog.
QString BX_GetSaveFilters();
// The kind of a file's ending, in any case; JPEG for every other.
std::size_t BX_GetSaveKindOf(const QString& path);
// The kind whose filter this is; JPEG for every other text.
std::size_t BX_GetSaveKindOfFilter(const QString& filter);

// Folder, "/", name of `path` without ending, "-signed" for a picture that was signed.
QString BX_GetProposedPath(const QString& folder, const QString& path, bool isSigned);

// Gives a name without ending that of the kind. A name's ending are 1 to 4 letters or digits, the first a letter,
// behind its last dot.
QString BX_GetCompletedPath(const QString& chosen, std::size_t kind);
