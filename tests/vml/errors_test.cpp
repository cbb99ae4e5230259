#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <csetjmp>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "ozk_vml.h"

namespace {

VmlErrorRecord last_record;
int calls = 0;
int answer = 0;
double replacement = 0;
bool replace = false;

int remember(VmlErrorRecord* record) {
    last_record = *record;
    ++calls;
    if (replace) record->r1 = record->r1_imaginary = replacement;
    return answer;
}

class Errors : public testing::Test {
  protected:
    void SetUp() override {
        _vmlSetMode(kVmlHa | kVmlErrorDefault | kVmlDenormalKeep);
        _vmlClearErrorCallBack();
        _vmlSetInterfInputVectorPointer(nullptr);
        _vmlSetErrStatus(99);
        calls = answer = 0;
        replace = false;
        errno = 0;
        std::feclearexcept(FE_ALL_EXCEPT);
    }
    void TearDown() override {
        _vmlClearErrorCallBack();
        _vmlSetInterfInputVectorPointer(nullptr);
        std::feclearexcept(FE_ALL_EXCEPT);
    }

    double a[4] = {1, 2, 3, 4};
    double b[4] = {5, 6, 7, 8};
    double r[4] = {10, 20, 30, 40};
    double q[4] = {50, 60, 70, 80};
};

TEST_F(Errors, SetStatusErrnoAndFlagByCode) {
    const struct {
        int code, error, flag;
    } cases[] = {{kVmlBadMemory, EACCES, 0},
                 {kVmlBadSize, EINVAL, 0},
                 {kVmlOk, 0, 0},
                 {kVmlDomain, EDOM, FE_INVALID},
                 {kVmlSingularity, ERANGE, FE_DIVBYZERO},
                 {kVmlOverflow, ERANGE, FE_OVERFLOW},
                 {kVmlUnderflow, ERANGE, FE_UNDERFLOW},
                 {17, EFAULT, 0}};
    for (const auto& c : cases) {
        errno = 4711;
        std::feclearexcept(FE_ALL_EXCEPT);
        ozk_vml_kernel_dError(c.code, 1, a, a, r, r, "vdTest");
        EXPECT_EQ(_vmlGetErrStatus(), c.code);
        EXPECT_EQ(errno, c.error) << c.code;
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), c.flag) << c.code;
    }
}

TEST_F(Errors, ActOnlyAsTheModeSays) {
    _vmlSetErrorCallBack(remember);
    _vmlSetMode(kVmlErrorNone);
    ozk_vml_kernel_dError(kVmlDomain, 0, a, a, r, r, "vdTest");
    EXPECT_EQ(_vmlGetErrStatus(), 99) << "no error handling leaves the status";

    _vmlSetMode(kVmlErrorIgnore);
    ozk_vml_kernel_dError(kVmlDomain, 0, a, a, r, r, "vdTest");
    EXPECT_EQ(_vmlGetErrStatus(), kVmlDomain);

    _vmlSetMode(kVmlErrorErrno);
    ozk_vml_kernel_dError(kVmlOverflow, 0, a, a, r, r, "vdTest");
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
    EXPECT_EQ(calls, 0) << "the callback's bit is not set";

    errno = 0;
    _vmlSetMode(kVmlErrorException);
    ozk_vml_kernel_dError(kVmlOverflow, 0, a, a, r, r, "vdTest");
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), FE_OVERFLOW);
}

TEST_F(Errors, GiveTheCallbackTheWholeRecord) {
    _vmlSetErrorCallBack(remember);
    ozk_vml_kernel_dError(kVmlDomain, 2, a, b, r, q, "vdTest");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(last_record.code, kVmlDomain);
    EXPECT_EQ(last_record.index, 2);
    EXPECT_EQ(last_record.a1, 3);
    EXPECT_EQ(last_record.a2, 7);
    EXPECT_EQ(last_record.r1, 30);
    EXPECT_EQ(last_record.r2, 70);
    EXPECT_STREQ(last_record.name, "vdTest");
    EXPECT_EQ(last_record.name_length, 6);

    const std::string name(60, 'x');
    ozk_vml_kernel_dError(kVmlDomain, 2, a, b, r, q, name.c_str());
    EXPECT_EQ(last_record.name_length, 47);
    EXPECT_EQ(last_record.name, name.substr(0, 47));
}

