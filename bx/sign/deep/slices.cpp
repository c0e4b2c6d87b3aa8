#include "slices.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>

namespace {

constexpr unsigned int kMostThreads = 12;

struct SSharedWork {
    std::size_t count;
    std::size_t sliceLength;
    bool (*work)(void*, std::size_t, std::size_t);
    void* context;
    std::atomic<std::size_t> next{0};
    std::atomic<bool> ended{false};

    void TakeSlices() {
        while (!ended.load(std::memory_order_relaxed)) {
            const std::size_t begin = next.fetch_add(sliceLength, std::memory_order_relaxed);
            if (begin >= count) {
                return;
            }
            if (!work(context, begin, std::min(count, begin + sliceLength))) {
                ended.store(true, std::memory_order_relaxed);
            }
        }
    }
};

void* ThreadBody(void* parameter) {
    static_cast<SSharedWork*>(parameter)->TakeSlices();
    return nullptr;
}

}  // namespace

void BX_RunSlices(std::size_t count, std::size_t sliceLength, unsigned int threads,
                  bool (*work)(void* context, std::size_t begin, std::size_t end), void* context) {
    SSharedWork shared{count, std::max<std::size_t>(1, sliceLength), work, context};
    pthread_t started[kMostThreads];
    unsigned int startedCount = 0;
    const std::size_t slices = (count + shared.sliceLength - 1) / shared.sliceLength;
    const auto wanted = static_cast<unsigned int>(std::min<std::size_t>({threads, kMostThreads, slices}));
    while (startedCount + 1 < wanted && pthread_create(&started[startedCount], nullptr, ThreadBody, &shared) == 0) {
        ++startedCount;
    }
    shared.TakeSlices();
    for (unsigned int i = 0; i < startedCount; ++i) {
        pthread_join(started[i], nullptr);
    }
}
