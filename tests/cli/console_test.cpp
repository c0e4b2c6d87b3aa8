#include "console.h"

#include <gtest/gtest.h>

TEST(PrintableName, KeepsWhatCanBeShownAndEscapesTheRest) {
    EXPECT_EQ(BX_PrintableName("gr\xC3\xBCn \xE6\xBC\xA2 \xF0\x9F\x8C\xB3.jpg"),
              "gr\xC3\xBCn \xE6\xBC\xA2 \xF0\x9F\x8C\xB3.jpg");
    EXPECT_EQ(BX_PrintableName("a\tb\nc\x7F"), "a\\tb\\nc\\x7f");
    EXPECT_EQ(BX_PrintableName("\xC2\x9B"), "\\xc2\\x9b");        // a control sequence in one character
    const std::string turnsDirection = {'\xE2', '\x80', '\xAE'};  // of what is written behind it
    EXPECT_EQ(BX_PrintableName(turnsDirection), "\\xe2\\x80\\xae");
    EXPECT_EQ(BX_PrintableName("\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80\xC3"),
              "\\xc0\\xaf\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xc3");  // overlong, surrogate, too large, cut off
}

TEST(ValidUtf8, ReplacesEachByteThatIsNone) {
    EXPECT_EQ(BX_ValidUtf8("a\xFF\xC3\xBC\xC3"), "a\xEF\xBF\xBD\xC3\xBC\xEF\xBF\xBD");
    EXPECT_EQ(BX_ValidUtf8("\xE2\x82"), "\xEF\xBF\xBD\xEF\xBF\xBD");
}