TEST_F(Errors, LetTheCallbackReplaceTheResultOrEndTheReporting) {
    _vmlSetErrorCallBack(remember);
    replace = true;
    replacement = -1;
    ozk_vml_kernel_dError(kVmlSingularity, 1, a, a, r, q, "vdTest");
    EXPECT_EQ(r[1], -1);
    EXPECT_EQ(q[1], 60);
    EXPECT_EQ(errno, ERANGE);

    // With one result r2 is r1, and the record's r1 is stored last.
    ozk_vml_kernel_dError(kVmlSingularity, 3, a, a, r, r, "vdTest");
    EXPECT_EQ(r[3], -1);

    errno = 0;
    answer = 1;
    ozk_vml_kernel_dError(kVmlDomain, 0, a, a, r, r, "vdTest");
    EXPECT_EQ(r[0], 10);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(_vmlGetErrStatus(), kVmlDomain);
}

TEST_F(Errors, ReadNoElementOfABadCall) {
    _vmlSetErrorCallBack(remember);
    ozk_vml_kernel_dError(kVmlBadSize, -5, nullptr, nullptr, nullptr, nullptr, "vdTest");
    EXPECT_EQ(last_record.index, -5);
    EXPECT_EQ(last_record.a1, 0);
    ozk_vml_kernel_zErrorI(kVmlBadMemory, 0, nullptr, 3, nullptr, 3, nullptr, 3, nullptr, 3, "vzTest");
    EXPECT_EQ(last_record.code, kVmlBadMemory);
}

TEST_F(Errors, CountIndicesFromTheBasePointer) {
    std::vector<double> whole(200), results(200);
    _vmlSetErrorCallBack(remember);
    _vmlSetInterfInputVectorPointer(whole.data());
    ozk_vml_kernel_dError(kVmlDomain, 3, &whole[100], &whole[100], &results[100], &results[100], "vdTest");
    EXPECT_EQ(last_record.index, 103);
    // Strided: element 100 of the array is element 50 of the vector.
    ozk_vml_kernel_dErrorI(kVmlDomain, 3, &whole[100], 2, &whole[100], 2, &results[100], 1, &results[100], 1,
                           "vdTestI");
    EXPECT_EQ(last_record.index, 53);
}

TEST_F(Errors, WidenEveryElementTypeAndNarrowTheReplacement) {
    _vmlSetErrorCallBack(remember);
    replace = true;
    replacement = 0.1;

    float fa[] = {1.5f}, fr[] = {2.5f};
    ozk_vml_kernel_sError(kVmlDomain, 0, fa, fa, fr, fr, "vsTest");
    EXPECT_EQ(last_record.a1, 1.5);
    EXPECT_EQ(fr[0], 0.1f);

    OzkComplex16 za[] = {{1, 2}, {3, 4}}, zr[] = {{5, 6}, {7, 8}};
    ozk_vml_kernel_zErrorI(kVmlDomain, 1, za, 1, za, 1, zr, 1, zr, 1, "vzTest");
    EXPECT_EQ(last_record.a1, 3);
    EXPECT_EQ(last_record.a2_imaginary, 4);
    EXPECT_EQ(last_record.r1_imaginary, 8);
    EXPECT_EQ(zr[1].re, 0.1);
    EXPECT_EQ(zr[1].im, 0.1);

    OzkComplex8 ca[] = {{1, 2}}, cr[] = {{5, 6}};
    ozk_vml_kernel_cError(kVmlDomain, 0, ca, ca, cr, cr, "vcTest");
    EXPECT_EQ(last_record.r2_imaginary, 6);
    EXPECT_EQ(cr[0].im, 0.1f);
}

