#include "codec_lookup.h"

#include <exception>
#include <new>

namespace {

std::mutex g_mutex;
bool g_isBroken = false;  // guarded by the mutex

}  // namespace

CBxCodecLookup::CBxCodecLookup() : m_Lock(g_mutex), m_iExceptions(std::uncaught_exceptions()) {
    if (g_isBroken) {
        throw std::bad_alloc();
    }
}

CBxCodecLookup::~CBxCodecLookup() {
    g_isBroken |= std::uncaught_exceptions() > m_iExceptions;  // which whoever catches it notes
}
