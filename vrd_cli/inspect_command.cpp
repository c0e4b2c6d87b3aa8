#include <cstdio>

#include "commands.h"
#include "convert_picture.h"
#include "inspection.h"
#include "large_picture.h"
#include "output_target.h"
#include "result.h"
#include "stop_request.h"

namespace {

CBxJson ToJson(const std::vector<SBxCorner>& corners) {
    CBxJson list = CBxJson::array();
    for (const SBxCorner& corner : corners) {
        list.push_back({corner.position.x, corner.position.y, corner.strength});
    }
    return list;
}

CBxJson ToJson(const std::vector<CBxRect<double>>& rectangles) {
    CBxJson list = CBxJson::array();
    for (const CBxRect<double>& rectangle : rectangles) {
        list.push_back({rectangle.left, rectangle.top, rectangle.right, rectangle.bottom});
    }
    return list;
}

void PrintCorners(const char* title, const std::vector<SBxCorner>& corners, CBxConsole& console) {
    console.Result(std::string(title) + ": " + std::to_string(corners.size()));
    for (const SBxCorner& corner : corners) {
        char line[100];
        std::snprintf(line, sizeof(line), "  %9.3f %9.3f  strength %.6g", corner.position.x, corner.position.y,
                      static_cast<double>(corner.strength));
        console.Result(std::string(line));
    }
}

void PrintRectangles(const char* title, const std::vector<CBxRect<double>>& rectangles, CBxConsole& console) {
    console.Result(std::string(title) + ": " + std::to_string(rectangles.size()));
    for (const CBxRect<double>& rectangle : rectangles) {
        char line[100];
        std::snprintf(line, sizeof(line), "  %9.3f %9.3f  to %9.3f %9.3f", rectangle.left, rectangle.top,
                      rectangle.right, rectangle.bottom);
        console.Result(std::string(line));
    }
}

void Report(const SBxInspectRequest& request, const SBxInspection& inspection, CBxConsole& console) {
    const SBxPicBuf& scaled = inspection.scaled.Pic();
    CBxJson record = {{"file", BX_ValidUtf8(request.photo)},
                      {"width", scaled.m_iWidth},
                      {"height", scaled.m_iHeight},
                      {"zoom", request.zoom},
                      {"dark", ToJson(inspection.dark)},
                      {"bright", ToJson(inspection.bright)},
                      {"rectangles", ToJson(inspection.rectangles)}};
    if (!request.detection) {
        record["carriers"] = ToJson(inspection.carriers);
    }
    console.Result(record);

    char title[200];
    std::snprintf(title, sizeof(title), ": %d x %d pixels at zoom %.4g, as %s sees it", scaled.m_iWidth,
                  scaled.m_iHeight, request.zoom, request.detection ? "detection" : "insertion");
    console.Result(BX_PrintableName(request.photo) + title);
    PrintCorners("corners of the dark half", inspection.dark, console);
    PrintCorners("corners of the bright half", inspection.bright, console);
    PrintRectangles("rectangles", inspection.rectangles, console);
    if (!request.detection) {
        PrintRectangles("carriers", inspection.carriers, console);
    }
}

EBxExit Fail(const std::string& file, const std::string& reason, const SBxInspectRequest& request,
             CBxConsole& console) {
    console.Error(file, reason, {{"file", BX_ValidUtf8(request.photo)}});
    return EBxExit::kError;
}

std::string DescribeFailure(unsigned char result, const SBxInspectRequest& request) {
    if (result == kBxOutOfMemory) {
        return "there is not enough memory";
    }
    if (BX_IsStopRequested()) {
        return "interrupted";
    }
    return request.detection ? "scaled by this zoom it is empty, or larger than the 20 megapixels that are searched"
                             : "it is larger than the 40 megapixels that can be signed";
}

bool WriteOverlay(const SBxInspectRequest& request, SBxInspection& inspection, SBxFileReport& report) {
    BX_DrawInspection(inspection);
    SBxWriteOptions options;
    options.replaceExisting = request.force;
    options.accept = [](SBxPicBuf&, SBxFileReport& why) {
        if (BX_IsStopRequested()) {
            why.SetReason("interrupted");
        }
        return !BX_IsStopRequested();
    };
    return CBxConvertPicture::WriteOutputFile(&inspection.scaled.Pic(), request.overlay.c_str(), options, report) ==
           kBxSuccess;
}

}  // namespace

EBxExit BX_InspectCommand(const SBxInspectRequest& request, CBxConsole& console) {
    if (!request.detection && request.zoom != 1.0) {
        return Fail("", "--zoom goes with --detect: insertion sees a picture at zoom 1 only", request, console);
    }
    if (!request.overlay.empty()) {
        const std::string fault = BX_GetOutputFault(request.overlay, request.photo, request.force);
        if (!fault.empty()) {
            return Fail(request.overlay, fault, request, console);
        }
    }
    SBxFileReport report;
    SBxPicBuf* picture = nullptr;
    const int readResult = CBxConvertPicture::ReadInputFile(picture, request.photo.c_str(), report);
    const CBxPicBufHolder holder(picture);
    if (readResult != kBxSuccess) {
        return Fail(request.photo, report.m_szReason, request, console);
    }
    if (report.HasWarning()) {
        console.Note(request.photo, report.m_szWarning);
    }
    SBxInspection inspection;
    const unsigned char result = request.detection ? BX_InspectForDetection(inspection, *picture, request.zoom)
                                                   : BX_InspectForInsertion(inspection, *picture);
    if (result != kBxSuccess) {
        return Fail(request.photo, DescribeFailure(result, request), request, console);
    }
    SBxFileReport overlayReport;
    if (!request.overlay.empty() && !WriteOverlay(request, inspection, overlayReport)) {
        return Fail(request.overlay, overlayReport.m_szReason, request, console);
    }
    Report(request, inspection, console);
    return EBxExit::kDone;
}
