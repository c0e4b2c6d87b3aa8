// Gives a target its samples and the files of its corpus, one after the other, without a fuzzer.
//
//   replay_NAME [FOLDER]           replays the samples made in code, and the files of the folder when it is there
//   replay_NAME --write FOLDER     writes the samples into the folder instead, for the fuzzer to start from
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz_target.h"

namespace {

int WriteSamples(const std::string& folder) {
    for (const SFuzzSample& sample : FuzzSamples()) {
        const std::string path = folder + "/" + sample.name;
        std::ofstream file(path, std::ios::binary);
        file << sample.bytes;
        if (!file.flush()) {
            std::fprintf(stderr, "Cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}

// The name goes out first, so that it is the last word when the target ends the program.
void Replay(const std::string& name, const std::string& bytes) {
    std::printf("%s\n", name.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

bool ReplayFolder(const std::string& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        if (!file) {
            std::fprintf(stderr, "Cannot read %s\n", entry.path().c_str());
            return false;
        }
        Replay(entry.path().filename().string(), bytes);
    }
    return true;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount == 3 && std::strcmp(arguments[1], "--write") == 0) {
        return WriteSamples(arguments[2]);
    }
    if (argumentCount > 2) {
        std::fprintf(stderr, "Usage: %s [FOLDER], or %s --write FOLDER\n", arguments[0], arguments[0]);
        return 2;
    }
    for (const SFuzzSample& sample : FuzzSamples()) {
        Replay(sample.name, sample.bytes);
    }
    const bool hasFolder = argumentCount == 2 && std::filesystem::is_directory(arguments[1]);
    return !hasFolder || ReplayFolder(arguments[1]) ? 0 : 1;
}
