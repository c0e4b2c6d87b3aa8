// The sign engine: hides a sign in a picture and finds it again.
//
// Pictures are 3_8 records (bytes blue, green, red). Operations return 0 for success (for a detection: a sign was
// found), 1 for failure, nothing found, aborted or a bad argument, 6 when memory ran out; each states only where it
// differs. Nothing is thrown.
//
// Every operation that depends on the state of a run exists twice: with a SBxSignRun, and without one, which works on
// the process-wide default run that the static words below belong to.
#pragma once

#include <atomic>
#include <cstdint>

#include "class_log.h"
#include "geometry.h"
#include "pic_buf.h"
#include "sign_run.h"

class CBxSignOp : public CBxClassLog<CBxSignOp> {
public:
    using SProgressData = ::SProgressData;

    // Bytes that the text buffers handed to the engine must hold.
    static constexpr unsigned int kTextBytes = 1024;       // detection
    static constexpr unsigned int kFoundTextBytes = 2000;  // SignImage
    static constexpr unsigned int kZoomCount = 24;
    static constexpr unsigned int kMostThreads = 12;

    // ---- the default run (sign_state.cpp) ----

    static SBxSignRun m_DefaultRun;
    static std::uint32_t& m_uiNoOfThreads;
    static double& m_dProgressDelta;
    static std::atomic<std::int32_t>& m_iStopDetecting;
    static std::atomic<std::int32_t>& m_iAbortDetecting;
    static SProgressData& m_ProgressData;
    static std::uint32_t& m_uiRectCount;
    static CBxRect<int> (&m_siRect)[5];

    // Asks the default run to stop; looked at between steps. The next detection starts unaborted.
    static void AbortDetecting();

    // ---- whole operations (sign_image.cpp, sign_threads.cpp) ----

    // Signs `picture` in place, unless a sign is found in it first: then 1, `alreadySigned` true and the text of that
    // sign in `foundText`. 6 with `alreadySigned` true when the search ran out of memory. `alreadySigned` is false when
    // the insertion ran, whatever it returned. `alreadySigned` and `foundText` (kFoundTextBytes) may be null.
    static unsigned char SignImage(SBxPicBuf* picture, char* text, bool* alreadySigned, char* foundText,
                                   unsigned int threads);
    static unsigned char SignImage(SBxSignRun& run, SBxPicBuf* picture, char* text, bool* alreadySigned,
                                   char* foundText, unsigned int threads);

    // Searches `picture` at all 24 zooms on 1 to 12 threads (0 counts as 1, more than 12 as 12). On 0 `text`
    // (kTextBytes) holds the sign's text. The picture is not changed.
    static unsigned char ExtractTextFromPicture(SBxPicBuf* picture, char* text, unsigned int threads);
    static unsigned char ExtractTextFromPicture(SBxSignRun& run, SBxPicBuf* picture, char* text, unsigned int threads);
    static unsigned char ExtractTextFromPicture_1thread(SBxPicBuf* picture, char* text);
    static unsigned char ExtractTextFromPicture_1thread(SBxSignRun& run, SBxPicBuf* picture, char* text);
    static unsigned char ExtractTextFromPicture_Nthread(SBxPicBuf* picture, char* text);
    static unsigned char ExtractTextFromPicture_Nthread(SBxSignRun& run, SBxPicBuf* picture, char* text);

    // Body of a search thread; the parameter is a SBxZoomThread. Returns a word from malloc with the last result.
    static void* PicThreadProcZoom(void* parameter);
    // Copies the 24 zoom indices of the schedule for m_uiNoOfThreads; position p belongs to thread p modulo threads.
    static void GetThreadShedule(unsigned int* order);
    static void GetThreadShedule(unsigned int* order, unsigned int threads);

    // ---- one zoom (sign_zoom.cpp, sign_scale.cpp) ----

    // Searches one zoom. On 0 `block` (kTextBytes, zeroed) holds the 18 decoded characters, the text from position 8.
    static unsigned char ExtractTextFromPictureWithZoom(SBxPicBuf* picture, char* block, double zoom);
    static unsigned char ExtractTextFromPictureWithZoom(SBxSignRun& run, SBxPicBuf* picture, char* block, double zoom);
    // A check at one zoom on its own: clears the abort and stop words first; on 0 copies the text (kTextBytes) when
    // `text` is not null.
    static unsigned char ExtractTextFromPictureWithZoom(SBxPicBuf* picture, double zoom, char* text);
    static unsigned char ExtractTextFromPictureWithZoom(SBxSignRun& run, SBxPicBuf* picture, double zoom, char* text);

    // Scales a 3_8 picture into `target`, a 3_F picture of the scaled size. `table` has 1001 rows of 256 doubles and is
    // filled here: row k holds k x v / 1000.
    static void TransformBilinearAccurate8x3Float(double** table, SBxPicBuf* target, SBxPicBuf* source, double zoom);

    // ---- insertion (sign_insert.cpp, sign_cells.cpp) ----

