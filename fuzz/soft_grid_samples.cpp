#include <cstring>
#include <limits>

#include "fuzz_target.h"

namespace {

using namespace std::string_literals;

// An input of 256 numbers, one in eight of them `odd`.
std::string NumbersWith(float odd) {
    std::string bytes = "\0"s;
    for (int cell = 0; cell < 256; ++cell) {
        const float value = cell % 8 == 3 ? odd : static_cast<float>(cell % 31 - 15) / 15.0f;
        char raw[sizeof(value)];
        std::memcpy(raw, &value, sizeof(value));
        bytes.append(raw, sizeof(raw));
    }
    return bytes;
}

}  // namespace

std::vector<SFuzzSample> FuzzSamples() {
    using Limits = std::numeric_limits<float>;
    const std::string text = "\1\x01\x02\x03\x23\x24\x25\x3F\0\0\0"s;
    std::string doubted = text;
    std::string wrong = text;
    for (int cell = 0; cell < 256; ++cell) {
        doubted += static_cast<char>(cell * 37 % 160);
        wrong += static_cast<char>(cell % 5 == 0 ? 254 : 20);
    }
    return {
        {"nothing", ""},
        {"numbers", NumbersWith(0.5f)},
        {"no_number", NumbersWith(Limits::quiet_NaN())},
        {"infinite", NumbersWith(Limits::infinity())},
        {"largest", NumbersWith(-Limits::max())},
        {"smallest", NumbersWith(Limits::denorm_min())},
        {"beyond_one", NumbersWith(17.0f)},
        {"text", text},
        {"doubted_text", doubted},
        {"wrong_cells", wrong},
    };
}
