// The commands that are tried, and their inputs.
#include "convert_picture.h"
#include "fault_scenario.h"
#include "image_pictures.h"
#include "metadata_fixtures.h"
#include "pdf_document.h"
#include "sign_op.h"
#include "test_pictures.h"

namespace {

constexpr char kSign[] = "Veri-2026x";
constexpr int kWidth = 400;
constexpr int kHeight = 360;

std::string FileOf(SBxPicBuf& picture, const std::string& ending, const std::string& metadata = "") {
    const CTemporaryFolder folder;
    const std::string path = folder / ("picture" + ending);
    SBxWriteOptions options;
    options.quality = ending == ".jpg" ? 95 : -1;
    if (!metadata.empty()) {
        WriteBytes(folder / "metadata.jpg", metadata);
        options.metadataRule = EBxMetadataRule::kAny;
    }
    const std::string source = folder / "metadata.jpg";
    options.metadataSource = metadata.empty() ? nullptr : source.c_str();
    SBxFileReport report;
    CBxConvertPicture::WriteOutputFile(&picture, path.c_str(), options, report);
    return ReadBytes(path);
}

CBxOwnedPic SignedPicture(std::uint32_t seed) {
    CBxOwnedPic picture = MakeTexturedPicture(kWidth, kHeight, seed);
    char text[CBxSignOp::kTextBytes] = "";
    std::snprintf(text, sizeof(text), "%s", kSign);
    SBxSignRun run;
    CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), text);
    return picture;
}

std::string Document(SBxPicBuf& picture) {
    CPdfDocument document;
    document.AddPage(AddPdfPicture(document, ImageOfPicture(picture)));
    return document.Bytes();
}

}  // namespace

std::vector<CFaultScenario> MakeFaultScenarios() {
    CBxOwnedPic plain = MakeTexturedPicture(kWidth, kHeight, 3);
    CBxOwnedPic other = MakeTexturedPicture(kWidth, kHeight, 11);
    CBxOwnedPic small = MakeTexturedPicture(120, 90, 7);
    CBxOwnedPic withSign = SignedPicture(3);
    const std::string photo = FileOf(plain.Pic(), ".jpg", MakePhoto(true, true));
    const std::string png = FileOf(other.Pic(), ".png");
    const std::string tiff = FileOf(plain.Pic(), ".tif");
    const std::string signedJpeg = FileOf(withSign.Pic(), ".jpg");
    const std::string tiny = FileOf(small.Pic(), ".png");
    const std::map<std::string, std::string> folder = {{"photos/a.jpg", photo}, {"photos/b.png", png}};
    const std::map<std::string, std::string> mixed = {{"photos/a.jpg", signedJpeg}, {"photos/b.png", tiny}};
    std::vector<CFaultScenario> scenarios;
    const auto add = [&scenarios](const char* name, std::vector<std::string> words,
                                  const std::map<std::string, std::string>& inputs) {
        words.insert(words.begin() + 1, "--json");
        scenarios.emplace_back(name, words, inputs);
    };
    add("sign to JPEG", {"sign", "p.jpg", "-s", kSign, "-o", "out.jpg"}, {{"p.jpg", photo}});
    add("sign over a photograph", {"sign", "p.png", "-s", kSign, "-o", "p.png", "--force"}, {{"p.png", png}});
    add("sign to TIFF", {"sign", "p.tif", "-s", kSign, "-o", "out.tif", "-t", "2"}, {{"p.tif", tiff}});
    add("detect", {"detect", "a.jpg", "b.png", "-t", "2", "--results", "r.jsonl"},
        {{"a.jpg", signedJpeg}, {"b.png", tiny}});
    add("detect --deep", {"detect", "--deep", "b.png", "-t", "1"}, {{"b.png", tiny}});
    add("batch-sign", {"batch-sign", "photos", "-s", kSign, "-t", "2"}, folder);
    add("batch-detect", {"batch-detect", "photos", "-t", "2"}, mixed);
    add("batch-detect --deep", {"batch-detect", "--deep", "photos", "-t", "2"}, mixed);
    add("pdf-detect", {"pdf-detect", "d.pdf", "-t", "1"}, {{"d.pdf", Document(withSign.Pic())}});
    return scenarios;
}
