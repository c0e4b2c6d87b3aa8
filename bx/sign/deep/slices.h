// Work in slices on several threads.
#pragma once

#include <cstddef>

// Calls work(context, begin, end) for consecutive slices of 0 .. count - 1, each of at most `sliceLength`, on `threads`
// threads (the calling one among them). No slice is started once work has returned false. Threads that cannot be had
// leave their share to the others.
void BX_RunSlices(std::size_t count, std::size_t sliceLength, unsigned int threads,
                  bool (*work)(void* context, std::size_t begin, std::size_t end), void* context);

// The same for anything that can be called with (begin, end) and returns bool.
template <typename Work>
void BX_RunSlices(std::size_t count, std::size_t sliceLength, unsigned int threads, Work& work) {
    BX_RunSlices(
        count, sliceLength, threads,
        [](void* context, std::size_t begin, std::size_t end) { return (*static_cast<Work*>(context))(begin, end); },
        &work);
}