// Every half-precision number survives; between two neighbours the nearer one is taken, ties to even.
TEST_F(Errors, ConvertHalfPrecisionExactly) {
    _vmlSetErrorCallBack(remember);
    for (uint32_t bits = 0; bits < 0x10000; ++bits) {
        uint16_t a16[] = {static_cast<uint16_t>(bits)}, r16[] = {static_cast<uint16_t>(bits)};
        replace = false;
        ozk_vml_kernel_hError(kVmlDomain, 0, a16, a16, r16, r16, "vhTest");
        const uint32_t exponent = bits >> 10 & 31, fraction = bits & 1023;
        const bool nan = exponent == 31 && fraction != 0;
        ASSERT_EQ(r16[0], nan ? bits | 0x200 : bits) << "a NaN becomes quiet";
        if (exponent == 31) {
            ASSERT_EQ(std::isinf(last_record.a1), fraction == 0);
            continue;
        }
        const double magnitude = exponent == 0 ? std::ldexp(fraction, -24)
                                               : std::ldexp(1024 + fraction, static_cast<int>(exponent) - 25);
        ASSERT_EQ(last_record.a1, bits & 0x8000 ? -magnitude : magnitude);

        const double ulp = std::ldexp(1.0, exponent == 0 ? -24 : static_cast<int>(exponent) - 25);
        replace = true;
        for (const double step : {0.49, 0.5, 0.51}) {
            replacement = magnitude + step * ulp;
            ozk_vml_kernel_hError(kVmlDomain, 0, a16, a16, r16, r16, "vhTest");
            const bool up = step > 0.5 || (step == 0.5 && (bits & 1) != 0);
            ASSERT_EQ(r16[0], (bits & 0x7FFF) + up) << std::hex << bits << " " << step;
        }
    }
}

TEST_F(Errors, PrintAHeadlineAndALineAValue) {
    _vmlSetMode(kVmlErrorStderr);
    const auto printed = [&](int code, const double* a2, double* r2) {
        testing::internal::CaptureStderr();
        ozk_vml_kernel_dError(code, 1, a, a2, r, r2, "vdTest");
        return testing::internal::GetCapturedStderr();
    };
    const auto lines = [](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); };
    for (const int code : {1, 2, 3, 4, 9}) {
        const std::string text = printed(code, a, r);
        EXPECT_EQ(lines(text), 3) << text;
        EXPECT_NE(text.find("vdTest"), std::string::npos);
        EXPECT_NE(text.find("20"), std::string::npos) << "the result: " << text;
    }
    EXPECT_EQ(lines(printed(1, a, q)), 4);
    EXPECT_EQ(lines(printed(1, b, r)), 4);
    EXPECT_EQ(lines(printed(1, b, q)), 5);
    EXPECT_EQ(lines(printed(kVmlBadMemory, b, q)), 1);
    EXPECT_EQ(lines(printed(kVmlBadSize, b, q)), 1);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
}

sigjmp_buf after_trap;

// On a thread of its own: trap bits can be replaced but not cleared.
TEST_F(Errors, TrapWhatTheModeAsksFor) {
    std::thread([&] {
        const auto traps = [&](int code) {
            volatile bool trapped = false;
            struct sigaction old_action, action{};
            action.sa_handler = [](int) { siglongjmp(after_trap, 1); };
            sigaction(SIGFPE, &action, &old_action);
            if (sigsetjmp(after_trap, 1) == 0) {
                ozk_vml_kernel_dError(code, 0, a, a, r, r, "vdTest");
            } else {
                trapped = true;
                asm volatile("fninit");
            }
            sigaction(SIGFPE, &old_action, nullptr);
            return static_cast<bool>(trapped);
        };
        const struct {
            int code;
            uint32_t trap;
        } cases[] = {{kVmlDomain, kVmlTrapInvalid},
                     {kVmlSingularity, kVmlTrapDivideByZero},
                     {kVmlOverflow, kVmlTrapOverflow},
                     {kVmlUnderflow, kVmlTrapUnderflow}};
        for (const auto& c : cases) {
            std::feclearexcept(FE_ALL_EXCEPT);
            EXPECT_FALSE(traps(c.code)) << "no trap bit is set";
        }
        for (const auto& c : cases) {
            _vmlSetMode(c.trap);
            for (const auto& other : cases) {
                std::feclearexcept(FE_ALL_EXCEPT);
                EXPECT_EQ(traps(other.code), c.trap == other.trap) << other.code;
            }
        }
    }).join();
}

}  // namespace
