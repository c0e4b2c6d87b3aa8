#include "jpeg_segments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "jpeg_corpus.h"
#include "metadata_fixtures.h"
#include "temporary_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize);

namespace {

using namespace std::string_literals;
using JpegOwner = std::unique_ptr<JPEGData, decltype(&jpeg_data_unref)>;

JpegOwner Load(const std::string& bytes) {
    return {jpeg_data_new_from_data(reinterpret_cast<const unsigned char*>(bytes.data()),
                                    static_cast<unsigned int>(bytes.size())),
            jpeg_data_unref};
}

std::string Save(JPEGData* data) {
    unsigned char* bytes = nullptr;
    unsigned int size = 99;
    jpeg_data_save_data(data, &bytes, &size);
    std::string saved(reinterpret_cast<const char*>(bytes), bytes != nullptr ? size : 0);
    EXPECT_EQ(bytes == nullptr, size == 0);
    std::free(bytes);
    return saved;
}

std::string BodyOf(const JPEGSection& section) {
    return std::string(reinterpret_cast<const char*>(section.content.generic), section.size);
}

// Memory that the program holds; 0 where a sanitizer keeps the books.
std::size_t BytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void KeepMessage(ExifLog*, ExifLogCode, const char* domain, const char* format, va_list arguments, void* target) {
    char message[500];
    std::vsnprintf(message, sizeof(message), format, arguments);
    *static_cast<std::string*>(target) += domain + "|"s + message + "\n";
}

}  // namespace

TEST(JpegSegments, KeepEveryByteOfAWholeStream) {
    for (const SJpegSample& sample : MakeJpegSamples()) {
        const JpegOwner data = Load(sample.bytes);
        if (sample.isWhole) {
            EXPECT_TRUE(BX_IsJpegComplete(data.get())) << sample.name;
            EXPECT_EQ(Save(data.get()), sample.bytes) << sample.name;
        }
    }
    const std::string photo = MakePhoto(false, true);
    EXPECT_TRUE(Save(Load(photo).get()) == photo);
}

TEST(JpegSegments, SurviveEveryCutAndEverySingleByteFault) {
    for (const SJpegSample& sample : MakeJpegSamples()) {
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(sample.bytes.data()), sample.bytes.size());
        const std::size_t count = std::min<std::size_t>(sample.bytes.size(), 400);
        for (std::size_t place = 0; place < count; ++place) {
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(sample.bytes.data()), place);
            for (const char fault : {'\0', '\1', '\xD8', '\xDA', '\xE1', '\xFF'}) {
                std::string damaged = sample.bytes;
                damaged[place] = fault;
                LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(damaged.data()), damaged.size());
            }
        }
    }
}

TEST(JpegSegments, TakeMemoryInProportionToTheFile) {
    // A marker in every byte, and EXIF blocks that all want 60000 bytes for every tag.
    const JpegOwner flood = Load(std::string(1 << 20, '\xD8'));
    EXPECT_EQ(flood->count, kMostJpegSections);
    EXPECT_FALSE(BX_IsJpegComplete(flood.get()));
    std::string greedy = "Exif\0\0II\x2A\0\x08\0\0\0\xFF\x03"s;
    for (int tag = 0; tag < 0x3FF; ++tag) {
        greedy += static_cast<char>(tag & 0xFF);
        greedy += static_cast<char>(1 + tag / 256);
        greedy += "\x02\0\x60\xEA\0\0\x10\0\0\0"s;
    }
    greedy.resize(65000, 'g');
    std::string segments;
    for (int copy = 0; copy < 50; ++copy) {
        segments += MakeJpegSegment(0xE1, greedy);
    }
    const std::string stream = MakeJpegStream(segments);
    const std::size_t before = BytesInUse();
    const JpegOwner data = Load(stream);
    const std::size_t after = BytesInUse();
    ASSERT_TRUE(BX_IsJpegComplete(data.get()));
    ExifData* const exif = jpeg_data_get_exif_data(data.get());
    EXPECT_GT(exif->ifd[EXIF_IFD_0]->count, 10u);
    exif_data_unref(exif);
    // Taken apart they would all want more than ten times the bytes of the file.
    EXPECT_LT(after - before, 2 * stream.size());
}

