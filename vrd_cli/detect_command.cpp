#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "commands.h"
#include "convert_picture.h"
#include "memory_shortage.h"
#include "name_list.h"
#include "picture_reader.h"
#include "picture_search.h"
#include "result.h"
#include "results_file.h"
#include "run_watcher.h"
#include "search_report.h"
#include "side_by_side.h"
#include "stop_request.h"
#include "stopwatch.h"

namespace {

// What became of one file.
struct SFileSearch {
    std::string fault;    // why it could not be searched; empty otherwise
    std::string warning;  // what is odd about a file that was read all the same
    bool isInterrupted = false;
    SBxSearchResult result;
    double seconds = 0.0;
};

CBxJson RecordOf(const SFileSearch& search, const std::string& file, EBxSearchDepth depth) {
    CBxJson record = {{"file", BX_ValidUtf8(file)}};
    if (!search.fault.empty()) {
        record["error"] = BX_ValidUtf8(search.fault);
        return record;
    }
    BX_DescribeSearch(record, search.result, search.seconds);
    if (depth == EBxSearchDepth::Deep) {
        BX_DescribeDepth(record, search.result);
    }
    return record;
}

// Names the command that searches what is no picture but holds some; empty otherwise.
std::string OtherCommandFor(const std::string& file) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) {
        return "; vrd batch-detect searches folders";
    }
    std::string ending = std::filesystem::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return std::filesystem::is_regular_file(file, error) && ending == ".pdf" ? "; vrd pdf-detect searches documents"
                                                                             : "";
}

// Reads and searches one file; may run beside others.
void SearchFile(SFileSearch& search, const std::string& file, unsigned int threads, EBxSearchDepth depth,
                bool showProgress) {
    const CBxStopwatch stopwatch;
    SBxFileReport report;
    SBxPicBuf* picture = nullptr;
    const bool isRead = CBxConvertPicture::ReadInputFile(picture, file.c_str(), report) == kBxSuccess;
    const CBxPicBufHolder holder(picture);
    if (!isRead) {
        search.fault = report.m_szReason + OtherCommandFor(file);
        return;
    }
    search.warning = report.m_szWarning;
    SBxSignRun run;
    const CBxRunWatcher watcher(run, showProgress, BX_PrintableName(file));
    search.result = BX_SearchPicture(run, *picture, threads, depth);
    search.isInterrupted = search.result.code == kBxFailure && BX_IsStopRequested();
    if (search.isInterrupted || search.result.code == kBxOutOfMemory) {
        search.fault = search.isInterrupted ? "interrupted" : "there is not enough memory";
    }
    search.seconds = stopwatch.Seconds();
}

// The searches of one command, and what it has found so far.
class CDetection {
public:
    CDetection(const SBxDetectRequest& request, CBxConsole& console)
        : m_Request(request),
          m_Depth(request.deep ? EBxSearchDepth::Deep : EBxSearchDepth::Ordinary),
          m_Console(console) {}

    EBxExit Run() {
        if (!ListFiles() || !OpenResults()) {
            return EBxExit::kError;
        }
        Search();
        FinishResults();
        if (m_bHasFailed || BX_IsStopRequested()) {
            return EBxExit::kError;
        }
        return m_bHasFound ? EBxExit::kDone : EBxExit::kNothing;
    }

private:
    bool Fail(const std::string& file, const std::string& reason) {
        m_Console.Error(file, reason);
        m_bHasFailed = true;
        return false;
    }

    bool ListFiles() {
        SBxShard shard;
        if (m_Request.files.empty() && m_Request.list.empty()) {
            return Fail("", "FILE or --files-from LIST is required (vrd detect --help tells more)");
        }
        if (!m_Request.shard.empty() && !BX_ParseShard(shard, m_Request.shard)) {
            return Fail("", "\"" + m_Request.shard + "\" is no shard: 3/16 is the third of 16");
        }
        m_Files = m_Request.files;
        if (!m_Request.list.empty()) {
            const std::string fault = BX_ReadNames(m_Files, m_Request.list);
            if (!fault.empty()) {
                return Fail(m_Request.list, "the list cannot be read: " + fault);
            }
        }
        std::erase_if(m_Files, [&shard](const std::string& file) { return !shard.Holds(file); });
        return true;
    }

