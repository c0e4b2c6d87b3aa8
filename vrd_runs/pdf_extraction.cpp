#include "pdf_extraction.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "base_files.h"
#include "child_process.h"
#include "localization.h"
#include "qt_files.h"

namespace {

constexpr char kTool[] = "pdfimages";
constexpr char kRoot[] = "images";

struct SFileCloser {
    void operator()(std::FILE* file) const { BX_fclose(file); }
};

// Numbers of pictures have three digits or more, so that a longer name has a larger number.
bool StandsBefore(const std::string& left, const std::string& right) {
    return left.size() != right.size() ? left.size() < right.size() : left < right;
}

std::vector<std::string> FilesOfKind(const std::string& folder, const char* pattern) {
    std::vector<QString> files;
    BX_GetFilesInDirectory(files, folder.substr(0, folder.rfind('/')).c_str(), pattern);
    std::vector<std::string> names;
    names.reserve(files.size());
    for (const QString& file : files) {
        names.push_back(file.toStdString());
    }
    std::sort(names.begin(), names.end(), StandsBefore);
    return names;
}

// Whether a picture file has as many bytes as its header promises. One with another header is for the decoder to judge.
bool IsWhole(const std::string& path) {
    struct stat facts = {};
    const std::unique_ptr<std::FILE, SFileCloser> file(BX_fopen(path.c_str(), "rb"));
    if (file == nullptr || ::fstat(::fileno(file.get()), &facts) != 0 || facts.st_size == 0) {
        return false;
    }
    long long width = 0;
    long long height = 0;
    long long most = 0;
    // NOLINTNEXTLINE(cert-err34-c): numbers of so few digits fit
    if (std::fscanf(file.get(), "P6 %9lld %9lld %5lld", &width, &height, &most) != 3) {
        return true;
    }
    return facts.st_size - std::ftell(file.get()) > width * height * (most > 255 ? 6 : 3);
}

// "pdfimages: Incorrect password": the last thing that the tool said is nearest to why it gave up.
std::string LastLine(const std::string& messages) {
    const std::size_t end = messages.find_last_not_of("\n\r ");
    if (end == std::string::npos) {
        return std::string();
    }
    const std::size_t lineEnd = messages.find_last_of('\n', end);
    const std::size_t start = lineEnd == std::string::npos ? 0 : lineEnd + 1;
    return messages.substr(start, end + 1 - start);
}

// Whether files can still be made in the folder; the tool says nothing of those that it could not make.
bool HasRoom(const std::string& folder) {
    struct statvfs facts = {};
    return ::statvfs(folder.c_str(), &facts) != 0 || (facts.f_bavail > 0 && (facts.f_files == 0 || facts.f_favail > 0));
}

std::string DescribeExit(const SBxChildResult& child) {
    if (child.end == EBxChildEnd::kCrashed) {
        return std::string(kTool) + " crashed";
    }
    const std::string said = LastLine(child.output);
    return std::string(kTool) +
           (said.empty() ? " failed with status " + std::to_string(child.exitStatus) : ": " + said);
}

// Whether the file begins as a document does, perhaps after some bytes of something else.
bool LooksLikeDocument(const std::string& path) {
    constexpr std::size_t kFarthest = 1024;
    const std::unique_ptr<std::FILE, SFileCloser> file(BX_fopen(path.c_str(), "rb"));
    char start[kFarthest];
    const std::size_t count = file == nullptr ? 0 : std::fread(start, 1, sizeof(start), file.get());
    return file == nullptr || std::string_view(start, count).find("%PDF-") != std::string_view::npos;
}

// `shown` is `reason` in the user's language; the log stays English.
SBxPdfPictures Fail(SBxPdfPictures pictures, const std::string& reason, const std::string& shown) {
    pictures.reason = shown;
    pictures.logLine = std::string("PDF detection failed. The ") + kTool +
                       " finished with errors: " + (pictures.messages.empty() ? "" : pictures.messages + " ") + reason;
    return pictures;
}

}  // namespace

SBxPdfPictures BX_ExtractPdfPictures(const std::string& document, const std::string& toolFolder,
                                     const std::string& folder, const std::function<bool()>& cancelled) {
    SBxPdfPictures pictures;
    const std::string program = toolFolder + kTool;
    const SBxChildResult child = BX_RunChild(program, {document, folder + kRoot}, cancelled);
    pictures.messages = child.output;
    if (child.end == EBxChildEnd::kNotStarted) {
        pictures.logLine = "PDF detection failed. Cannot start " + program + ".";
        pictures.reason = "cannot start " + program + ": " + child.reason;
        return pictures;
    }
    if (child.end == EBxChildEnd::kCancelled) {
        pictures.isCancelled = true;
        pictures.hasFailed = false;
        return pictures;
    }
    if (child.end == EBxChildEnd::kTooSlow) {
        return Fail(pictures, "it took longer than 30 seconds",
                    CBxLocalization::Translate("taking the pictures out of the document took longer than 30 seconds"));
    }
    if (child.end != EBxChildEnd::kExited || child.exitStatus != 0) {
        const std::string reason = DescribeExit(child);
        pictures.isNoDocument = child.end == EBxChildEnd::kExited && !LooksLikeDocument(document);
        return Fail(pictures, reason, pictures.isNoDocument ? CBxLocalization::Translate("it is not a PDF") : reason);
    }
    pictures.pictures = FilesOfKind(folder, "*.ppm");
    pictures.passedOver = FilesOfKind(folder, "*.pbm");
    if (!HasRoom(folder) || !std::all_of(pictures.pictures.begin(), pictures.pictures.end(), IsWhole)) {
        return Fail(pictures, "the disk is full",
                    CBxLocalization::Translate("the pictures do not fit into the folder for temporary files"));
    }
    pictures.hasFailed = false;
    return pictures;
}
