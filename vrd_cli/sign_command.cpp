#include "commands.h"
#include "output_target.h"
#include "sign_check.h"
#include "signing.h"
#include "stopwatch.h"

namespace {

void ReportSigned(const SBxSignRequest& request, const SBxSigningOutcome& outcome, CBxJson record, double seconds,
                  CBxConsole& console) {
    CBxJson carriers = CBxJson::array();
    for (const CBxRect<int>& carrier : outcome.carriers) {
        carriers.push_back({carrier.left, carrier.top, carrier.right, carrier.bottom});
    }
    const bool isJpeg = BX_GetPictureFormat(request.output) == EBxPictureFormat::kJpeg;
    record["carriers"] = carriers;
    record["quality"] = isJpeg ? CBxJson(request.quality) : CBxJson(nullptr);
    record["chroma"] = isJpeg ? CBxJson(request.chroma) : CBxJson(nullptr);
    record["left_behind"] = outcome.leftBehind;
    record["corrected_bits"] = request.check ? CBxJson(outcome.check.correctedBits) : CBxJson(nullptr);
    record["seconds"] = seconds;
    if (outcome.check.shrunkTo.width > 0) {
        record["shrunk_to"] = {outcome.check.shrunkTo.width, outcome.check.shrunkTo.height};
        console.Note(request.output, BX_DescribeShrinking(outcome.check));
    }
    console.Result(record);
    console.Result(BX_PrintableName(request.output) + ": signed with " + request.sign + " in " +
                   std::to_string(outcome.carriers.size()) + (outcome.carriers.size() == 1 ? " place" : " places") +
                   (request.check ? ", and found again in the saved file" : ", not checked"));
}

}  // namespace

EBxExit BX_SignCommand(const SBxSignRequest& request, CBxConsole& console) {
    const CBxStopwatch stopwatch;
    const SBxSigningOutcome outcome = BX_SignPhotograph(request, console.ShowsProgress());
    CBxJson record = {{"file", BX_ValidUtf8(request.photo)},
                      {"output", BX_ValidUtf8(request.output)},
                      {"sign", BX_ValidUtf8(request.sign)}};
    for (const SBxFileNote& note : outcome.notes) {
        console.Note(note.file, note.text);
    }
    switch (outcome.end) {
        case EBxSigningEnd::kSigned:
            ReportSigned(request, outcome, record, stopwatch.Seconds(), console);
            return EBxExit::kDone;
        case EBxSigningEnd::kAlreadySigned:
            record["already_signed"] = BX_ValidUtf8(outcome.foundSign);
            record["seconds"] = stopwatch.Seconds();
            console.Refusal(request.photo, "already signed with " + outcome.foundSign + "; nothing was written",
                            record);
            return EBxExit::kNothing;
        case EBxSigningEnd::kLost:
            console.Error(outcome.fault.file, outcome.fault.text, record);
            return EBxExit::kNothing;
        case EBxSigningEnd::kFailed:
            break;
    }
    if (!BX_GetSignFault(request.sign).empty()) {
        record["would_become"] = BX_GetCarriedSign(request.sign);
    }
    console.Error(outcome.fault.file, outcome.fault.text, record);
    return EBxExit::kError;
}