    bool OpenResults() {
        if (m_Request.results.empty()) {
            return !m_Request.resume || Fail("", "--resume goes with --results");
        }
        const std::string fault = m_Results.Open(m_Request.results, m_Request.resume);
        if (!fault.empty()) {
            return Fail(m_Request.results, fault);
        }
        const std::size_t all = m_Files.size();
        std::erase_if(m_Files, [this](const std::string& file) {
            const CBxResultsFile::EState state = m_Results.StateOf(file, m_Request.deep);
            m_bHasFound |= state == CBxResultsFile::EState::Found;
            return state != CBxResultsFile::EState::NotSearched;
        });
        m_Results.ForgetStates();
        if (m_Files.size() < all) {
            m_Console.Note("", std::to_string(all - m_Files.size()) + " of " + std::to_string(all) +
                                   " files are in the results already and not searched again");
        }
        return true;
    }

    void Search() {
        const SBxWorkShare share = BX_ShareWork(m_Files.size(), m_Request.threads);
        const bool barOfOne = m_Console.ShowsProgress() && share.workers == 1;
        const bool countOfMany = m_Console.ShowsProgress() && share.workers > 1;
        std::size_t reported = 0;
        BX_LoadPictureDecoders();
        BX_RunSideBySide(
            m_Files.size(), share.workers, [&](std::size_t i) { SearchOne(i, share.threadsPerFile, barOfOne); },
            [&](std::size_t i) {
                if (countOfMany) {
                    m_Console.WipeCount();
                }
                Report(TakeFinished(i), m_Files[i]);
                if (countOfMany && ++reported < m_Files.size()) {
                    m_Console.ShowCount(reported, m_Files.size());
                }
            },
            [this] { return BX_IsStopRequested() || m_Results.HasFailed(); });
        if (countOfMany) {
            m_Console.WipeCount();
        }
    }

    // On one of several threads. A result is written as soon as it is there, so that a run that is killed loses only
    // what it is just working on.
    void SearchOne(std::size_t index, unsigned int threads, bool showProgress) {
        const std::string& file = m_Files[index];
        SFileSearch search;
        try {
            const SBxFileIdentity identity = m_Results.IsOpen() ? BX_IdentifyFile(file) : SBxFileIdentity();
            SearchFile(search, file, threads, m_Depth, showProgress);
            if (m_Results.IsOpen() && !search.isInterrupted) {
                m_Results.Append(file, identity, m_Request.deep, RecordOf(search, file, m_Depth));
            }
        } catch (const std::bad_alloc&) {
            BX_NoteMemoryShortage();
            search.fault = "there is not enough memory";
        }
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Finished[index] = std::move(search);
    }

    SFileSearch TakeFinished(std::size_t index) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return std::move(m_Finished.extract(index).mapped());
    }

    void Report(const SFileSearch& search, const std::string& file) {
        if (!search.warning.empty()) {
            m_Console.Note(file, search.warning);
        }
        if (!search.fault.empty()) {
            m_Console.Error(file, search.fault, {{"file", BX_ValidUtf8(file)}});
            m_bHasFailed = true;
            return;
        }
        if (search.result.shrunkTo.width > 0) {
            m_Console.Note(file, BX_DescribeShrinking(search.result));
        }
        m_Console.Result(RecordOf(search, file, m_Depth));
        m_Console.Result(BX_PrintableName(file) + ": " + BX_TellSign(search.result));
        m_bHasFound |= search.result.code == kBxSuccess;
    }

    void FinishResults() {
        const std::string fault = m_Results.IsOpen() ? m_Results.Finish() : std::string();
        if (!fault.empty()) {
            Fail(m_Request.results, "the results cannot be written: " + fault);
        }
    }

    const SBxDetectRequest& m_Request;
    const EBxSearchDepth m_Depth;
    CBxConsole& m_Console;
    std::vector<std::string> m_Files;
    CBxResultsFile m_Results;
    bool m_bHasFailed = false;
    bool m_bHasFound = false;
    std::mutex m_Mutex;
    std::map<std::size_t, SFileSearch> m_Finished;  // and not reported yet; guarded by the mutex
};

}  // namespace

EBxExit BX_DetectCommand(const SBxDetectRequest& request, CBxConsole& console) {
    return CDetection(request, console).Run();
}
