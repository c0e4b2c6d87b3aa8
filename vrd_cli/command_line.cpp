#include "command_line.h"

#include <cxxabi.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

#include "commands.h"
#include "memory_shortage.h"
#include "sign_op.h"
#include "stop_request.h"
#include "system_facts.h"
#include "temporary_places.h"
#include "version.h"

namespace {

constexpr int kSignalStatus = 128;  // plus the number of the signal, as shells have it

constexpr char kAbout[] =
    "Hides a short text, the sign, invisibly in a photograph and finds it again after the photograph was saved as "
    "JPEG and rescaled.";

constexpr char kExamples[] = R"(Examples:
  vrd sign photo.jpg -s abc-Z9 -o photo-signed.jpg
  vrd sign photo.png -s Veri-2026x -o signed.jpg -q 80
  vrd detect photo-signed.jpg *.png
  vrd detect --json -- -odd-name.jpg *.jpg
  vrd inspect photo.jpg --overlay places.png
  vrd batch-sign holidays -s abc-Z9
  vrd batch-detect holidays/signed
  vrd pdf-detect brochure.pdf
  vrd survive photo.jpg --html survives.html

Exit status: 0 done; 1 nothing found, or refused because a sign is there already or was lost in saving; 2 an error;
128 and the number of the signal after Ctrl-C or a request to end.
Results go to standard output, one line or (--json) one object for each; everything else to standard error.)";

constexpr char kSignExamples[] =
    R"(A sign has 6 to 10 letters (a-z, A-Z), digits or dashes. The format is told by the ending of OUT: .jpg, .jpeg,
.png, .tif, .tiff, .bmp, in any case. OUT is read back and searched before it takes its name.

Examples:
  vrd sign photo.jpg -s abc-Z9 -o photo-signed.jpg
  vrd sign photo.jpg -s abc-Z9 -o photo-signed.png --force)";

constexpr char kDetectExamples[] =
    R"(Prints "FILE: SIGN" or "FILE: no sign found" for each file. With --deep a sign has (uncertain) behind it when single
letters of it may be wrong.

A LIST holds one name a line, or names that each end with NUL, as find -print0 writes them. --shard i/n takes the files
whose names fall to part i of n, told by the bytes of each name alone: every file falls to exactly one part, whatever
the order of the list, and stays there when files come and go. --resume passes over the files that a search which did
not fail has already added to RESULTS, as long as their size and time are what they were.

Examples:
  vrd detect photo-signed.jpg
  vrd detect --json *.jpg
  vrd detect --deep turned-and-cut.jpg
  find /photos -name '*.jpg' -print0 | vrd detect --files-from - --results all.jsonl --resume
  vrd detect --files-from list.txt --shard 3/16 --results part-3.jsonl --resume)";

constexpr char kInspectExamples[] =
    R"(Prints the corners, the rectangles between them, and (without --detect) those that would carry a sign, in pixels
of the scaled picture.

Examples:
  vrd inspect photo.jpg --overlay places.png
  vrd inspect photo.jpg --detect --zoom 1.3 --json)";

constexpr char kBatchSignExamples[] =
    R"(Signs every picture in FOLDER, not in folders below it, into FOLDER/signed/ under the same names, and replaces what
an earlier run has put there. A JPEG whose sign does not survive is written with rising quality, and at last as
NAME.bmp. Every file is read back and searched before it takes its name. The log is FOLDER/signed/batch_sign.log.

Exit status: 0 all signed; 1 not all; 2 nothing could be done; 128 and the number of the signal after Ctrl-C.

Examples:
  vrd batch-sign holidays -s abc-Z9
  vrd batch-sign holidays -s abc-Z9 -q 80 --json)";

constexpr char kBatchDetectExamples[] =
    R"(Searches every picture in FOLDER, not in folders below it. The log is FOLDER/batch_detect.log.

Examples:
  vrd batch-detect holidays/signed
  vrd batch-detect holidays -t 2 --json)";

constexpr char kPdfDetectExamples[] =
    R"(Searches every picture of the document. The log is Veridane_PDF.log in the folder of the document.

Exit status: 0 a sign found; 1 none; 2 a picture or the document could not be searched.

Examples:
  vrd pdf-detect brochure.pdf)";

constexpr char kSurviveExamples[] =
    R"(Signs a copy in memory and searches copies of it that were saved as JPEG 95 to 50, scaled to 110 % to 45 %, cut,
