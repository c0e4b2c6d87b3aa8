// Detection over all zooms, on one thread or on several.
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "localization.h"
#include "result.h"
#include "sign_format.h"
#include "sign_op.h"
#include "zoom_search.h"

namespace {

// For 2 to 12 threads: zoom indices by position, picked so that the threads' shares of pixels come out even.
constexpr unsigned char kSchedules[11][kZooms] = {
    {0, 1, 23, 22, 2, 3, 21, 20, 4, 5, 19, 18, 6, 7, 17, 16, 8, 9, 15, 14, 10, 11, 13, 12},
    {14, 1, 21, 0, 13, 2, 23, 4, 8, 6, 7, 18, 9, 16, 15, 17, 10, 12, 20, 19, 5, 3, 22, 11},
    {0, 1, 21, 20, 15, 14, 6, 7, 23, 22, 2, 3, 4, 5, 13, 12, 19, 18, 10, 11, 8, 9, 17, 16},
    {0, 1, 2, 9, 18, 23, 22, 15, 14, 10, 17, 16, 7, 8, 3, 4, 5, 6, 21, 20, 19, 11, 12, 13},
    {0, 1, 2, 3, 4, 5, 23, 22, 21, 14, 13, 12, 6, 7, 8, 9, 10, 11, 17, 16, 15, 20, 19, 18},
    {0, 1, 2, 3, 4, 5, 6, 23, 22, 21, 20, 19, 18, 17, 7, 8, 9, 10, 11, 12, 13, 16, 15, 14},
    {0, 1, 2, 3, 4, 5, 6, 7, 23, 22, 21, 20, 19, 18, 17, 16, 8, 9, 10, 11, 12, 13, 14, 15},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 23, 22, 21, 20, 19, 18, 17, 16, 15, 9, 10, 11, 12, 13, 14},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14, 10, 11, 12, 13},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14, 13, 11, 12},
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14, 13, 12},
};

bool Aborted(const SBxSignRun& run) {
    return run.m_iAbortDetecting.load(std::memory_order_relaxed) > 0;
}

// Runs the zoom at one position of a thread's share. Returns its result.
unsigned char RunPosition(SBxZoomThread& thread, unsigned int position) {
    const double zoom = BX_ZoomOfIndex(thread.m_uiOrder[position]);
    const unsigned char result =
        BX_SearchZoom(*thread.m_pRun, *thread.m_pPicture, thread.m_pResult, thread.m_Finding, zoom, *thread.m_pMemory);
    if (result == kBxSuccess) {
        thread.m_pRun->m_iStopDetecting.store(static_cast<std::int32_t>(thread.m_uiThread), std::memory_order_relaxed);
    } else if (result == kBxOutOfMemory) {
        thread.m_bOutOfMemory = true;
        CBxSignOp::LogErrorDetail("Out of memory with zoom %.2lf!", zoom);
    }
    return result;
}

// The share of a started thread: progress after each zoom. Returns the last zoom's result.
unsigned char RunWorkerShare(SBxZoomThread& thread) {
    unsigned char last = 0;
    for (unsigned int position = thread.m_uiThread; position < thread.m_uiEntries; position += thread.m_uiStep) {
        if (Aborted(*thread.m_pRun)) {
            break;
        }
        last = RunPosition(thread, position);
        thread.m_pRun->m_ProgressData.AddPercentage(thread.m_pRun->m_dProgressDelta);
    }
    return last;
}

// The share of the calling thread: progress before each zoom.
unsigned char RunCallerShare(SBxZoomThread& thread) {
    unsigned char last = kBxFailure;
    for (unsigned int position = 0; position < thread.m_uiEntries; position += thread.m_uiStep) {
        thread.m_pRun->m_ProgressData.AddPercentage(thread.m_pRun->m_dProgressDelta);
        if (Aborted(*thread.m_pRun)) {
            break;
        }
        last = RunPosition(thread, position);
    }
    return last;
}

// Waits for a started thread and returns its last result.
unsigned char JoinThread(pthread_t handle) {
    void* word = nullptr;
    pthread_join(handle, &word);
    const int result = word != nullptr ? *static_cast<int*>(word) : kBxOutOfMemory;
    std::free(word);
    return static_cast<unsigned char>(result);
}

// A search on several threads.
struct SThreadedSearch {
    SBxZoomThread shares[CBxSignOp::kMostThreads];
    char blocks[CBxSignOp::kMostThreads][CBxSignOp::kTextBytes];
    pthread_t handles[CBxSignOp::kMostThreads];
    bool started[CBxSignOp::kMostThreads];

    SThreadedSearch(SBxSignRun& run, const CBxSearchPicture* picture, CBxStrengthMemory* memory)
        : shares{}, blocks{}, handles{}, started{} {
        for (unsigned int t = 0; t < run.m_uiNoOfThreads; ++t) {
            SBxZoomThread& share = shares[t];
            share = {t, run.m_uiNoOfThreads, kZooms, blocks[t], picture, memory, {}, &run, {}, false};
            CBxSignOp::GetThreadShedule(share.m_uiOrder, run.m_uiNoOfThreads);
        }
    }

