#include "fuzz_target.h"
#include "jpeg_corpus.h"

std::vector<SFuzzSample> FuzzSamples() {
    std::vector<SFuzzSample> samples;
    for (const SJpegSample& sample : MakeJpegSamples()) {
        samples.push_back({sample.name, sample.bytes});
    }
    return samples;
}
