// Metadata and pictures made in code.
#pragma once

#include <string>

#include "image_metadata.h"

// A JPEG that can be decoded, 40 x 30, as it comes from the encoder.
std::string MakePhoto();

// The same with metadata: EXIF with this maker and orientation 6, and IPTC with this caption.
std::string MakePhoto(bool withExif, bool withIptc);

inline constexpr char kMaker[] = "Maker of cameras";
inline constexpr char kCaption[] = "A boat on the lake";

// EXIF with a user comment of so many bytes; IPTC with so many bytes of caption. The caller's record holds them.
ExifData* MakeExif(unsigned int commentBytes);
IptcData* MakeIptc(unsigned int captionBytes);

// Text of one entry; empty without it.
std::string MakerOf(const CBxImageMetadata& md);
std::string CaptionOf(const CBxImageMetadata& md);
int OrientationOf(const CBxImageMetadata& md);

// Whether both decode to the same pixels.
bool HasSamePixels(const std::string& jpeg, const std::string& other);

// The markers of the segments in their order, as hexadecimal digits: "d8 e0 db ...".
std::string MarkersOf(const std::string& jpeg);