    // Writes the sign into up to 5 carriers of `picture`, in place; 0 also when there is no carrier. 1 for a null text
    // or more than 40,000,000 pixels: the picture has then been clamped to 3 .. 252 already.
    static unsigned char InsertTextIntoPicture(SBxPicBuf* picture, char* text);
    static unsigned char InsertTextIntoPicture(SBxSignRun& run, SBxPicBuf* picture, char* text);

    // Bytes below `from` become `from`, bytes at or above `to` become `to`.
    static void ModifyChangeFromTo(SBxPicBuf& picture, unsigned int from, unsigned int to);
    // The same on a 1_F picture.
    static void ModifyChangeFromToFloat(SBxPicBuf& picture, unsigned int from, unsigned int to);

    // Cell size of a carrier; always returns 1.0.
    static double GetRealStampZoom(double width, double height, unsigned int columns, unsigned int rows,
                                   double& cellWidth, double& cellHeight);
    // (Re)allocates `stamp` as a 1_16 picture of ceil(cellWidth) x ceil(cellHeight): 2 inside, 1 on the rim, else 0.
    static unsigned char GenerateSmallWhat(SBxPicBuf& stamp, double cellWidth, double cellHeight);
    static void AddNonZeroBy2(SBxPicBuf& stamp);
    // Counts the pixels of the 256 cells of a label map.
    static void JustCropImageElipsesAndGetSizes(SBxPicBuf* labels, CBxPoint<double>* centres, unsigned int* sizes,
                                                double cellWidth, double cellHeight);
    // The 256 means of `values` (1_F) under the label map, whose rim pixels it settles. NaN for a cell without pixels.
    static void GetAllMeansFloat(double* means, SBxPicBuf* values, SBxPicBuf* labels, CBxPoint<double>* centres,
                                 double cellWidth, double cellHeight);
    // How far a mean with this remainder modulo 6 has to move to carry `bit`.
    static double GetdChange(double remainder, unsigned char bit, double mean);
    // Moves the pixels of `carrier` (1_8) so that each cell's mean moves by its change, dithered.
    static void ModifyAllHistogram(SBxPicBuf* carrier, SBxPicBuf* labels, unsigned int* sizes, double* changes);

    // 3_8 to 3_F of the same size.
    static void Convert3x8_Float(SBxPicBuf& target, const SBxPicBuf& source);
    // 1_8 to 1_F of the same size.
    static void Convert8BitToFloat(SBxPicBuf& target, const SBxPicBuf& source);
    // Replaces a 3_F picture by a 1_F picture, the mean of components 1 and 2. 6 leaves it as it was.
    static unsigned char ConvertComp1Float23(SBxPicBuf& picture);
    // Draws the outline of a rectangle, one pixel wide, in a colour 0xRRGGBB, clipped to the picture.
    static void WriteRectToPicBuf(SBxPicBuf* picture, CBxRect<int> rect, unsigned int colour);

    // ---- important rectangles (sign_rectangles.cpp, carrier_choice.cpp) ----

    // Rectangles between the corners of the dark and of the bright half of `picture` (1_F, unchanged), appended to
    // `rects` (room for 80, with `detection` for 192); the whole picture where no corner is found. `anchors` (room for
    // 20) receives markers only: (0, 0) for a half with corners, (-100, -100) for one without.
    static unsigned char GetAllImportantRectangles(CBxRect<double>* rects, unsigned int& count, SBxPicBuf* picture,
                                                   CBxPoint<double>* anchors, unsigned int& anchorCount, bool detection,
                                                   double zoom);
    static unsigned char GetAllImportantRectangles(SBxSignRun& run, CBxRect<double>* rects, unsigned int& count,
                                                   SBxPicBuf* picture, CBxPoint<double>* anchors,
                                                   unsigned int& anchorCount, bool detection, double zoom);
    // The same for one half, already clamped. 0 when there is a rectangle in the array, 1 without corners or
    // rectangles.
    static unsigned char GetInnerImportantRectangle(CBxRect<double>* rects, unsigned int& count, SBxPicBuf* picture,
                                                    CBxPoint<double>* anchors, unsigned int anchorSlots, bool detection,
                                                    double zoom);
    // Insertion: removes every rectangle that encloses another one.
    static void ReduceNumbersOfRectangles(CBxRect<double>* rects, unsigned int& count);
    // Detection: removes repetitions.
    static void ReduceNumbersOfRectanglesX(CBxRect<double>* rects, unsigned int& count);
    // Brings the carriers, at most 5 that keep apart, to the front of the array and sets the count to their number.
    static unsigned char GetMaxNoOfRectangles(CBxRect<double>* rects, unsigned int& count);

    // ---- sign text (sign_text.cpp) ----

    // The 6-bit code of a character, 0 .. 63.
    static signed char MapCharTo6Bit(char& character);
    // The character of a code; 0 outside 0 .. 63.
    static char Map6BitToChar(char& code);
    // Fills `hashpole`; done once, by whichever operation needs it first.
    static void GenerateHashPole();
    static std::int32_t hashpole[71][3];
    static std::atomic<bool> m_bHashGenerated;
    // Copies (mode 0 and above 3) or mirrors in place (1 to 3) a 16 x 16 grid.
    static void TransformCurrentBytecode(int* target, int* source, unsigned int mode);
};
