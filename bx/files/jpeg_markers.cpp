#include <cstdio>

#include "jpeg_segments.h"

namespace {

struct SMarkerName {
    unsigned char marker;
    const char* name;
    const char* description;
};

// RST0 has no row: it never stands where a section begins.
constexpr SMarkerName kMarkerNames[] = {
    {0xC0, "SOF0", "Encoding (baseline)"},
    {0xC1, "SOF1", "Encoding (extended sequential)"},
    {0xC2, "SOF2", "Encoding (progressive)"},
    {0xC3, "SOF3", "Encoding (lossless)"},
    {0xC5, "SOF5", "Encoding (differential sequential)"},
    {0xC6, "SOF6", "Encoding (differential progressive)"},
    {0xC7, "SOF7", "Encoding (differential lossless)"},
    {0xC9, "SOF9", "Encoding (extended sequential, arithmetic)"},
    {0xCA, "SOF10", "Encoding (progressive, arithmetic)"},
    {0xCB, "SOF11", "Encoding (lossless, arithmetic)"},
    {0xCD, "SOF13", "Encoding (differential sequential, arithmetic)"},
    {0xCE, "SOF14", "Encoding (differential progressive, arithmetic)"},
    {0xCF, "SOF15", "Encoding (differential lossless, arithmetic)"},
    {0xD8, "SOI", "Start of image"},
    {0xD9, "EOI", "End of image"},
    {0xDA, "SOS", "Start of scan"},
    {0xFE, "COM", "Comment"},
    {0xC4, "DHT", "Define Huffman table"},
    {0xC8, "JPG", "Extension"},
    {0xCC, "DAC", "Define arithmetic coding conditioning"},
    {0xD1, "RST1", "Restart 1"},
    {0xD2, "RST2", "Restart 2"},
    {0xD3, "RST3", "Restart 3"},
    {0xD4, "RST4", "Restart 4"},
    {0xD5, "RST5", "Restart 5"},
    {0xD6, "RST6", "Restart 6"},
    {0xD7, "RST7", "Restart 7"},
    {0xDB, "DQT", "Define quantization table"},
    {0xDC, "DNL", "Define number of lines"},
    {0xDD, "DRI", "Define restart interval"},
    {0xDE, "DHP", "Define hierarchical progression"},
    {0xDF, "EXP", "Expand reference component"},
    {0xE0, "APP0", "Application segment 0"},
    {0xE1, "APP1", "Application segment 1"},
    {0xE2, "APP2", "Application segment 2"},
    {0xE3, "APP3", "Application segment 3"},
    {0xE4, "APP4", "Application segment 4"},
    {0xE5, "APP5", "Application segment 5"},
    {0xE6, "APP6", "Application segment 6"},
    {0xE7, "APP7", "Application segment 7"},
    {0xE8, "APP8", "Application segment 8"},
    {0xE9, "APP9", "Application segment 9"},
    {0xEA, "APP10", "Application segment 10"},
    {0xEB, "APP11", "Application segment 11"},
    {0xEC, "APP12", "Application segment 12"},
    {0xED, "APP13", "Application segment 13"},
    {0xEE, "APP14", "Application segment 14"},
    {0xEF, "APP15", "Application segment 15"},
    {0xF0, "JPG0", "Extension 0"},
    {0xF1, "JPG1", "Extension 1"},
    {0xF2, "JPG2", "Extension 2"},
    {0xF3, "JPG3", "Extension 3"},
    {0xF4, "JPG4", "Extension 4"},
    {0xF5, "JPG5", "Extension 5"},
    {0xF6, "JPG6", "Extension 6"},
    {0xF7, "JPG7", "Extension 7"},
    {0xF8, "JPG8", "Extension 8"},
    {0xF9, "JPG9", "Extension 9"},
    {0xFA, "JPG10", "Extension 10"},
    {0xFB, "JPG11", "Extension 11"},
    {0xFC, "JPG12", "Extension 12"},
    {0xFD, "JPG13", "Extension 13"},
    {0, nullptr, nullptr},
};

// The last row, without a name, for a marker that has none.
const SMarkerName& RowOf(JPEGMarker marker) {
    const SMarkerName* row = kMarkerNames;
    while (row->name != nullptr && row->marker != marker) {
        ++row;
    }
    return *row;
}

const char* OrNone(const char* text) {
    return text != nullptr ? text : "(none)";
}

}  // namespace

const char* jpeg_marker_get_name(JPEGMarker marker) {
    return RowOf(marker).name;
}

const char* jpeg_marker_get_description(JPEGMarker marker) {
    return RowOf(marker).description;
}

void jpeg_data_dump(JPEGData* data) {
    if (data == nullptr) {
        return;
    }
    std::printf("Dumping JPEG data (%i bytes of data)...\n", static_cast<int>(data->size));
    for (unsigned int index = 0; index < data->count; ++index) {
        const JPEGSection& section = data->sections[index];
        std::printf("Section %i (marker 0x%x - %s):\n", static_cast<int>(index), section.marker,
                    OrNone(jpeg_marker_get_name(section.marker)));
        std::printf("Description: %s\n", OrNone(jpeg_marker_get_description(section.marker)));
        if (section.content.generic != nullptr) {
            std::printf("Size: %i\n", static_cast<int>(section.size));
        } else {
            std::printf("Unknown content.");
        }
    }
}
