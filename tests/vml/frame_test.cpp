#include <cerrno>
#include <cfenv>

#include "simd/control.hpp"
#include "tests/vml/support.hpp"

namespace ozk::vml::test {
namespace {

struct Form {
    const char* name;
    Unary unit;
    UnaryStrided strided;
};
constexpr Form kForms[] = {{"dExp LA", _vmldExp_50, _vmldExpI_50}, {"dExp HA", _vmldExp, _vmldExpI},
                           {"dExp EP", _vmldExp_26, _vmldExpI_26}, {"dLn LA", _vmldLn_50, _vmldLnI_50},
                           {"dLn HA", _vmldLn, _vmldLnI},          {"dLn EP", _vmldLn_26, _vmldLnI_26}};

class Frame : public FreshState {
  protected:
    // Ordinary arguments with special ones strewn in: poles, overflows, underflows, NaN, infinities.
    static std::vector<double> mixed(int n) {
        std::mt19937_64 random(n);
        std::uniform_real_distribution<double> unit(0.01, 3);
        const double special[] = {0, -1, 800, -800, -710, kNaN, kInfinity, 5e-324};
        std::vector<double> x(n);
        for (double& v : x) v = random() % 11 == 0 ? special[random() % 8] : unit(random);
        return x;
    }

    static void expect_same_bits(const std::vector<double>& a, const std::vector<double>& b,
                                 const std::string& what) {
        ASSERT_EQ(a.size(), b.size());
        for (size_t i = 0; i < a.size(); ++i) ASSERT_EQ(bits_of(a[i]), bits_of(b[i])) << what << " at " << i;
    }
};

TEST_F(Frame, GivesAnElementTheSameBitsWhereverItStands) {
    _vmlSetMode(kVmlErrorIgnore);
    const std::vector<double> x = mixed(100);
    for (const Form& form : kForms) {
        std::vector<double> one_by_one;
        for (const double v : x) one_by_one.push_back(call(form.unit, v));
        for (int offset = 0; offset < 3; ++offset) {
            for (int n = 0; offset + n <= 70; ++n) {
                std::vector<double> y(static_cast<size_t>(n) + 2, -7.0);
                form.unit(n, &x[offset], &y[1]);
                ASSERT_EQ(y.front(), -7.0);
                ASSERT_EQ(y.back(), -7.0) << form.name << " wrote beyond " << n;
                expect_same_bits({y.begin() + 1, y.end() - 1}, {&one_by_one[offset], &one_by_one[offset + n]},
                                 form.name);
            }
        }
    }
}

TEST_F(Frame, WorksInPlaceAndWithAnyStride) {
    _vmlSetMode(kVmlErrorIgnore);
    const int n = 37;
    const std::vector<double> x = mixed(n);
    for (const Form& form : kForms) {
        std::vector<double> plain(n);
        form.unit(n, x.data(), plain.data());

        std::vector<double> in_place = x;
        form.unit(n, in_place.data(), in_place.data());
        expect_same_bits(in_place, plain, form.name);

        for (const int inca : {1, 2, 3, -1, -4}) {
            for (const int incr : {1, 2, 5, -3}) {
                std::vector<double> a(static_cast<size_t>(n) * 4 + 1, -7.0),
                    r(static_cast<size_t>(n) * 5 + 1, -7.0);
                double* first_a = inca > 0 ? a.data() : a.data() - static_cast<ptrdiff_t>(n - 1) * inca;
                double* first_r = incr > 0 ? r.data() : r.data() - static_cast<ptrdiff_t>(n - 1) * incr;
                for (int i = 0; i < n; ++i) first_a[static_cast<ptrdiff_t>(i) * inca] = x[i];
                form.strided(n, first_a, inca, first_r, incr);
                std::vector<double> y(n);
                for (int i = 0; i < n; ++i) {
                    y[i] = first_r[static_cast<ptrdiff_t>(i) * incr];
                    first_r[static_cast<ptrdiff_t>(i) * incr] = -7.0;
                }
                expect_same_bits(y, plain, form.name);
                for (const double v : r) ASSERT_EQ(v, -7.0) << form.name << " wrote between the elements";
            }
        }
    }
}

TEST_F(Frame, DoesNothingForCountsBelowOne) {
    for (const Form& form : kForms) {
        form.unit(0, nullptr, nullptr);
        form.unit(-3, nullptr, nullptr);
        form.strided(-1, nullptr, 2, nullptr, 2);
    }
    EXPECT_EQ(_vmlGetErrStatus(), 0);
}

std::vector<VmlErrorRecord> records;
int collect(VmlErrorRecord* record) {
    records.push_back(*record);
    return 0;
}

TEST_F(Frame, ReportsEachSpecialElementInOrderWithItsArgument) {
    std::vector<double> x(50, 0.5);
    x[3] = 0;
    x[20] = -2;
    x[47] = -0.0;
    for (const bool in_place : {false, true}) {
        std::vector<double> a = x, other(50);
        std::vector<double>& r = in_place ? a : other;
        records.clear();
        _vmlSetErrorCallBack(collect);
        _vmldLn(50, a.data(), r.data());
        ASSERT_EQ(records.size(), 3u);
        EXPECT_EQ(records[0].index, 3);
        EXPECT_EQ(records[0].code, kVmlSingularity);
        EXPECT_EQ(records[0].r1, -kInfinity);
        EXPECT_EQ(records[1].index, 20);
        EXPECT_EQ(records[1].a1, -2) << (in_place ? "in place" : "");
        EXPECT_EQ(records[1].a2, -2);
        EXPECT_TRUE(std::isnan(records[1].r1));
        EXPECT_EQ(records[2].index, 47);
        EXPECT_STREQ(records[0].name, "vdLn");
        EXPECT_EQ(_vmlGetErrStatus(), kVmlSingularity) << "the last one";
        EXPECT_EQ(errno, ERANGE);
    }

    records.clear();
    std::vector<double> r(50);
    _vmldLnI(25, x.data() + 1, 2, r.data(), 1);  // elements 1, 3, ... 49
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].index, 1);
    EXPECT_EQ(records[1].index, 23);
    EXPECT_STREQ(records[1].name, "vdLnI");
}