brightened and turned. Shows which of them the ordinary search reads and which only the deep one. PHOTO is not changed;
one that is signed already is tried with its sign. A hundred copies are searched, which takes minutes with large photos.

Exit status: 0 tried; 1 nothing reads the sign, or PHOTO has another one; 2 an error.

Examples:
  vrd survive --quick photo.jpg
  vrd survive photo.jpg -s abc-Z9 --html survives.html)";

constexpr char kAboutSign[] = "Hide a sign in a photograph";
constexpr char kAboutDetect[] = "Search pictures for a sign";
constexpr char kAboutInspect[] = "Show where a sign would be written or looked for";
constexpr char kAboutBatchSign[] = "Hide a sign in all pictures of a folder";
constexpr char kAboutBatchDetect[] = "Search all pictures of a folder for signs";
constexpr char kAboutPdfDetect[] = "Search the pictures of a PDF document for signs";

constexpr char kAboutSurvive[] = "Try what a sign in a photograph survives";

struct SArguments {
    bool json = false;
    bool quiet = false;
    bool noCheck = false;
    std::string metadata = "any";
    SBxSignRequest sign;
    SBxDetectRequest detect;
    SBxInspectRequest inspect;
    SBxBatchRequest batch;
    SBxPdfRequest pdf;
    SBxSurviveRequest survive;
};

unsigned int DefaultThreads() {
    return std::clamp(static_cast<unsigned int>(BX_GetCPUCount()), 1U, CBxSignOp::kMostThreads);
}

void AddThreads(CLI::App& command, unsigned int& threads) {
    threads = DefaultThreads();
    command.add_option("-t,--threads", threads, "Threads to search with; at most 12 are used")
        ->type_name("N")
        ->check(CLI::Range(1U, 100000U).description(""))
        ->capture_default_str();
}

void AddDeep(CLI::App& command, bool& deep) {
    command.add_flag(
        "--deep", deep,
        "Search harder where nothing is found: turned, mirrored, cut, brightened, badly compressed pictures");
}

void AddCommon(CLI::App& command, SArguments& arguments) {
    command.add_flag("--json", arguments.json, "Print one JSON object a line, errors included");
    command.add_flag("--quiet", arguments.quiet, "Print results and errors only: no progress, no notes");
}

void DescribeSign(CLI::App& command, SArguments& arguments) {
    SBxSignRequest& request = arguments.sign;
    command.add_option("PHOTO", request.photo, "The photograph; it is not changed")->required()->type_name("");
    command.add_option("-s,--sign", request.sign, "The sign")->required()->type_name("SIGN");
    command.add_option("-o,--output", request.output, "The signed picture")->required()->type_name("OUT");
    command.add_option("-q,--quality", request.quality, "Quality of a JPEG")
        ->type_name("1..100")
        ->check(CLI::Range(1, 100).description(""))
        ->capture_default_str();
    command.add_option("--chroma", request.chroma, "Colour of a JPEG: for 2 x 2 pixels (420) or for each pixel (444)")
        ->type_name("444|420")
        ->check(CLI::IsMember({420, 444}).description(""))
        ->capture_default_str();
    command
        .add_option("--metadata", arguments.metadata,
                    "EXIF and IPTC data of a JPEG: those that PHOTO has (any), both or nothing (both), none")
        ->type_name("any|both|none")
        ->check(CLI::IsMember({"any", "both", "none"}).description(""))
        ->capture_default_str();
    command.add_option("--flatten", request.flatten, "Put this colour (#rrggbb or a name) behind a transparent PHOTO")
        ->type_name("COLOUR");
    AddThreads(command, request.threads);
    command.add_flag("--force", request.force, "Replace OUT when it exists, even when it is PHOTO");
    command.add_flag("--no-check", arguments.noCheck, "Do not search the saved picture for the sign");
    AddCommon(command, arguments);
    command.footer(kSignExamples);
}

void DescribeDetect(CLI::App& command, SArguments& arguments) {
    SBxDetectRequest& request = arguments.detect;
    command.add_option("FILE", request.files, "Pictures to search")->type_name("");
    command.add_option("--files-from", request.list, "Search the files named in LIST too (- for standard input)")
        ->type_name("LIST");
    command.add_option("--shard", request.shard, "Search only the i-th of n parts of all files")->type_name("i/n");
    command.add_option("--results", request.results, "Add the results to this file too, one JSON object a line")
        ->type_name("RESULTS");
    command.add_flag("--resume", request.resume, "Go on with the RESULTS that are there");
    AddDeep(command, arguments.detect.deep);
    AddThreads(command, arguments.detect.threads);
    AddCommon(command, arguments);
    command.footer(kDetectExamples);
}

