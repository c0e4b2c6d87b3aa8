// Reads any bytes as a picture file, as the command and the window do, and looks for a sign in what is small.
//
// The decoders themselves are libraries that are not built for the fuzzer: it sees what the product makes of them, and
// of their faults what the address sanitizer hears of through memory functions.
#include <QBuffer>
#include <QImageReader>
#include <cmath>

#include "convert_picture.h"
#include "fuzz_target.h"
#include "picture_reader.h"
#include "picture_search.h"
#include "temporary_folder.h"

namespace {

constexpr std::size_t kMostInputBytes = 1 << 18;
constexpr int kMostSideSearched = 200;
constexpr int kMostSideOfAllZooms = 40;  // larger ones at one zoom
constexpr std::int64_t kMostPixelsOfQuickRead = 1 << 20;

// Pictures between a megapixel and the most that is read take long and show nothing new.
bool IsQuickToRead(const std::string& bytes) {
    QByteArray data = QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
    QBuffer buffer(&data);
    const QSize size = QImageReader(&buffer).size();
    const std::int64_t pixels = static_cast<std::int64_t>(size.width()) * size.height();
    return !size.isValid() || pixels <= kMostPixelsOfQuickRead || pixels > kMostPixelsRead;
}

// Returns the picture, or nothing and then a reason.
CBxPicBufHolder Read(const std::string& path, const SBxReadOptions& options) {
    SBxPictureExtras extras;
    SBxFileReport report;
    SBxPicBuf* picture = nullptr;
    const int result = CBxConvertPicture::ReadInputFile(picture, path.c_str(), options, extras, report);
    Require((result == 0) == (picture != nullptr));
    Require(result == 0 || report.m_szReason[0] != '\0');
    Require(extras.dotsPerMeterX >= 0 && extras.dotsPerMeterY >= 0);
    return CBxPicBufHolder(picture);
}

void RequireReadable(const SBxPicBuf& picture) {
    Require(picture.m_iWidth > 0 && picture.m_iHeight > 0 && picture.m_iComponents == 3 &&
            picture.m_iBitsPerComponent == 8);
    Require(static_cast<std::int64_t>(picture.m_iWidth) * picture.m_iHeight <= kMostPixelsRead);
}

void Search(SBxPicBuf& picture) {
    const int side = std::max(picture.m_iWidth, picture.m_iHeight);
    if (side > kMostSideSearched) {
        return;
    }
    SBxSignRun run;
    const SBxSearchResult result =
        side > kMostSideOfAllZooms ? BX_CheckPicture(run, picture, 1) : BX_SearchPicture(run, picture, 1);
    Require(result.code == 0 || result.code == 1);
    if (result.code == 0) {
        Require(result.sign.size() >= 6 && result.sign.size() <= 10 && std::isfinite(result.zoom));
        Require(result.rectangle.left >= 0 && result.rectangle.top >= 0);
        Require(result.rectangle.right <= picture.m_iWidth && result.rectangle.bottom <= picture.m_iHeight);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    const std::string bytes(reinterpret_cast<const char*>(input), inputSize);
    if (inputSize > kMostInputBytes || !IsQuickToRead(bytes)) {
        return 0;
    }
    static const CTemporaryFolder kFolder;
    const std::string path = kFolder / "picture.jpg";
    WriteBytes(path, bytes);
    const CBxPicBufHolder onWhite = Read(path, {qRgb(255, 255, 255)});
    const CBxPicBufHolder picture = Read(path, {});
    Require((picture != nullptr) == (onWhite != nullptr));
    if (picture != nullptr) {
        RequireReadable(*picture);
        Search(*picture);
    }
    return 0;
}
