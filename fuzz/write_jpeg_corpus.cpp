#include <cstdio>
#include <fstream>

#include "jpeg_corpus.h"

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "Usage: write_jpeg_corpus FOLDER\n");
        return 2;
    }
    for (const SJpegSample& sample : MakeJpegSamples()) {
        const std::string path = std::string(arguments[1]) + "/" + sample.name;
        std::ofstream file(path, std::ios::binary);
        file << sample.bytes;
        if (!file.flush()) {
            std::fprintf(stderr, "Cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
