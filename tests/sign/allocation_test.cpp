// Every allocation of a detection, of an insertion and of a deep search fails once: the result is 6, and nothing is
// lost or leaked (which the address sanitizer would tell).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>

#include "deep_search.h"
#include "sign_op.h"
#include "test_pictures.h"

namespace {

// The allocation that fails, counted from 0; negative: none. Threads share it.
std::atomic<long> g_failAt{-1};
std::atomic<long> g_allocations{0};

bool Fails() {
    return g_allocations.fetch_add(1) == g_failAt.load();
}

}  // namespace

// The linker leads every call of these functions in the engine here.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the linker's own names
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* old, std::size_t size);
void* __wrap_malloc(std::size_t size) {
    return Fails() ? nullptr : __real_malloc(size);
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return Fails() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* old, std::size_t size) {
    return Fails() ? nullptr : __real_realloc(old, size);
}
// operator new(std::size_t, const std::nothrow_t&)
void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
    return Fails() ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

// Runs `work` with the n-th allocation failing, for n = 0, 1, .. until one run needs no more than n. Returns how many
// runs failed. A sort that gets no buffer does without and changes nothing.
template <typename Work>
int FailEach(Work work) {
    const unsigned char undisturbed = work();
    EXPECT_NE(undisturbed, 6);
    int failed = 0;
    for (long n = 0;; ++n) {
        g_allocations = 0;
        g_failAt = n;
        const unsigned char result = work();
        const bool reached = g_allocations.load() > n;
        g_failAt = -1;
        EXPECT_TRUE(result == 6 || result == undisturbed) << "allocation " << n << ": " << static_cast<int>(result);
        failed += result == 6 ? 1 : 0;
        if (!reached) {
            EXPECT_EQ(result, undisturbed);
            return failed;
        }
    }
}

}  // namespace

TEST(AllocationFailure, OfASearchOfOneZoomIsResultSix) {
    CBxOwnedPic picture = MakeTexturedPicture(400, 360, 3);
    EXPECT_GT(FailEach([&] {
                  char block[CBxSignOp::kTextBytes] = {};
                  SBxSignRun run;
                  return CBxSignOp::ExtractTextFromPictureWithZoom(run, &picture.Pic(), block, 1.3);
              }),
              15);
}

TEST(AllocationFailure, OfAnInsertionIsResultSix) {
    const CBxOwnedPic picture = MakeTexturedPicture(360, 350, 3);
    char text[] = "Veri-2026x";
    EXPECT_GT(FailEach([&] {
                  const long failAt = g_failAt.exchange(-1);
                  CBxOwnedPic copy = CopyOf(picture.Pic());
                  g_allocations = 0;
                  g_failAt = failAt;
                  SBxSignRun run;
                  return CBxSignOp::InsertTextIntoPicture(run, &copy.Pic(), text);
              }),
              15);
}

TEST(AllocationFailure, OfAThreadedSearchEndsItOrStillFindsTheSign) {
    CBxOwnedPic picture = MakeTexturedPicture(380, 350, 3);
    char text[] = "Veri-2026x";
    SBxSignRun run;
    ASSERT_EQ(CBxSignOp::InsertTextIntoPicture(run, &picture.Pic(), text), 0);
    for (long n = 0; n < 60; n += 3) {
        char found[CBxSignOp::kTextBytes] = {};
        g_allocations = 0;
        g_failAt = n;
        const unsigned char result = CBxSignOp::ExtractTextFromPicture(run, &picture.Pic(), found, 2);
        g_failAt = -1;
        EXPECT_TRUE(result == 6 || result == 0) << n;
        EXPECT_STREQ(found, result == 0 ? text : "") << n;
    }
}

TEST(AllocationFailure, OfTheChoiceOfCarriersIsResultSix) {
    CBxRect<double> rects[3] = {{0, 0, 400, 400}, {500, 0, 900, 400}, {1000, 0, 1400, 400}};
    EXPECT_GT(FailEach([&] {
                  unsigned int count = 3;
                  return CBxSignOp::GetMaxNoOfRectangles(rects, count);
              }),
              2);
}

// On one thread, so that allocation n is the same in each run; beyond the first, every so many only.
TEST(AllocationFailure, OfADeepSearchIsResultSixOrChangesNothing) {
    CBxOwnedPic picture = MakeTexturedPicture(96, 80, 5);
    const auto search = [&](long failAt) {
        const auto archive = std::make_unique<CBxCornerArchive>();
        SBxSignRun run;
        SBxDeepFinding finding;
        g_allocations = 0;
        g_failAt = failAt;
        const unsigned char result = BX_SearchDeep(run, picture.Pic(), *archive, 1, finding, nullptr);
        g_failAt = -1;
        return result;
    };
#ifdef __SANITIZE_ADDRESS__
    constexpr long kStep = 97;  // a search is many times slower
#else
    constexpr long kStep = 29;
#endif
    const unsigned char undisturbed = search(-1);
    const long allocations = g_allocations;
    int failed = 0;
    for (long n = 0; n < allocations; n += n < 30 ? 1 : kStep) {
        const unsigned char result = search(n);
        EXPECT_TRUE(result == 6 || result == undisturbed) << "allocation " << n << ": " << static_cast<int>(result);
        failed += result == 6 ? 1 : 0;
    }
    EXPECT_EQ(undisturbed, 1);
    EXPECT_GT(failed, 30);
}
