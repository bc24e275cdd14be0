#include <cfloat>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

#include "pellium/util/MathUtilities.h"

namespace pellium {
namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

struct Case {
    double a;
    double b;
    double e;
    bool eq;
    bool ge;
    bool le;
};

}  // namespace

TEST(MathUtilities, TolerantComparisonsFollowTheMissingInfinityAndToleranceRules) {
    const std::vector<Case> cases = {
        // a,        b,          e,      eq,    ge,    le
        // Missing values (NaN) equal only each other and sort below every number.
        {NOT_A_NUMBER, NOT_A_NUMBER, 0.1, true, true, true},
        {NOT_A_NUMBER, 1.0, 0.1, false, false, true},
        {1.0, NOT_A_NUMBER, 0.1, false, true, false},
        {NOT_A_NUMBER, -INFINITE, 0.1, false, false, true},
        {-INFINITE, NOT_A_NUMBER, 0.1, false, true, false},
        // An infinity equals only itself, whatever the tolerance.
        {INFINITE, INFINITE, 0.0, true, true, true},
        {-INFINITE, -INFINITE, 0.0, true, true, true},
        {INFINITE, -INFINITE, 0.0, false, true, false},
        {-INFINITE, INFINITE, 0.0, false, false, true},
        {INFINITE, DBL_MAX, INFINITE, false, true, false},
        {DBL_MAX, INFINITE, INFINITE, false, false, true},
        {-INFINITE, 5.0, INFINITE, false, false, true},
        {5.0, -INFINITE, INFINITE, false, true, false},
        {-DBL_MAX, -INFINITE, 1.0, false, true, false},
        // Exact equality, also with no tolerance and for signed zeros.
        {3.0, 3.0, 0.0, true, true, true},
        {0.0, -0.0, 0.0, true, true, true},
        {DBL_TRUE_MIN, 0.0, 0.0, false, true, false},
        // The absolute bound.
        {1.0, 1.05, 0.1, true, true, true},
        {1.05, 1.0, 0.1, true, true, true},
        {1.0, 1.2, 0.1, false, false, true},
        {1.2, 1.0, 0.1, false, true, false},
        // The relative bound, scaled by the larger magnitude: 1 <= 0.00995 * 101 but > 0.00995 * 100.
        {1000.0, 1001.0, 0.01, true, true, true},
        {-100.0, -101.0, 0.00995, true, true, true},
        {-101.0, -100.0, 0.00995, true, true, true},
        {100.0, 101.0, 0.0099, false, false, true},
        {101.0, 100.0, 0.0099, false, true, false},
        {1e300, 1.001e300, 0.01, true, true, true},
        {1e-300, 2e-300, 0.0, false, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << "a=" << c.a << " b=" << c.b << " e=" << c.e);
        EXPECT_EQ(MathUtilities::epsilon_eq(c.a, c.b, c.e), c.eq);
        EXPECT_EQ(MathUtilities::epsilon_ge(c.a, c.b, c.e), c.ge);
        EXPECT_EQ(MathUtilities::epsilon_le(c.a, c.b, c.e), c.le);
        EXPECT_EQ(MathUtilities::epsilon_ne(c.a, c.b, c.e), !c.eq);
        EXPECT_EQ(MathUtilities::epsilon_lt(c.a, c.b, c.e), !c.ge);
        EXPECT_EQ(MathUtilities::epsilon_gt(c.a, c.b, c.e), !c.le);
    }
}

// Properties that hold for all finite values: equality is symmetric, ge and le mirror each
// other, equal values are both ge and le, and with no tolerance the comparisons are exact.
TEST(MathUtilities, TolerantComparisonsAreSymmetricMirroredAndExactWithoutTolerance) {
    std::mt19937_64 random(936);
    std::uniform_real_distribution<double> value(-1000.0, 1000.0);
    std::uniform_real_distribution<double> tolerance(0.0, 0.05);
    for (int iteration = 0; iteration < 200'000; ++iteration) {
        const double a = value(random);
        const double b = iteration % 3 == 0 ? a + value(random) * 1e-4 : value(random);
        const double e = tolerance(random);
        ASSERT_EQ(MathUtilities::epsilon_eq(a, b, e), MathUtilities::epsilon_eq(b, a, e));
        ASSERT_EQ(MathUtilities::epsilon_ge(a, b, e), MathUtilities::epsilon_le(b, a, e));
        if (MathUtilities::epsilon_eq(a, b, e)) {
            ASSERT_TRUE(MathUtilities::epsilon_ge(a, b, e) && MathUtilities::epsilon_le(a, b, e));
        }
        ASSERT_EQ(MathUtilities::epsilon_eq(a, b, 0.0), a == b);
        ASSERT_EQ(MathUtilities::epsilon_ge(a, b, 0.0), a >= b);
        ASSERT_EQ(MathUtilities::epsilon_lt(a, b, 0.0), a < b);
    }
}

}  // namespace pellium
