// The toolkit's search for the decoder or the encoder of a format.
#pragma once

#include <mutex>

// Has to live around every call in which the toolkit may look for a decoder or an encoder. The toolkit is not made for
// exceptions: std::bad_alloc passes through it without unlocking what it has locked, and the next search would wait for
// ever. After one that ran out of memory there is no further one in this process: the constructor throws
// std::bad_alloc instead. Searches of several threads follow one another.
class CBxCodecLookup {
public:
    CBxCodecLookup();
    ~CBxCodecLookup();
    CBxCodecLookup(const CBxCodecLookup&) = delete;
    CBxCodecLookup& operator=(const CBxCodecLookup&) = delete;

private:
    std::unique_lock<std::mutex> m_Lock;
    const int m_iExceptions;
};
