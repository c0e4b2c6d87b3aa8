#include "input_sign_dlg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLineEdit>
#include <QMessageBox>
#include <cstring>

#include "dialog_user.h"
#include "modal_helper.h"

namespace {

class SignInput : public testing::Test {
protected:
    // Opens the dialog on the buffer and does `act`, which ends it.
    bool Input(const std::function<void(CBxInputSignDlg&)>& act) {
        CModalActs user;
        user.On<CBxInputSignDlg>(act);
        return CBxInputSignDlg::InputSign(&m_Window, m_Buffer, sizeof(m_Buffer));
    }

    QWidget m_Window;
    char m_Buffer[12] = {};
};

}  // namespace

TEST_F(SignInput, ShowsWhileTypingWhatWillBeCarriedAndHowMuchIsLeft) {
    EXPECT_TRUE(Input([](CBxInputSignDlg& dialog) {
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "10");
        Type(dialog, QString::fromUtf8("aZ 9-_\xC3\xA9"));
        EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text(), "aZ-9---");
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "3");
        Press(dialog, Qt::Key_Return);
    }));
    EXPECT_STREQ(m_Buffer, "aZ-9---");
}

TEST_F(SignInput, StaysAtTenCharactersWhenAnEleventhIsTyped) {
    EXPECT_TRUE(Input([](CBxInputSignDlg& dialog) {
        Type(dialog, "abcdefghijk");
        EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text(), "abcdefghij");
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "0");
        Press(dialog, Qt::Key_Return);
    }));
    EXPECT_STREQ(m_Buffer, "abcdefghij");
}

TEST_F(SignInput, RefusesFiveCharactersAndStaysOpenForTheSixth) {
    CModalActs user;
    user.On<CBxInputSignDlg>([](CBxInputSignDlg& dialog) {
        Type(dialog, "abcde");
        Press(dialog, Qt::Key_Return);
        EXPECT_TRUE(dialog.isVisible());
        Type(dialog, "f");
        Press(dialog, Qt::Key_Return);
    });
    user.On<QMessageBox>([](QMessageBox& box) {
        EXPECT_EQ(box.text(), "Your sign must have 6 characters at least!");
        box.accept();
    });
    EXPECT_TRUE(CBxInputSignDlg::InputSign(&m_Window, m_Buffer, sizeof(m_Buffer)));
    EXPECT_STREQ(m_Buffer, "abcdef");
}

TEST_F(SignInput, StartsWithTheLatestSignReadyToBeTypedOver) {
    std::strcpy(m_Buffer, "Old-sign");
    EXPECT_TRUE(Input([](CBxInputSignDlg& dialog) {
        EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text(), "Old-sign");
        EXPECT_EQ(TextOf(dialog, "labelCharLeft"), "2");
        Type(dialog, "New-sign2");
        Press(dialog, Qt::Key_Return);
    }));
    EXPECT_STREQ(m_Buffer, "New-sign2");
}

// A cancelled dialog must not change the sign that the settings remember.
TEST_F(SignInput, GivesBackTheBufferAsItWasWhenCancelled) {
    std::strcpy(m_Buffer, "Old-sign");
    EXPECT_FALSE(Input([](CBxInputSignDlg& dialog) {
        Type(dialog, "New-sign");
        Press(dialog, Qt::Key_Escape);
    }));
    EXPECT_STREQ(m_Buffer, "Old-sign");
}

TEST_F(SignInput, NeverWritesBehindASmallBuffer) {
    char guarded[12] = {'\0', 0, 0, 0, 0, 0, 0, 0, 'G', 'G', 'G', 'G'};
    CBxInputSignDlg dialog(&m_Window, guarded, 8);
    for (const char* text : {"abcdefg", "abcdefgh", "abcdefghij"}) {
        Find<QLineEdit>(dialog, "lineEditInputSign").setText(text);
        EXPECT_EQ(std::string(guarded + 8, 4), "GGGG");
    }
    EXPECT_STREQ(guarded, "abcdefg");
    EXPECT_EQ(Find<QLineEdit>(dialog, "lineEditOutputSign").text().toStdString(), guarded);
}
