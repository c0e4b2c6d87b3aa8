// Carries EXIF and IPTC from a photograph into a JPEG that was written anew.
#pragma once

#include <libexif/exif-data.h>
#include <libiptcdata/iptc-data.h>

#include "class_log.h"

// What of its source's metadata a copy gets.
enum class EBxMetadataRule {
    kNone,
    kAny,   // whichever block the source has
    kBoth,  // both blocks or nothing
};

// The two kinds of metadata, as a set.
struct SBxMetadataBlocks {
    bool exif = false;
    bool iptc = false;

    bool Any() const { return exif || iptc; }
    bool Both() const { return exif && iptc; }
};

// The two blocks of one photograph. A plain record: copies share the blocks, and FreeMetadata, not the destructor,
// releases them; CBxOwnedMetadata does so by scope.
//
// The operations return 0 for success and 1 for failure and log what they do. File names are bytes as the system takes
// them, UTF-8 or not. Only JPEG files are read or changed; whatever fails, a file that was to be changed is as it was.
// One record belongs to one thread.
class CBxImageMetadata : public CBxClassLog<CBxImageMetadata> {
public:
    ExifData* exif = nullptr;
    IptcData* iptc = nullptr;

    // ---- reading (image_metadata.cpp) ----

    // Reads both blocks; 1 when either is missing. The callers that copy metadata only after a 0 give a copy both
    // blocks or nothing. What was found is in the record all the same.
    static unsigned char LoadMetadata(const char* fileName, CBxImageMetadata& md);

    // Read one block; what the record held of that kind is released. 1, and null, when the file has none.
    static unsigned char LoadExif(const char* fileName, CBxImageMetadata& md);
    static unsigned char LoadIptc(const char* fileName, CBxImageMetadata& md);

    // Reads what the rule lets a copy have; the record may end up empty. `leftBehind` says what the file has besides.
    // 1 for a null name only.
    static unsigned char LoadByRule(const char* fileName, EBxMetadataRule rule, CBxImageMetadata& md,
                                    SBxMetadataBlocks& leftBehind);

    // Releases both blocks and sets them to null.
    static void FreeMetadata(CBxImageMetadata& md);

    // ---- writing (image_metadata_save.cpp) ----

    // Writes both blocks, EXIF first; 1 when either fails or is missing in the record.
    static unsigned char SaveMetadata(const char* fileName, CBxImageMetadata& md);

    // Put the EXIF segment directly after the start of the file, in the place of an older one; the IPTC block as the
    // only content of the Photoshop segment. 1 without a block, for a file that is no complete JPEG, for a block of
    // more than 64 KB, and when the file cannot be replaced.
    static unsigned char SaveExif(const char* fileName, CBxImageMetadata& md);
    static unsigned char SaveIptc(const char* fileName, CBxImageMetadata& md);

    // Writes the blocks that the record holds, none being a success. Those that cannot be written are added to
    // `leftBehind`.
    static unsigned char SaveHeld(const char* fileName, CBxImageMetadata& md, SBxMetadataBlocks& leftBehind);
};

// A record that is released by scope.
class CBxOwnedMetadata : public CBxImageMetadata {
public:
    CBxOwnedMetadata() = default;
    CBxOwnedMetadata(const CBxOwnedMetadata&) = delete;
    CBxOwnedMetadata& operator=(const CBxOwnedMetadata&) = delete;
    ~CBxOwnedMetadata() { FreeMetadata(*this); }
};
