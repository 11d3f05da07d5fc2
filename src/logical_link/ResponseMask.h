#pragma once

#include <cstdint>
#include <string>

// One expected response of up to 4 mask and pattern bytes; count 0: not expected.
struct ResponseMask {
    uint32_t count = 0;
    uint8_t mask[4] = {0, 0, 0, 0};
    uint8_t pattern[4] = {0, 0, 0, 0};
    std::string maskText;
    std::string patternText;

    // The bytes anew from the two texts, at most 4 of each; count is the smaller number read.
    void FromTexts();
};
