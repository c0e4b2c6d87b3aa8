#include "fuzz_target.h"

std::vector<SFuzzSample> FuzzSamples() {
    using namespace std::string_literals;
    const std::string text = "\1\x01\x02\x03\x23\x24\x25\x3F\0\0\0"s;
    const std::string longest = "\1\x3E\x3D\x3C\x3B\x3A\x39\x38\x37\x36\x35"s;
    std::vector<SFuzzSample> samples = {
        {"dark", std::string(33, '\0')},
        {"bright", "\0"s + std::string(32, '\xFF')},
        {"text", text},
        {"longest_text", longest},
        {"short_text", "\1\1\2\3\4\5"s},
        {"text_behind_end", "\1\1\2\3\4\5\6\0\7\7\7"s},
    };
    // More and more cells turned over, from one up to far more than can be mended.
    std::string flips(32, '\0');
    for (std::size_t at = 0; at < flips.size(); ++at) {
        flips[(at * 11) % flips.size()] = static_cast<char>(1U << at % 8);
        samples.push_back({"flipped_" + std::to_string(at + 1), text + flips});
    }
    return samples;
}
