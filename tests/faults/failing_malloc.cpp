// Loaded into a program before its libraries (LD_PRELOAD), lets allocations of the whole process fail, those of the
// toolkit and of the decoders included.
//
//   VERIDANE_FAIL_AT=n          allocation n of the process gets no memory, counted from 1
//   VERIDANE_FAIL_COUNT=k       nor do the k - 1 after it; 1 unless told
//   VERIDANE_ALLOCATIONS=FILE   the number of allocations is written there when the program ends by itself
//
// What the loader allocates before the first constructor is not counted.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

std::atomic<long> g_allocations{0};
std::atomic<long> g_failFrom{0};  // 0: none fails
std::atomic<long> g_failTo{0};    // the first that gets memory again
std::atomic<bool> g_counts{false};

bool Fails() {
    if (!g_counts.load(std::memory_order_relaxed)) {
        return false;
    }
    const long number = g_allocations.fetch_add(1, std::memory_order_relaxed) + 1;
    if (number < g_failFrom.load(std::memory_order_relaxed) || number >= g_failTo.load(std::memory_order_relaxed)) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

long NumberOf(const char* name, long otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtol(text, nullptr, 10);
}

__attribute__((constructor)) void Begin() {
    const long from = NumberOf("VERIDANE_FAIL_AT", 0);
    g_failFrom = from;
    g_failTo = from == 0 ? 0 : from + NumberOf("VERIDANE_FAIL_COUNT", 1);
    g_counts = true;
}

__attribute__((destructor)) void End() {
    g_counts = false;
    const char* const path = std::getenv("VERIDANE_ALLOCATIONS");
    const int descriptor = path == nullptr ? -1 : ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor >= 0) {
        ::dprintf(descriptor, "%ld\n", g_allocations.load());
        ::close(descriptor);
    }
}

}  // namespace

// The C library's own names of the same functions.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

void* malloc(std::size_t size) {
    return Fails() ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    return Fails() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* old, std::size_t size) {
    return Fails() ? nullptr : __libc_realloc(old, size);
}
void* memalign(std::size_t alignment, std::size_t size) {
    return Fails() ? nullptr : __libc_memalign(alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return Fails() ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
    void* const memory = Fails() ? nullptr : __libc_memalign(alignment, size);
    if (memory == nullptr) {
        return ENOMEM;
    }
    *out = memory;
    return 0;
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
