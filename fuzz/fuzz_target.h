// What every fuzz target is made of. A target is one source with LLVMFuzzerTestOneInput and one with FuzzSamples.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

// Takes any bytes, does with them what the product does with bytes from outside, and ends the program where something
// that must hold does not. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize);

struct SFuzzSample {
    std::string name;  // of the file that it is written to
    std::string bytes;
};

// What the fuzzer starts from; made in code, the same in every run.
std::vector<SFuzzSample> FuzzSamples();

// Ends the program, for the fuzzer and the tests to see.
inline void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The bytes of an input, from its front to its end; zeros behind it.
class CFuzzBytes {
public:
    CFuzzBytes(const std::uint8_t* bytes, std::size_t size) : m_pBytes(bytes), m_uiLeft(size) {}

    unsigned int Byte() {
        if (m_uiLeft == 0) {
            return 0;
        }
        --m_uiLeft;
        return *m_pBytes++;
    }

    std::string Rest() {
        const std::string rest(reinterpret_cast<const char*>(m_pBytes), m_uiLeft);
        m_uiLeft = 0;
        return rest;
    }

private:
    const std::uint8_t* m_pBytes;
    std::size_t m_uiLeft;
};