    // Runs all shares. Returns 6 when the last zoom of any of them ran out of memory, else another code.
    unsigned char RunAll(unsigned int threads) {
        for (unsigned int t = 1; t < threads; ++t) {
            started[t] = pthread_create(&handles[t], nullptr, CBxSignOp::PicThreadProcZoom, &shares[t]) == 0;
        }
        unsigned char result = RunCallerShare(shares[0]);
        for (unsigned int t = 1; t < threads; ++t) {
            // A thread that could not be started leaves its zooms to the caller.
            const unsigned char last = started[t] ? JoinThread(handles[t]) : RunWorkerShare(shares[t]);
            result = last == kBxOutOfMemory ? last : result;
        }
        return result;
    }

    bool AnyOutOfMemory() const {
        return std::any_of(shares, shares + CBxSignOp::kMostThreads,
                           [](const SBxZoomThread& share) { return share.m_bOutOfMemory; });
    }
};

}  // namespace

void CBxSignOp::GetThreadShedule(unsigned int* order) {
    GetThreadShedule(order, m_uiNoOfThreads);
}

void CBxSignOp::GetThreadShedule(unsigned int* order, unsigned int threads) {
    const unsigned int row = threads >= 2 && threads <= kMostThreads ? threads - 2 : kMostThreads - 2;
    std::copy(kSchedules[row], kSchedules[row] + kZooms, order);
}

void* CBxSignOp::PicThreadProcZoom(void* parameter) {
    auto* thread = static_cast<SBxZoomThread*>(parameter);
    auto* word = static_cast<int*>(std::calloc(1, sizeof(int)));
    if (word == nullptr) {
        thread->m_bOutOfMemory = true;
        return nullptr;
    }
    *word = RunWorkerShare(*thread);
    return word;
}

unsigned char CBxSignOp::ExtractTextFromPicture_1thread(SBxPicBuf* picture, char* text) {
    return ExtractTextFromPicture_1thread(m_DefaultRun, picture, text);
}

unsigned char CBxSignOp::ExtractTextFromPicture_1thread(SBxSignRun& run, SBxPicBuf* picture, char* text) {
    CBxSearchPicture shared;
    if (!shared.Prepare(*picture, kFirstZoom)) {
        return kBxOutOfMemory;
    }
    CBxStrengthMemory memory;
    unsigned char result = kBxFailure;
    for (unsigned int index = 0; index < kZooms; ++index) {
        if (Aborted(run)) {
            return kBxFailure;
        }
        const double zoom = BX_ZoomOfIndex(index);
        result = BX_SearchZoom(run, shared, text, run.m_Finding, zoom, memory);
        if (result == kBxSuccess) {
            return result;
        }
        if (result == kBxOutOfMemory) {
            LogErrorDetail("Out of memory with zoom %.2lf!", zoom);
            return result;
        }
        run.m_ProgressData.AddPercentage(run.m_dProgressDelta);
    }
    return result;
}

unsigned char CBxSignOp::ExtractTextFromPicture_Nthread(SBxPicBuf* picture, char* text) {
    return ExtractTextFromPicture_Nthread(m_DefaultRun, picture, text);
}

unsigned char CBxSignOp::ExtractTextFromPicture_Nthread(SBxSignRun& run, SBxPicBuf* picture, char* text) {
    run.m_uiNoOfThreads = std::clamp(run.m_uiNoOfThreads, 1U, kMostThreads);
    CBxSearchPicture shared;
    if (!shared.Prepare(*picture, kFirstZoom)) {
        return kBxOutOfMemory;
    }
    CBxStrengthMemory memory;
    SThreadedSearch search(run, &shared, &memory);
    if (search.RunAll(run.m_uiNoOfThreads) == kBxOutOfMemory) {
        return kBxOutOfMemory;
    }
    const std::int32_t finder = run.m_iStopDetecting.load(std::memory_order_relaxed);
    if (finder < 0) {
        // A zoom that could not be searched may have held the sign: that is no "not found".
        return search.AnyOutOfMemory() ? kBxOutOfMemory : kBxFailure;
    }
    std::memcpy(text, search.blocks[finder], kBlockCodes + 1);
    run.m_Finding = search.shares[finder].m_Finding;
    return kBxSuccess;
}

unsigned char CBxSignOp::ExtractTextFromPicture(SBxPicBuf* picture, char* text, unsigned int threads) {
    return ExtractTextFromPicture(m_DefaultRun, picture, text, threads);
}

unsigned char CBxSignOp::ExtractTextFromPicture(SBxSignRun& run, SBxPicBuf* picture, char* text, unsigned int threads) {
    if (picture == nullptr || text == nullptr) {
        return kBxFailure;
    }
    run.m_uiNoOfThreads = std::clamp(threads, 1U, kMostThreads);
    if (run.m_dProgressDelta == 0.0) {
        run.m_dProgressDelta = 100.0 / kZooms;
    }
    GenerateHashPole();
    run.m_iStopDetecting.store(-1, std::memory_order_relaxed);
    run.m_iAbortDetecting.store(0, std::memory_order_relaxed);
    run.m_ProgressData.SetText(CBxLocalization::Translate("Detecting a signature"));

    std::memset(text, 0, kBlockCodes + 1);
    const unsigned char result = run.m_uiNoOfThreads == 1 ? ExtractTextFromPicture_1thread(run, picture, text)
                                                          : ExtractTextFromPicture_Nthread(run, picture, text);
    char signText[kTextCodes + 1] = {};
    std::strncpy(signText, text + kCheckCodes, kTextCodes);
    std::memcpy(text, signText, sizeof signText);
    if (result != kBxSuccess && result != kBxOutOfMemory && Aborted(run)) {
        return kBxFailure;
    }
    return result;
}