int replace_by_17(VmlErrorRecord* record) {
    record->r1 = 17;
    return 0;
}

TEST_F(Frame, StoresWhatTheCallbackPutsInTheResultsPlace) {
    _vmlSetErrorCallBack(replace_by_17);
    double x[] = {1, 0, 1}, r[3];
    _vmldLn(3, x, r);
    EXPECT_EQ(r[0], 0);
    EXPECT_EQ(r[1], 17);
    EXPECT_EQ(r[2], 0);
}

TEST_F(Frame, GivesTheControlWordsBackAndKeepsRaisedFlags) {
    constexpr uint32_t kUpFlushAllMasked = 0xDF80, kDivideUnmasked = 0x1D80;
    const uint32_t mxcsr = simd::read_mxcsr();
    const uint16_t x87 = simd::read_x87_control();
    for (const uint32_t word : {mxcsr & 0xFFC0, kUpFlushAllMasked, kDivideUnmasked}) {
        for (const int n : {1, 40}) {
            std::vector<double> x(n, -0.7), r(n), expected(n);
            _vmldExp(n, x.data(), expected.data());
            simd::write_mxcsr(word | 0x1);    // an invalid flag of the caller's own
            simd::write_x87_control(0x0340);  // nothing masked, extended precision
            _vmldExp(n, x.data(), r.data());
            const uint32_t after = simd::read_mxcsr();
            const uint16_t x87_after = simd::read_x87_control();
            simd::write_mxcsr(mxcsr);
            simd::write_x87_control(x87);
            EXPECT_EQ(after & 0xFFC0, word & 0xFFC0);
            EXPECT_EQ(after & 0x3F, 0x21u) << "the caller's invalid and the kernel's inexact";
            EXPECT_EQ(x87_after, 0x0340);
            expect_same_bits(r, expected, "rounded to nearest whatever the caller's mode");
        }
    }
}

// compute() must not see special lanes: exp of an infinity or a NaN raises nothing, and a pole only what it
// is.
TEST_F(Frame, RaisesNoFlagThatTheElementDoesNot) {
    _vmlSetMode(kVmlErrorIgnore);
    for (const Form& form : {kForms[1], kForms[4]}) {
        std::vector<double> x(33, 1.0), r(33);
        x[5] = kInfinity;
        x[17] = kNaN;
        x[32] = kInfinity;
        std::feclearexcept(FE_ALL_EXCEPT);
        form.unit(33, x.data(), r.data());
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT & ~FE_INEXACT), 0) << form.name;
    }
    std::feclearexcept(FE_ALL_EXCEPT);
}

TEST_F(Frame, ReadsModeFlushOnlyForItsOwnRun) {
    const uint32_t mxcsr = simd::read_mxcsr();
    _vmlSetMode(kVmlDenormalFlush);
    double x = -720, r = 1;
    _vmldExp(1, &x, &r);
    EXPECT_EQ(r, 0);
    EXPECT_EQ(simd::read_mxcsr() & 0xFFC0, mxcsr & 0xFFC0);
    _vmlSetMode(kVmlDenormalKeep);
    _vmldExp(1, &x, &r);
    EXPECT_GT(r, 0);
}

}  // namespace
}  // namespace ozk::vml::test