void DescribeInspect(CLI::App& command, SArguments& arguments) {
    SBxInspectRequest& request = arguments.inspect;
    command.add_option("PHOTO", request.photo, "The photograph; it is not changed")->required()->type_name("");
    command.add_flag("--detect", request.detection, "As detection sees it, not as insertion");
    command.add_option("--zoom", request.zoom, "With --detect: scale by this first (0.05 to 10; 1 unless told)")
        ->type_name("Z")
        ->check(CLI::Range(0.05, 10.0).description(""));
    command.add_option("--overlay", request.overlay, "Draw all of it into a copy of the scaled photograph")
        ->type_name("OUT.png");
    command.add_flag("--force", request.force, "Replace the overlay when it exists");
    AddCommon(command, arguments);
    command.footer(kInspectExamples);
}

void DescribeBatchSign(CLI::App& command, SArguments& arguments) {
    SBxBatchRequest& request = arguments.batch;
    command.add_option("FOLDER", request.folder, "The folder; its files are not changed")->required()->type_name("");
    command.add_option("-s,--sign", request.sign, "The sign")->required()->type_name("SIGN");
    command.add_option("-q,--quality", request.quality, "Quality that JPEG files are tried with first")
        ->type_name("0..100")
        ->check(CLI::Range(0, 100).description(""))
        ->capture_default_str();
    AddThreads(command, request.threads);
    AddCommon(command, arguments);
    command.footer(kBatchSignExamples);
}

void DescribeBatchDetect(CLI::App& command, SArguments& arguments) {
    command.add_option("FOLDER", arguments.batch.folder, "The folder")->required()->type_name("");
    AddDeep(command, arguments.batch.deep);
    AddThreads(command, arguments.batch.threads);
    AddCommon(command, arguments);
    command.footer(kBatchDetectExamples);
}

void DescribePdfDetect(CLI::App& command, SArguments& arguments) {
    command.add_option("FILE", arguments.pdf.document, "The document")->required()->type_name("");
    AddDeep(command, arguments.pdf.deep);
    AddThreads(command, arguments.pdf.threads);
    AddCommon(command, arguments);
    command.footer(kPdfDetectExamples);
}

void DescribeSurvive(CLI::App& command, SArguments& arguments) {
    SBxSurviveRequest& request = arguments.survive;
    command.add_option("PHOTO", request.photo, "The photograph; it is not changed")->required()->type_name("");
    command.add_option("-s,--sign", request.sign, "The sign; without it the one of PHOTO, or one for the trial")
        ->type_name("SIGN");
    command.add_option("--html", request.page, "Write a page with the picture and coloured tables")->type_name("OUT");
    command.add_flag("--quick", request.quick, "Try a dozen copies instead of a hundred");
    AddThreads(command, request.threads);
    command.add_flag("--force", request.force, "Replace OUT when it exists");
    AddCommon(command, arguments);
    command.footer(kSurviveExamples);
}

struct SCommand {
    const char* name;
    const char* about;
    void (*describe)(CLI::App& command, SArguments& arguments);
    EBxExit (*run)(SArguments& arguments, CBxConsole& console);
};

const SCommand kCommands[] = {
    {"sign", kAboutSign, DescribeSign,
     [](SArguments& arguments, CBxConsole& console) {
         arguments.sign.check = !arguments.noCheck;
         arguments.sign.metadata = arguments.metadata == "any"    ? EBxMetadataRule::kAny
                                   : arguments.metadata == "both" ? EBxMetadataRule::kBoth
                                                                  : EBxMetadataRule::kNone;
         return BX_SignCommand(arguments.sign, console);
     }},
    {"detect", kAboutDetect, DescribeDetect,
     [](SArguments& arguments, CBxConsole& console) { return BX_DetectCommand(arguments.detect, console); }},
    {"inspect", kAboutInspect, DescribeInspect,
     [](SArguments& arguments, CBxConsole& console) { return BX_InspectCommand(arguments.inspect, console); }},
    {"batch-sign", kAboutBatchSign, DescribeBatchSign,
     [](SArguments& arguments, CBxConsole& console) { return BX_BatchSignCommand(arguments.batch, console); }},
    {"batch-detect", kAboutBatchDetect, DescribeBatchDetect,
     [](SArguments& arguments, CBxConsole& console) { return BX_BatchDetectCommand(arguments.batch, console); }},
    {"pdf-detect", kAboutPdfDetect, DescribePdfDetect,
     [](SArguments& arguments, CBxConsole& console) { return BX_PdfDetectCommand(arguments.pdf, console); }},
    {"survive", kAboutSurvive, DescribeSurvive,
     [](SArguments& arguments, CBxConsole& console) { return BX_SurviveCommand(arguments.survive, console); }},
};

