#include "search_report.h"

#include <cmath>

#include "result.h"

void BX_DescribeSearch(CBxJson& record, const SBxSearchResult& result, double seconds) {
    for (const char* key : {"sign", "zoom", "rectangle", "corrected_bits"}) {
        record[key] = nullptr;
    }
    record["seconds"] = seconds;
    if (result.code == kBxSuccess) {
        const CBxRect<int>& rectangle = result.rectangle;
        record["sign"] = BX_ValidUtf8(result.sign);
        record["zoom"] = std::round(result.zoom * 1e6) / 1e6;  // 0.95, not 0.9500000000000002
        record["rectangle"] = {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
        record["corrected_bits"] = result.correctedBits;
    }
    if (result.shrunkTo.width > 0) {
        record["shrunk_to"] = {result.shrunkTo.width, result.shrunkTo.height};
    }
}
