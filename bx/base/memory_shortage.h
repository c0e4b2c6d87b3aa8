// Whether std::bad_alloc has passed through the toolkit in this process.
#pragma once

#include <atomic>

namespace memory_shortage {
inline std::atomic<bool> g_wasNoted{false};
}

// To be called wherever std::bad_alloc is caught that may come from the toolkit. It is not made for exceptions and may
// have left anything locked: a program that ends after that does so without the destructors of static objects, which
// could wait for ever.
inline void BX_NoteMemoryShortage() {
    memory_shortage::g_wasNoted = true;
}

inline bool BX_HadMemoryShortage() {
    return memory_shortage::g_wasNoted;
}
