#include <initializer_list>

#include "fuzz_target.h"

namespace {

std::string Words(std::initializer_list<const char*> words) {
    std::string bytes;
    for (const char* word : words) {
        bytes += word;
        bytes += '\0';
    }
    return bytes;
}

// Words, and what the file "list" holds.
std::string WithList(const std::string& words, const std::string& list) {
    return words + '\0' + list;
}

void AddDetection(std::vector<SFuzzSample>& samples) {
    using namespace std::string_literals;
    samples.push_back({"detect", Words({"detect", "p.png"})});
    samples.push_back({"detect_json", Words({"--json", "detect", "--deep", "-t", "2", "p.png", "list", "d"})});
    samples.push_back({"detect_list", WithList(Words({"detect", "--files-from", "list"}), "p.png\nmissing\n\n")});
    samples.push_back({"detect_zeros", WithList(Words({"detect", "--files-from=list"}), "p.png\0d\0"s)});
    samples.push_back({"detect_stdin", Words({"detect", "--files-from", "-", "--shard", "1/1"})});
    samples.push_back({"detect_shard", WithList(Words({"detect", "--files-from", "list", "--shard", "3/16", "--json",
                                                       "--results", "results", "--resume"}),
                                                "p.png\na\nb\nc\n")});
    samples.push_back({"detect_resume", WithList(Words({"detect", "p.png", "--results", "list", "--resume"}),
                                                 "{\"file\":\"p.png\",\"sign\":null,\"bytes\":1,\"modified\":null,"
                                                 "\"deep\":false}\n{\"file\":\"q\",\"er")});
}

void AddSigning(std::vector<SFuzzSample>& samples) {
    samples.push_back({"sign", Words({"sign", "p.png", "-s", "abc-Z9", "-o", "out.jpg", "-q", "80"})});
    samples.push_back({"sign_options",
                       Words({"sign", "p.png", "--sign", "abc-Z9", "--output=o.png", "--force", "--no-check", "--quiet",
                              "--chroma", "444", "--metadata", "none", "--flatten", "white", "--threads", "100000"})});
    samples.push_back({"batch_sign", Words({"batch-sign", "d", "-s", "abc-Z9", "-q", "100"})});
    samples.push_back({"batch_sign_here", Words({"batch-sign", ".", "-s", "abc-Z9", "--json"})});
}

}  // namespace

std::vector<SFuzzSample> FuzzSamples() {
    std::vector<SFuzzSample> samples = {
        {"nothing", ""},
        {"help", Words({"--help"})},
        {"version", Words({"--version"})},
        {"no_command", Words({"frobnicate", "--json"})},
        {"odd_names", Words({"detect", "--", "-odd", "--help", "\xFF\xFE", "a\nb"})},
        {"inspect", Words({"inspect", "p.png", "--detect", "--zoom", "1.3", "--json"})},
        {"inspect_overlay", Words({"inspect", "p.png", "--overlay", "places.png", "--force"})},
        {"batch_detect", Words({"batch-detect", ".", "-t", "2", "--deep"})},
        {"pdf", Words({"pdf-detect", "missing.pdf", "--json"})},
        {"survive", Words({"survive", "p.png", "--quick", "-s", "abc-Z9", "--html", "page.html"})},
        {"wrong_numbers", Words({"inspect", "p.png", "--zoom", "1e309", "-t", "-5"})},
    };
    AddDetection(samples);
    AddSigning(samples);
    return samples;
}
