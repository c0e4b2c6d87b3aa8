#include "fuzz_target.h"

std::vector<SFuzzSample> FuzzSamples() {
    using namespace std::string_literals;
    const std::string general = "[General]\nVersion=\"1\"\nEncoding=\"UTF-8\"\nLanguagesNo=\"2\"\n";
    const std::string english =
        "[0]\nLanguage=\"English\"\nAcronym=\"eng\"\nstring1=\"Open\"\nstring2=\"%d of %d\"\nstring3=\"Save\"\n";
    const std::string german =
        "[1]\nLanguage=\"Deutsch\"\nAcronym=\"deu\"\nstring1=\"Öffnen\"\nstring2=\"%d von %d\"\nstring3=\"Sichern\"\n";
    const std::string latin = "[General]\nEncoding=\"ISO-8859-1\"\nLanguagesNo=\"2\"\n";
    return {
        {"whole", general + english + german},
        {"nothing", ""},
        {"no_last_newline", general + english + german.substr(0, german.size() - 1)},
        {"latin", latin + english +
                      "[1]\nAcronym=\"deu\"\nstring1=\"\xD6"
                      "ffnen\"\n"},
        {"unknown_encoding", "[General]\nEncoding=\"x\"\nLanguagesNo=\"2\"\n" + english + german},
        {"system_encoding", "[General]\nEncoding=\"\"\nLanguagesNo=\"2\"\n" + english + german},
        {"wide_encoding", "[General]\nEncoding=\"UTF-16\"\nLanguagesNo=\"2\"\n" + english + german},
        {"no_english", general + "[0]\nAcronym=\"fra\"\n" + german},
        {"one_language", "[General]\nLanguagesNo=\"1\"\n" + english},
        {"too_many", "[General]\nLanguagesNo=\"99999999999999999999\"\n" + english + german},
        {"twenty", "[General]\nLanguagesNo=\"20\"\n" + english + german},
        {"negative", "[General]\nLanguagesNo=\"-3\"\n" + english + german},
        {"no_number", "[General]\nLanguagesNo=\"two\"\n" + english + german},
        {"gap", general + english + "string5=\"Close\"\n" + german + "string5=\"Ende\"\n"},
        {"same_text_twice", general + english + "string4=\"Open\"\n" + german + "string4=\"Auf\"\n"},
        {"long_names", general + english + "[1]\nLanguage=\"" + std::string(300, 'L') + "\"\nAcronym=\"deu\"\n"},
        {"long_text", general + english + "[1]\nAcronym=\"deu\"\nstring1=\"" + std::string(1500, 't') + "\"\n"},
        {"zero_bytes", general + english + "\0\n"s + german},
    };
}
