// Cosines and sines in loops over many values.
#pragma once

struct SBxPhasor {
    float cosine;
    float sine;
};

// Of an angle in turns, up to a million of them, to a millionth; without a call, so that the loops over it run on
// several values at a time.
inline SBxPhasor BX_PhasorOf(float turns) {
    constexpr float kToWhole = 12582912.0f;  // what is added to it loses its fraction
    constexpr float kHalfTurn = 3.14159265f;
    const float half = (turns - ((turns + kToWhole) - kToWhole)) * kHalfTurn;  // half the angle, within a quarter turn
    const float square = half * half;
    const float sine =
        half *
        (1.0f - square * (1.0f / 6.0f -
                          square * (1.0f / 120.0f -
                                    square * (1.0f / 5040.0f - square * (1.0f / 362880.0f - square / 39916800.0f)))));
    const float cosine =
        1.0f - square * (0.5f - square * (1.0f / 24.0f -
                                          square * (1.0f / 720.0f -
                                                    square * (1.0f / 40320.0f -
                                                              square * (1.0f / 3628800.0f - square / 479001600.0f)))));
    return {1.0f - 2.0f * sine * sine, 2.0f * sine * cosine};
}