TEST(JpegSegments, AllowSevenFillBytesBeforeAMarker) {
    const std::string comment = "\xFE\0\3!"s;
    const std::string rest = MakeJpegStream("").substr(2);
    const JpegOwner seven = Load("\xFF\xD8"s + std::string(7, '\xFF') + comment + rest);
    ASSERT_GT(seven->count, 2u);
    EXPECT_EQ(seven->sections[1].marker, kMarkerCOM);
    EXPECT_EQ(BodyOf(seven->sections[1]), "!");
    EXPECT_TRUE(BX_IsJpegComplete(seven.get()));
    const JpegOwner eight = Load("\xFF\xD8"s + std::string(8, '\xFF') + comment + rest);
    EXPECT_EQ(eight->count, 1u);
    EXPECT_FALSE(BX_IsJpegComplete(eight.get()));
}

TEST(JpegSegments, EndTheImageDataBeforeTheEndMarker) {
    const std::string stream = MakeJpegStream("");
    const JpegOwner whole = Load(stream);
    EXPECT_EQ(whole->size, 8u);
    EXPECT_EQ(whole->sections[whole->count - 1].marker, kMarkerEOI);
    const JpegOwner endless = Load(stream.substr(0, stream.size() - 2));
    EXPECT_EQ(endless->size, 8u);
    EXPECT_EQ(endless->sections[endless->count - 1].marker, kMarkerSOS);
    for (const std::size_t left : {0, 1}) {
        EXPECT_EQ(Load(stream.substr(0, stream.size() - 10 + left))->size, left);
    }
}

TEST(JpegSegments, TakeNewExifDirectlyAfterTheStart) {
    const std::string packet = MakeJpegSegment(0xE1, "http://example.org/packet\0<x/>"s);
    ExifData* const exif = MakeExif(0);
    const JpegOwner plain = Load(MakeJpegStream(""));
    const JpegOwner other = Load(MakeJpegStream(packet));
    const JpegOwner older = Load(MakeJpegStream(packet + MakeJpegSegment(0xE1, MakeExifBody())));
    for (JPEGData* const data : {plain.get(), other.get(), older.get()}) {
        jpeg_data_set_exif_data(data, exif);
        ExifData* const found = jpeg_data_get_exif_data(data);
        EXPECT_EQ(found, exif);
        exif_data_unref(found);
    }
    EXPECT_EQ(MarkersOf(Save(plain.get())), "d8 e1 e0 db c0 c4 da d9");
    EXPECT_EQ(MarkersOf(Save(other.get())), "d8 e1 e0 e1 db c0 c4 da d9");
    EXPECT_EQ(MarkersOf(Save(older.get())), "d8 e0 e1 e1 db c0 c4 da d9");
    // What shares the marker and is no EXIF stays.
    EXPECT_THAT(Save(other.get()), testing::HasSubstr(packet));
    EXPECT_THAT(Save(older.get()), testing::HasSubstr(packet));
    EXPECT_THAT(Save(older.get()), testing::Not(testing::HasSubstr(MakeExifBody())));
    const JpegOwner nothing(jpeg_data_new(), jpeg_data_unref);
    jpeg_data_set_exif_data(nothing.get(), exif);
    EXPECT_EQ(nothing->count, 0u);
    exif_data_unref(exif);
}

