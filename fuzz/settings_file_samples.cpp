#include "fuzz_target.h"

std::vector<SFuzzSample> FuzzSamples() {
    using namespace std::string_literals;
    const std::string general =
        "[General]\ncompression=\"90\"\nask_compression=\"no\"\nmax_threads=\"4\"\nlog_enabled=\"yes\"\n"
        "log_detail_enabled=\"no\"\nlatest_folder=\"/home/somebody/Pictures/\"\nlatest_sign=\"abc-Z9\"\n"
        "crashed_lasttime=\"no\"\nlang_index=\"2\"\n";
    const std::string geometry =
        "[Geometry]\nwnd_x=\"-12\"\nwnd_y=\"40\"\nwnd_w=\"900\"\nwnd_h=\"600\"\ntlb_area=\"4\"\n";
    const std::string whole = general + "\n" + geometry;
    return {
        {"whole", whole},
        {"nothing", ""},
        {"no_last_newline", whole.substr(0, whole.size() - 1)},
        {"header_without_newline", general + "[Geometry]"},
        {"windows_lines", "[General]\r\ncompression=\"90\"\r\n"},
        {"twice", general + general + geometry},
        {"huge_numbers",
         "[Geometry]\nwnd_x=\"2147483647\"\nwnd_w=\"99999999999999999999\"\nwnd_y=\"-2147483648\"\nwnd_h=\"-1\"\n"},
        {"half_quotes", "[General]\ncompression=\"90\nlatest_sign=abc\"\nlang_index=\"\nlatest_folder=\"\"\n"},
        {"many_equals", "[General]\n=\n==\n===\nlatest_sign==\"a\"=\"b\"\n = \"x\"\n"},
        {"long_line", "[General]\nlatest_folder=\"" + std::string(2000, 'f') + "\"\n" + geometry},
        {"line_of_1023", "[General]\nlatest_folder=\"" + std::string(1023 - 17, 'f') + "\"\n" + geometry},
        {"zero_bytes", "[General]\ncompression=\"5\0\"\n\0\nlang_index=\"1\"\n"s},
        {"not_utf8", "\xE4\xF6\xFC\n[General]\nlatest_folder=\"/\xE4\xF6/\"\n"s},
        {"utf8", "Grü€e\n[General]\nlatest_folder=\"/Grü€e/\"\nlatest_sign=\"ÄÖÜäöüß\"\n"},
        {"blanks", " [General]\n[General] \n[General]\n  compression  =  \" 90 \"  \n\tlang_index\t=\t\"1\"\t\n"},
    };
}
