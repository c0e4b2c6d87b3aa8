#include "source_texts.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <iterator>
#include <regex>

namespace {

bool IsWordLetter(char letter) {
    return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
}

// Walks through a source and knows texts from comments.
class CScanner {
public:
    CScanner(const std::string& source, SBxSourceTexts& texts) : m_Source(source), m_Texts(texts) {}

    void Run() {
        while (m_Position < m_Source.size()) {
            if (!SkipComment()) {
                Step();
            }
        }
    }

private:
    bool At(const char* text) const { return m_Source.compare(m_Position, std::strlen(text), text) == 0; }

    void MoveBehind(const char* text, std::size_t from) {
        const std::size_t found = m_Source.find(text, from);
        m_Position = found == std::string::npos ? m_Source.size() : found + std::strlen(text);
    }

    bool SkipComment() {
        if (At("//")) {
            MoveBehind("\n", m_Position);
        } else if (At("/*")) {
            MoveBehind("*/", m_Position + 2);
        } else {
            return false;
        }
        return true;
    }

    void Step() {
        const char letter = m_Source[m_Position];
        if (letter == '"') {
            TakeText();
        } else if (letter == '\'' && (m_Position == 0 || !IsWordLetter(m_Source[m_Position - 1]))) {
            m_Position += m_Source[m_Position + 1] == '\\' ? 3 : 2;  // to the closing one, or near it
            MoveBehind("'", m_Position);
        } else if (IsWordLetter(letter)) {
            TakeWord();
        } else {
            m_IsCall = letter == '(' && IsTranslating(m_Word);
            m_IsReason = letter == '(' && (m_Word == "SetReason" || m_Word == "SetWarning");
            m_Word.clear();
            SkipBlanks(1);
        }
    }

    static bool IsTranslating(const std::string& word) {
        return word == "BX_Text" || word == "BX_FilledText" || word == "BX_MarkText" || word == "Translate";
    }

    void SkipBlanks(std::size_t step) {
        m_Position += step;
        while (m_Position < m_Source.size() && std::isspace(static_cast<unsigned char>(m_Source[m_Position])) != 0) {
            ++m_Position;
        }
    }

    void TakeWord() {
        m_Word.clear();
        while (m_Position < m_Source.size() && IsWordLetter(m_Source[m_Position])) {
            m_Word += m_Source[m_Position++];
        }
        m_IsCall = false;
        m_IsReason = false;
        SkipBlanks(0);
    }

    void TakeText() {
        std::string text;
        while (m_Position < m_Source.size() && m_Source[m_Position] == '"') {
            text += TakePiece();
            SkipBlanks(0);
        }
        m_Texts.all.insert(text);
        if (m_IsCall) {
            m_Texts.translated.insert(text);
        }
        // Numbers in the middle of a reason cannot be looked up; such reasons stay English.
        if (m_IsReason && BX_HeadOfReason(text).find('%') == std::string::npos) {
            m_Texts.reasons.insert(BX_HeadOfReason(text));
        }
        m_IsCall = false;
        m_IsReason = false;
        m_Word.clear();
    }

    std::string TakePiece() {
        std::string piece;
        for (++m_Position; m_Position < m_Source.size() && m_Source[m_Position] != '"'; ++m_Position) {
            char letter = m_Source[m_Position];
            if (letter == '\\' && m_Position + 1 < m_Source.size()) {
                letter = m_Source[++m_Position];
                letter = letter == 'n' ? '\n' : letter;
            }
            piece += letter;
        }
        ++m_Position;
        return piece;
    }

    const std::string& m_Source;
    SBxSourceTexts& m_Texts;
    std::size_t m_Position = 0;
    std::string m_Word;       // the one that was passed last
    bool m_IsCall = false;    // the text to come is handed to a translating function
    bool m_IsReason = false;  // ... or to a report
};

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

std::string BX_HeadOfReason(const std::string& reason) {
    return reason.substr(0, std::min(reason.find(": "), reason.find(" (")));
}

void BX_AddSourceTexts(const std::string& source, SBxSourceTexts& texts) {
    CScanner(source, texts).Run();
}

void BX_AddFormTexts(const std::string& form, SBxSourceTexts& texts) {
    static const std::regex kText("<string>([^<]+)</string>");
    for (std::sregex_iterator found(form.begin(), form.end(), kText), end; found != end; ++found) {
        std::string text = (*found)[1];
        text = std::regex_replace(text, std::regex("&lt;"), "<");
        text = std::regex_replace(text, std::regex("&gt;"), ">");
        text = std::regex_replace(text, std::regex("&amp;"), "&");
        texts.translated.insert(text);
        texts.all.insert(text);
    }
}

SBxSourceTexts BX_ReadSourceTexts(const std::vector<std::filesystem::path>& folders) {
    SBxSourceTexts texts;
    for (const auto& folder : folders) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            const std::string ending = entry.path().extension().string();
            if (ending == ".cpp" || ending == ".h") {
                BX_AddSourceTexts(ReadFile(entry.path()), texts);
            } else if (ending == ".ui") {
                BX_AddFormTexts(ReadFile(entry.path()), texts);
            }
        }
    }
    return texts;
}
