// Several files at a time.
#pragma once

#include <cstddef>
#include <functional>

// How the processors are shared out: files at a time, and threads for the search of each.
struct SBxWorkShare {
    unsigned int workers;
    unsigned int threadsPerFile;
};

// A search of one file on several threads waits for its longest zoom; several files on one thread each do not. More
// than four files at a time would hold more pictures in memory than they save time.
SBxWorkShare BX_ShareWork(std::size_t files, unsigned int threads);

// Calls `work(i)` for i = 0 .. count - 1 on `workers` threads, in this order, and `report(i)` on the calling thread
// when that work is done and all before it are reported. `work` is not started any more once `stopped` returns true;
// what was not started is not reported. With one worker everything happens on the calling thread. A worker thread that
// cannot be started leaves its share to the others. An exception ends the run and is passed on when all threads are
// done.
void BX_RunSideBySide(std::size_t count, unsigned int workers, const std::function<void(std::size_t)>& work,
                      const std::function<void(std::size_t)>& report, const std::function<bool()>& stopped);
