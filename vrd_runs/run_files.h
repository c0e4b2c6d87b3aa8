// The loop of a run over many pictures.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <new>

#include "memory_shortage.h"
#include "run_context.h"
#include "side_by_side.h"
#include "stopwatch.h"

// Works on files 0 .. count - 1, several at a time, and reports each on the calling thread in the order of the list;
// then it counts as processed. No file is begun after the run was cancelled. Only what is finished out of turn is kept,
// so that memory does not grow with the number of files.
//
//   work     fills the outcome of file `index`; searches on `threads` threads. Called on several threads.
//   report   is given what became of it
//   isOver   ends the run like a cancel; called on several threads
template <typename TOutcome>
void BX_RunFiles(
    const SBxRunContext& context, std::size_t count,
    const std::function<void(TOutcome& outcome, std::size_t index, unsigned int threads)>& work,
    const std::function<void(const TOutcome& outcome)>& report,
    const std::function<bool()>& isOver = [] { return false; }) {
    const SBxWorkShare share = BX_ShareWork(count, BX_GetThreadsOfRun(context.threads));
    std::mutex mutex;
    std::map<std::size_t, TOutcome> finished;  // guarded by the mutex
    std::size_t processed = 0;
    BX_RunSideBySide(
        count, share.workers,
        [&](std::size_t index) {
            const CBxStopwatch stopwatch;
            TOutcome outcome;
            try {
                work(outcome, index, share.threadsPerFile);
            } catch (const std::bad_alloc&) {
                BX_NoteMemoryShortage();
                outcome.reason = "there is not enough memory";
            }
            outcome.seconds = stopwatch.Seconds();
            const std::lock_guard<std::mutex> lock(mutex);
            finished[index] = std::move(outcome);
        },
        [&](std::size_t index) {
            std::unique_lock<std::mutex> lock(mutex);
            const auto node = finished.extract(index);
            lock.unlock();
            report(node.mapped());
            context.progress.SetProcessed(++processed);
        },
        [&] { return context.progress.IsCancelled() || isOver(); });
}
