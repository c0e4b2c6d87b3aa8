#include "encodings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// A buffer whose bytes behind the announced size must not change.
struct SGuarded {
    char szBytes[32];
    SGuarded() { std::memset(szBytes, '#', sizeof(szBytes)); }
    bool IsUntouchedFrom(unsigned int first) const {
        return std::string(szBytes + first, sizeof(szBytes) - first) == std::string(sizeof(szBytes) - first, '#');
    }
};

}  // namespace

TEST(Encodings, ConvertBothWaysThroughANamedCodePage) {
    char utf8[32] = {};
    EXPECT_EQ(BX_ConvertStrToUTF8(utf8, sizeof(utf8),
                                  "\xE8"
                                  "aj",
                                  "WINDOWS-1250"),
              utf8);
    EXPECT_STREQ(utf8,
                 "\xC4\x8D"
                 "aj");
    char back[32] = {};
    BX_ConvertUTF8ToStr(back, sizeof(back), utf8, "WINDOWS-1250");
    EXPECT_STREQ(back,
                 "\xE8"
                 "aj");
}

TEST(Encodings, StayWithinTheBufferAndCutBetweenCharacters) {
    SGuarded copied;
    BX_ConvertStrToUTF8(copied.szBytes, 4, "ab\xC3\xA4", "UTF-8");
    EXPECT_STREQ(copied.szBytes, "ab");
    EXPECT_TRUE(copied.IsUntouchedFrom(4));

    SGuarded exact;
    BX_ConvertUTF8ToLocalStr(exact.szBytes, 5, "ab\xC3\xA4");
    EXPECT_STREQ(exact.szBytes, "ab\xC3\xA4");
    EXPECT_TRUE(exact.IsUntouchedFrom(5));

    SGuarded converted;
    BX_ConvertStrToUTF8(converted.szBytes, 4,
                        "ab\xE4"
                        "cd",
                        "ISO-8859-1");
    EXPECT_STREQ(converted.szBytes, "ab");
    EXPECT_TRUE(converted.IsUntouchedFrom(4));

    SGuarded none;
    BX_ConvertStrToUTF8(none.szBytes, 0, "ab", "UTF-8");
    EXPECT_TRUE(none.IsUntouchedFrom(0));
}

TEST(Encodings, LeaveTheBufferAloneWithoutATextOrAKnownCodePage) {
    char buffer[8] = "kept";
    EXPECT_EQ(BX_ConvertStrToUTF8(buffer, sizeof(buffer), nullptr, "UTF-8"), buffer);
    EXPECT_EQ(BX_ConvertUTF8ToStr(buffer, sizeof(buffer), "x", nullptr), buffer);
    EXPECT_EQ(BX_ConvertUTF8ToStr(buffer, sizeof(buffer), "x", "NO-SUCH-PAGE"), buffer);
    EXPECT_STREQ(buffer, "kept");
    EXPECT_EQ(BX_ConvertStrToUTF8(nullptr, 8, "x", "UTF-8"), nullptr);
}

TEST(Encodings, TellTheCodePageOfTheSystem) {
    char page[6] = {};
    EXPECT_EQ(BX_GetCodePage(page, sizeof(page)), 0);
    EXPECT_STREQ(page, "UTF-8");
    EXPECT_EQ(BX_GetCodePage(nullptr, 6), 1);
    EXPECT_EQ(BX_GetCodePage(page, 0), 1);
}
