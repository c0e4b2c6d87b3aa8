#include "system_facts.h"

#include <time.h>
#include <unistd.h>

unsigned int BX_GetCPUCount() {
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count < 1 ? 1 : static_cast<unsigned int>(count);
}

std::uint32_t MyGetTickCount() {
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(clock()) * 1000 / 100);
}
