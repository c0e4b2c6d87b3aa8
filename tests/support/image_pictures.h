// Between the toolkit's images and pictures, for tests and benchmarks that make their own files.
#pragma once

#include <QImage>
#include <memory>

#include "convert_picture.h"
#include "owned_pic.h"

// An empty picture when the image is null.
inline CBxOwnedPic PictureOfImage(QImage image) {
    const std::unique_ptr<SBxPicBuf> picture(CBxConvertPicture::GetPicBufFromQImage(&image));
    return picture != nullptr ? CBxOwnedPic(std::move(*picture)) : CBxOwnedPic();
}

inline QImage ImageOfPicture(const SBxPicBuf& picture) {
    SBxPicBuf source = picture;
    const std::unique_ptr<QImage> image(CBxConvertPicture::GetQImageFromPicBuf(&source));
    return image != nullptr ? *image : QImage();
}
