// Turns picture files into picture records and back.
//
// Qt decodes and encodes; this class converts between QImage and the 3_8 record (bytes blue, green, red) that the
// engine works on, and writes files in such a way that an older file of the same name is never damaged.
#pragma once

#include <QColor>
#include <QImage>
#include <functional>
#include <memory>
#include <optional>

#include "class_log.h"
#include "file_report.h"
#include "image_metadata.h"
#include "pic_buf.h"
#include "picture_extras.h"

// Frees a record that ReadInputFile or GetPicBufFromQImage gave out.
struct SBxPicBufDeleter {
    void operator()(SBxPicBuf* picture) const;
};
using CBxPicBufHolder = std::unique_ptr<SBxPicBuf, SBxPicBufDeleter>;

// How finely a JPEG keeps colour beside brightness.
enum class EBxChroma {
    k420,  // one value for 2 x 2 pixels
    k444,  // one value for each pixel
};

struct SBxReadOptions {
    // What shows through transparent pixels. Without it their own colour is read as if they were opaque.
    std::optional<QRgb> background;
};

struct SBxWriteOptions {
    int quality = -1;                      // 0 to 100 as the image writer takes it, -1 for the writer's default
    EBxChroma chroma = EBxChroma::k420;    // of a colour JPEG
    const char* metadataSource = nullptr;  // the photograph that the picture was made from, or null for no metadata
    EBxMetadataRule metadataRule = EBxMetadataRule::kBoth;  // what of the source's EXIF and IPTC a JPEG gets
    // What the photograph's file said besides its pixels, or null. Resolution and colour profile are written where the
    // format has room for them, which does not change a pixel.
    const SBxPictureExtras* extras = nullptr;
    bool replaceExisting = true;  // false: a file that has the name already is an error
    // A last look before the file takes its name, or empty. It is given the picture as it was read back from the
    // written file; false, with a reason in the report, leaves everything as it was.
    std::function<bool(SBxPicBuf& asWritten, SBxFileReport& report)> accept;
};

// Static operations that share only the logger pointer; callable from any thread. They throw nothing. File operations
// return 0 for success and 1 for failure; the forms with a report say why.
class CBxConvertPicture : public CBxClassLog<CBxConvertPicture> {
public:
    // Reads a file into a new record, which is null on failure; CBxPicBufHolder frees it. Names are bytes as the system
    // takes them, UTF-8 or not. The overloads log the same.
    static int ReadInputFile(SBxPicBuf*& picture, const char* fileName);
    static int ReadInputFile(SBxPicBuf*& picture, const char* fileName, SBxFileReport& report);
    static int ReadInputFile(SBxPicBuf*& picture, const char* fileName, const SBxReadOptions& options,
                             SBxPictureExtras& extras, SBxFileReport& report);

    // Writes a 3_8 or 1_8 picture in the format that the name's ending (any case) stands for.
    //
    // The picture is encoded, written beside the target under another name, given its metadata there, read back and
    // compared in size; only then does it take the target's name. After a failure the target is as it was and nothing
    // is left behind. Metadata that the source has and cannot be added is a failure; metadata that the rule or the
    // format keeps out is marked in the report. The form without options gives a JPEG both blocks or nothing.
    static int WriteOutputFile(SBxPicBuf* picture, const char* fileName, int quality, const char* metadataSource);
    static int WriteOutputFile(SBxPicBuf* picture, const char* fileName, const SBxWriteOptions& options,
                               SBxFileReport& report);

    // A new 3_8 record, or null. An image of another format is replaced by its RGB888 form, so the caller's image
    // changes; transparency is dropped.
    static SBxPicBuf* GetPicBufFromQImage(QImage* image);

    // A new image that owns its pixels: RGB888 from 3_8, Indexed8 with a grey table from 1_8. Null for every other
    // picture and without memory. The caller deletes it.
    static QImage* GetQImageFromPicBuf(SBxPicBuf* picture);
};
