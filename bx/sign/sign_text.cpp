// The character code, the table behind the check codes, and the mirroring of grids.
#include <pthread.h>

#include <algorithm>

#include "sign_format.h"
#include "sign_op.h"

namespace {

constexpr int kTriples = 71;
constexpr int kTriplePositions = 48;
constexpr int kTripleRange = 96;

// How many of the stored triple's entries equal any entry of the candidate.
bool AllEntriesOccur(const std::int32_t* stored, const std::int32_t* candidate) {
    return std::all_of(stored, stored + 3, [candidate](std::int32_t entry) {
        return std::find(candidate, candidate + 3, entry) != candidate + 3;
    });
}

void FillTriples(std::int32_t (*triples)[3]) {
    int count = 0;
    for (int i = 0; i < kTripleRange; ++i) {
        for (int j = i + 1; j < kTripleRange; ++j) {
            for (int k = j + 1; k < kTripleRange; ++k) {
                const std::int32_t candidate[3] = {i % kTriplePositions, j % kTriplePositions, k % kTriplePositions};
                const bool known = std::any_of(triples, triples + count, [&candidate](const std::int32_t(&stored)[3]) {
                    return AllEntriesOccur(stored, candidate);
                });
                if (known) {
                    continue;
                }
                std::copy(candidate, candidate + 3, triples[count]);
                if (++count == kTriples) {
                    return;
                }
            }
        }
    }
}

}  // namespace

signed char CBxSignOp::MapCharTo6Bit(char& character) {
    const char c = character;
    if (c == 0) {
        return 0;
    }
    if (c >= 'a' && c <= 'z') {
        return static_cast<signed char>(c - 96);
    }
    if (c >= 'A' && c <= 'Z') {
        return static_cast<signed char>(c - 38);
    }
    if (c >= '0' && c <= '9') {
        return static_cast<signed char>(c + 5);
    }
    return 63;
}

char CBxSignOp::Map6BitToChar(char& code) {
    const int value = static_cast<signed char>(code);  // NOLINT(bugprone-signed-char-misuse): below 0 there is no code
    if (value >= 1 && value <= 26) {
        return static_cast<char>(value + 96);
    }
    if (value >= 27 && value <= 52) {
        return static_cast<char>(value + 38);
    }
    if (value >= 53 && value <= 62) {
        return static_cast<char>(value - 5);
    }
    return value == 63 ? '-' : 0;
}

void CBxSignOp::GenerateHashPole() {
    if (m_bHashGenerated.load(std::memory_order_acquire)) {
        return;
    }
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&mutex);
    if (!m_bHashGenerated.load(std::memory_order_relaxed)) {
        FillTriples(hashpole);
        m_bHashGenerated.store(true, std::memory_order_release);
    }
    pthread_mutex_unlock(&mutex);
}

// Modes 1 to 3 work in place and in ascending order, so the half that is written first is what the other half reads.
void CBxSignOp::TransformCurrentBytecode(int* target, int* source, unsigned int mode) {
    const auto cell = [target](int row, int column) -> int& { return target[row * kGridSide + column]; };
    if (mode == 0 || mode > 3) {
        std::copy(source, source + kCellCount, target);
        return;
    }
    for (int row = 0; row < kGridSide; ++row) {
        for (int column = 0; column < kGridSide; ++column) {
            const int fromRow = mode == 1 ? row : kGridSide - 1 - row;
            const int fromColumn = mode == 2 ? column : kGridSide - 1 - column;
            cell(row, column) = cell(fromRow, fromColumn);
        }
    }
}
