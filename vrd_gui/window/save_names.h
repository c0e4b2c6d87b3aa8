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

// Gives a name that does not end as pictures do the ending of the kind. The proposal's own name has lost its ending and
// gets one, whatever it looks like: "photo.jpg" was made from "photo.jpg.bmp". An ending of pictures that cannot be
// written stays, so that it can be refused.
QString BX_GetCompletedPath(const QString& chosen, const QString& proposal, std::size_t kind);
