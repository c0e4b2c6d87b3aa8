#include "side_by_side.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
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
    std::exception_ptr fault;           // the first that left `work`
};

// The threads of one run. They end with it, whatever leaves it.
class CWorkers {
public:
    explicit CWorkers(SProgressOfWork& progress) : m_Progress(progress) {}
    ~CWorkers() {
        {
            const std::lock_guard<std::mutex> lock(m_Progress.mutex);
            m_Progress.ended = true;
        }
        Join();
    }
    CWorkers(const CWorkers&) = delete;
    CWorkers& operator=(const CWorkers&) = delete;

    // Fewer than wanted where the system gives no more.
    void Start(unsigned int count, const std::function<void()>& body) {
        m_Threads.reserve(count);
        try {
            for (unsigned int i = 0; i < count; ++i) {
                m_Threads.emplace_back(body);
            }
        } catch (const std::system_error&) {
        }
    }

    bool IsEmpty() const { return m_Threads.empty(); }

    void Join() {
        for (std::thread& thread : m_Threads) {
            thread.join();
        }
        m_Threads.clear();
    }

private:
    SProgressOfWork& m_Progress;
    std::vector<std::thread> m_Threads;
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
    const auto workOn = [&](std::size_t taken) {
        try {
            work(taken);
            return true;
        } catch (...) {
            const std::lock_guard<std::mutex> lock(progress.mutex);
            progress.fault = progress.fault != nullptr ? progress.fault : std::current_exception();
            progress.ended = true;
            return false;
        }
    };
    const auto takeAll = [&] {
        std::unique_lock<std::mutex> lock(progress.mutex);
        while (progress.next < count && !progress.ended) {
            if (stopped()) {
                progress.ended = true;
                break;
            }
            const std::size_t taken = progress.next++;
            lock.unlock();
            const bool isDone = workOn(taken);
            lock.lock();
            progress.isDone[taken] = isDone ? 1 : 0;
            progress.changed.notify_all();
        }
        progress.changed.notify_all();
    };
    // Whether number i is done; waits as long as it may still be.
    const auto isDone = [&](std::size_t i) {
        std::unique_lock<std::mutex> lock(progress.mutex);
        progress.changed.wait(lock, [&] {
            return progress.isDone[i] != 0 || progress.fault != nullptr || (progress.ended && i >= progress.next);
        });
        return progress.isDone[i] != 0;
    };
    CWorkers threads(progress);
    threads.Start(workers > 1 ? workers : 0, takeAll);
    for (std::size_t i = 0; i < count; ++i) {
        if (threads.IsEmpty()) {
            if (stopped()) {
                break;
            }
            work(i);
        } else if (!isDone(i)) {
            break;
        }
        report(i);
    }
    threads.Join();
    if (progress.fault != nullptr) {
        std::rethrow_exception(progress.fault);
    }
}