bool AsksForJson(const std::vector<std::string>& words) {
    return std::find(words.begin(), words.end(), "--json") != words.end();
}

// Errors of the command line itself are told as JSON too when that was asked for.
int ReportUsage(const CLI::App& app, const CLI::ParseError& error, const std::vector<std::string>& words) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
        return app.exit(error);  // help and version
    }
    CBxConsole console(AsksForJson(words), false);
    console.Error("", std::string(error.what()) + " (" + app.get_name() + " --help tells more)");
    return static_cast<int>(EBxExit::kError);
}

// Parses the words of one command and runs it. Each command is parsed on its own, so that a file may be named like
// another command, and "--" may stand anywhere before names.
int ParseAndRunCommand(const SCommand& command, const std::vector<std::string>& words) {
    SArguments arguments;
    CLI::App app(command.about, std::string("vrd ") + command.name);
    command.describe(app, arguments);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError& error) {
        return ReportUsage(app, error, words);
    }
    CBxConsole console(arguments.json, arguments.quiet);
    BX_CatchStopSignals();
    EBxExit status = command.run(arguments, console);
    if (!console.Finish()) {
        std::fputs("vrd: the results could not be written to standard output\n", stderr);
        status = EBxExit::kError;
    }
    const bool wasInterrupted = status == EBxExit::kError && BX_IsStopRequested();
    return wasInterrupted ? kSignalStatus + BX_GetStopSignal() : static_cast<int>(status);
}

// A command line without a command that is known: asks for help or the version, or is wrong.
int AnswerWithoutCommand(const std::vector<std::string>& words) {
    CLI::App app(kAbout, "vrd");
    app.set_version_flag("--version", "vrd " VERIDANE_VERSION);
    SArguments ignored;
    AddCommon(app, ignored);
    app.footer(kExamples);
    app.require_subcommand(1);
    for (const SCommand& command : kCommands) {
        app.add_subcommand(command.name, command.about);
    }
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError& error) {
        return ReportUsage(app, error, words);
    }
    return static_cast<int>(EBxExit::kError);
}

int ParseAndRun(std::vector<std::string> words) {
    // Numbers on the command line and in JSON have a point whatever the user's language.
    std::setlocale(LC_NUMERIC, "C");
    const auto isCommon = [](const std::string& word) { return word == "--quiet" || word == "--json"; };
    const auto name = std::find_if_not(words.begin(), words.end(), isCommon);
    for (const SCommand& command : kCommands) {
        if (name != words.end() && *name == command.name) {
            words.erase(name);  // what stood before it goes for the command too
            return ParseAndRunCommand(command, words);
        }
    }
    if (name != words.end() && name->rfind('-', 0) != 0) {
        CBxConsole(AsksForJson(words), false).Error(*name, "there is no such command; vrd --help names them");
        return static_cast<int>(EBxExit::kError);
    }
    return AnswerWithoutCommand(words);
}

// For exceptions that nobody can catch: of the toolkit where it promises none, and of threads. Nothing is unwound, so
// what is temporary is taken away here.
[[noreturn]] void EndAtOnce() {
    BX_RemoveTemporaryPlaces();
    const std::type_info* const type = abi::__cxa_current_exception_type();
    if (type == nullptr || *type != typeid(std::bad_alloc)) {
        std::abort();
    }
    constexpr char kMessage[] = "vrd: there is not enough memory\n";
    ::write(STDERR_FILENO, kMessage, sizeof(kMessage) - 1);
    ::_exit(static_cast<int>(EBxExit::kError));
}

}  // namespace

int BX_RunCommandLine(int argc, char** argv) {
    std::set_terminate(EndAtOnce);
    int status = static_cast<int>(EBxExit::kError);
    try {
        status = ParseAndRun(std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
    } catch (const std::bad_alloc&) {
        BX_NoteMemoryShortage();
        std::fputs("vrd: there is not enough memory\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vrd: %s\n", error.what());
    }
    if (BX_HadMemoryShortage()) {
        std::fflush(nullptr);
        ::_exit(status);
    }
    return status;
}