TEST(JpegSegments, ReplaceNoFileByLessThanAWholeStream) {
    const CTemporaryFolder folder;
    const std::string path = folder / "photo.jpg";
    for (const SJpegSample& sample : MakeJpegSamples()) {
        WriteBytes(path, sample.bytes);
        const JpegOwner data(jpeg_data_new_from_file(path.c_str()), jpeg_data_unref);
        const int saved = jpeg_data_save_file(data.get(), path.c_str());
        EXPECT_EQ(saved == 1, BX_IsJpegComplete(data.get()) && data->count > 0) << sample.name;
        if (sample.isWhole || saved == 0) {
            EXPECT_EQ(ReadBytes(path), sample.bytes) << sample.name;
        }
    }
    // Sections made by hand that are no stream: a comment that is too long, EXIF that is not there.
    WriteBytes(path, "old");
    const JpegOwner data = Load(MakeJpegStream(MakeJpegSegment(0xFE, std::string(65533, 'c'))));
    JPEGSection* const comment = jpeg_data_get_section(data.get(), kMarkerCOM);
    comment->content.generic = static_cast<unsigned char*>(std::realloc(comment->content.generic, 65534));
    comment->content.generic[comment->size++] = 'c';
    EXPECT_EQ(Save(data.get()), "");
    EXPECT_EQ(jpeg_data_save_file(data.get(), path.c_str()), 0);
    const JpegOwner bare = Load(MakeJpegStream(""));
    ASSERT_EQ(jpeg_data_append_section(bare.get()), 1);
    bare->sections[bare->count - 1].marker = kMarkerAPP1;
    EXPECT_EQ(Save(bare.get()), MakeJpegStream("") + "\xFF\xE1");
    EXPECT_EQ(jpeg_data_save_file(bare.get(), path.c_str()), 0);
    EXPECT_EQ(ReadBytes(path), "old");
    EXPECT_EQ(folder.Count(), 1);
}

TEST(JpegSegments, SayInTheLogWhatIsWrong) {
    const CTemporaryFolder folder;
    std::string messages;
    ExifLog* const log = exif_log_new();
    exif_log_set_func(log, KeepMessage, &messages);
    const JpegOwner data(jpeg_data_new(), jpeg_data_unref);
    jpeg_data_log(data.get(), log);
    exif_log_unref(log);
    jpeg_data_load_file(data.get(), (folder / "missing").c_str());
    jpeg_data_load_file(data.get(), folder.Path().c_str());
    jpeg_data_load_data(data.get(), reinterpret_cast<const unsigned char*>("text"), 4);
    EXPECT_EQ(messages, "jpeg-data|Path '" + (folder / "missing") + "' invalid.\n" + "jpeg-data|Could not read '" +
                            folder.Path() + "'.\n" + "jpeg-data|Data does not follow JPEG specification.\n");
}

TEST(JpegSegments, LiveUntilTheLastReference) {
    const std::string stream = MakeJpegStream("");
    JPEGData* const data = Load(stream).release();
    jpeg_data_ref(data);
    jpeg_data_unref(data);
    EXPECT_EQ(Save(data), stream);
    jpeg_data_unref(data);
}

TEST(JpegSegments, HaveANameForEveryMarkerButOne) {
    int names = 0;
    for (int marker = 0; marker < 256; ++marker) {
        const char* const name = jpeg_marker_get_name(static_cast<JPEGMarker>(marker));
        const bool named = marker >= 0xC0 && marker <= 0xFE && marker != 0xD0;
        EXPECT_EQ(name != nullptr, named) << marker;
        EXPECT_EQ(jpeg_marker_get_description(static_cast<JPEGMarker>(marker)) != nullptr, named) << marker;
        names += name != nullptr ? 1 : 0;
    }
    EXPECT_EQ(names, 62);
    EXPECT_STREQ(jpeg_marker_get_name(static_cast<JPEGMarker>(0xCF)), "SOF15");
    EXPECT_STREQ(jpeg_marker_get_description(static_cast<JPEGMarker>(0xCF)),
                 "Encoding (differential lossless, arithmetic)");
    EXPECT_STREQ(jpeg_marker_get_description(kMarkerAPP13), "Application segment 13");
    EXPECT_STREQ(jpeg_marker_get_name(static_cast<JPEGMarker>(0xFD)), "JPG13");
    EXPECT_STREQ(jpeg_marker_get_description(static_cast<JPEGMarker>(0xD7)), "Restart 7");
}

TEST(JpegSegments, ArePrintedOneAfterTheOther) {
    const JpegOwner data = Load("\xFF\xD8"s + MakeJpegSegment(0xD0, "abc"));
    testing::internal::CaptureStdout();
    jpeg_data_dump(data.get());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Dumping JPEG data (0 bytes of data)...\n"
              "Section 0 (marker 0xd8 - SOI):\nDescription: Start of image\nUnknown content."
              "Section 1 (marker 0xd0 - (none)):\nDescription: (none)\nSize: 3\n");
}
