// SPDX-License-Identifier: Apache-2.0
#include "support/checks.h"
#include "support/meshes.h"
#include "tessel/exact_sum.h"

#include <cmath>
#include <limits>

namespace {

using namespace zel_test;
using zel::tessel::exact_sum;

constexpr double largest = std::numeric_limits<double>::max();
constexpr double smallest = std::numeric_limits<double>::denorm_min();

struct product {
    double a, b;
    unsigned doublings = 0;
};

int sign_of(std::initializer_list<product> products) {
    exact_sum sum;
    for (const product& p : products) sum.add_product(p.a, p.b, p.doublings);
    return sum.sign();
}

TEST(ExactSum, NothingIsZero) {
    EXPECT_EQ(0, exact_sum().sign());
    EXPECT_EQ(0, sign_of({{0, 5}, {-3, 0}, {-0.0, largest}}));
}

TEST(ExactSum, OneProductHasItsSign) {
    for (const double a : {1.0, 0.1, largest, smallest, std::numeric_limits<double>::min()})
        for (const double b : {3.0, largest, smallest}) {
            EXPECT_EQ(1, sign_of({{a, b}}));
            EXPECT_EQ(1, sign_of({{-a, -b}}));
            EXPECT_EQ(-1, sign_of({{-a, b}}));
            EXPECT_EQ(-1, sign_of({{a, -b}}));
        }
}

TEST(ExactSum, EqualProductsCancel) {
    EXPECT_EQ(0, sign_of({{0.1, 0.3}, {-0.3, 0.1}}));
    EXPECT_EQ(0, sign_of({{largest, largest}, {-largest, largest}}));
    EXPECT_EQ(0, sign_of({{6, 7}, {-2, 21}}));
    EXPECT_EQ(0, sign_of({{3, 5, 1}, {-6, 5}}));
    EXPECT_EQ(1, sign_of({{3, 5, 1}, {-3, 5}}));
}

TEST(ExactSum, TheSmallestProductDecidesBesideTheLargestThatCancel) {
    EXPECT_EQ(1, sign_of({{largest, largest}, {smallest, smallest}, {-largest, largest}}));
    EXPECT_EQ(-1, sign_of({{-smallest, smallest}, {-largest, largest}, {largest, largest}}));
    EXPECT_EQ(1, sign_of({{largest, largest, 1}, {-largest, largest}, {-smallest, smallest, 1}}));
    EXPECT_EQ(-1, sign_of({{1, smallest}, {-largest, smallest}}));
}

TEST(ExactSum, DistancesAreComparedWithoutRounding) {
    const double step = 0x1p-52;
    // (1 + s)(1 - s) = 1 - s^2
    EXPECT_EQ(-1, sign_of({{1 + step, 1 - step}, {-1, 1}}));
    EXPECT_EQ(1, sign_of({{1 + step, 1 + step}, {-1, 1 + 2 * step}}));
    EXPECT_EQ(0, sign_of({{1 + step, 1 + step}, {-1, 1 + 2 * step}, {-step, step}}));
}

TEST(ExactSum, AgreesWithWholeNumbers) {
    random_numbers random(7);
    for (int round = 0; round < 20000; ++round) {
        const int exponent = static_cast<int>(random.below(800)) - 400;
        const auto draw = [&] {
            return static_cast<std::int64_t>(random.below(1U << 20)) - (1 << 19);
        };
        exact_sum sum;
        std::int64_t expected = 0;
        for (int k = 0; k < 6; ++k) {
            const std::int64_t a = draw();
            const std::int64_t b = k % 3 == 2 ? -expected % 1000 : draw() >> random.below(20);
            const std::int64_t c = k % 3 == 2 ? 1 : a;
            expected += c * b;
            sum.add_product(std::ldexp(static_cast<double>(c), exponent),
                            std::ldexp(static_cast<double>(b), -2 * exponent));
        }
        if (round % 4 == 0) { // take it all away again
            sum.add_product(std::ldexp(-1.0, exponent),
                            std::ldexp(static_cast<double>(expected), -2 * exponent));
            expected = 0;
        }
        ASSERT_EQ((expected > 0) - (expected < 0), sum.sign()) << "round " << round;
    }
}

} // namespace
