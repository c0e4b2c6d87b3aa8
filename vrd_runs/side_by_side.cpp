#include "side_by_side.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {

constexpr unsigned int kMostFilesAtATime = 4;

// The state of one run; `mutex` guards the rest.
struct SProgressOfWork {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t next = 0;               // the first that nobody has taken
    std::vector<unsigned char> isDone;  // of each
    bool ended = false;                 // nothing more is taken
};

}  // namespace

SBxWorkShare BX_ShareWork(std::size_t files, unsigned int threads) {
    const unsigned int total = std::max(1U, threads);
    const auto atATime = static_cast<unsigned int>(std::min<std::size_t>(files, std::min(total, kMostFilesAtATime)));
    const unsigned int workers = std::max(1U, atATime);
    return {workers, std::max(1U, total / workers)};
}

void BX_RunSideBySide(std::size_t count, unsigned int workers, const std::function<void(std::size_t)>& work,
                      const std::function<void(std::size_t)>& report, const std::function<bool()>& stopped) {
    SProgressOfWork progress;
    progress.isDone.assign(count, 0);
    const auto takeAll = [&] {
        std::unique_lock<std::mutex> lock(progress.mutex);
        while (progress.next < count && !progress.ended) {
            if (stopped()) {
                progress.ended = true;
                break;
            }
            const std::size_t taken = progress.next++;
            lock.unlock();
            work(taken);
            lock.lock();
            progress.isDone[taken] = 1;
            progress.changed.notify_all();
        }
        progress.changed.notify_all();
    };
    std::vector<std::thread> threads;
    for (unsigned int i = 0; workers > 1 && i < workers; ++i) {
        try {
            threads.emplace_back(takeAll);
        } catch (const std::system_error&) {
            break;
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (threads.empty()) {
            if (stopped()) {
                break;
            }
            work(i);
        } else {
            std::unique_lock<std::mutex> lock(progress.mutex);
            progress.changed.wait(lock,
                                  [&] { return progress.isDone[i] != 0 || (progress.ended && i >= progress.next); });
            if (progress.isDone[i] == 0) {
                break;
            }
        }
        report(i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
