// SPDX-License-Identifier: Apache-2.0
// The sum of products without rounding: how it is rounded in the end, and what is not finite.
#include "geometry/long_sum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <limits>

namespace {

using zel::tessel2d::long_sum;

constexpr double last_bit = 0x1p-52; // of numbers from 1 to 2

void add_product(long_sum& sum, double x, double y, double z, bool negative) {
    sum.add(long_sum::factor(x), long_sum::factor(y), long_sum::factor(z), negative, 0);
}
double sum_of(std::initializer_list<double> numbers) {
    long_sum sum;
    for (const double x : numbers) sum.add(x);
    return sum.rounded(1);
}

TEST(LongSum, HalvesOfTheLastBitGoToTheEvenNumber) {
    EXPECT_EQ(1, sum_of({1, last_bit / 2}));
    EXPECT_EQ(1 + 2 * last_bit, sum_of({1, last_bit, last_bit / 2}));
    EXPECT_EQ(-1 - 2 * last_bit, sum_of({-1, -last_bit, -last_bit / 2}));
    EXPECT_EQ(1 + 2 * last_bit, sum_of({1, 2 * last_bit, last_bit / 2}));
}

TEST(LongSum, MoreAndLessThanAHalfGoToTheNearest) {
    EXPECT_EQ(1 + last_bit, sum_of({1, last_bit / 2, 5e-324}));
    EXPECT_EQ(1 + last_bit, sum_of({1, last_bit, last_bit / 2, -5e-324}));
    EXPECT_EQ(1, sum_of({1, last_bit / 4, last_bit / 8}));
}

TEST(LongSum, NoTermIsLost) {
    EXPECT_EQ(1, sum_of({1e308, 1e-300, 1, -1e308, -1e-300}));
    EXPECT_EQ(5e-324, sum_of({1e308, 5e-324, -1e308}));
    long_sum products;
    add_product(products, 1e200, 1e100, 1e-300, false);
    add_product(products, 3, 5, 7, true);
    add_product(products, 1e200, 1e100, 1e-300, true);
    products.add(long_sum::factor(-2), long_sum::factor(5), long_sum::factor(7), false,
                 1); // doubled
    EXPECT_EQ(-245, products.rounded(1));
}

TEST(LongSum, ManyTermsDoNotOverflowADigit) {
    constexpr unsigned many = (1U << 24) + 5;
    long_sum ones, products;
    for (unsigned k = 0; k < many; ++k) {
        ones.add(1 + last_bit);
        add_product(products, 1 + last_bit, 1, 1, true);
    }
    EXPECT_EQ(many * (1 + last_bit), ones.rounded(1));
    EXPECT_EQ(-1.0 * many * (1 + last_bit), products.rounded(1));
}

TEST(LongSum, AnyFactorThatIsNotFiniteGivesNaN) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double x : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()})
        for (unsigned place = 0; place < 3; ++place) {
            long_sum sum;
            add_product(sum, 1, 1, 1, false);
            EXPECT_TRUE(sum.is_finite());
            add_product(sum, place == 0 ? x : 1, place == 1 ? x : 1, place == 2 ? x : 0, false);
            EXPECT_FALSE(sum.is_finite());
            add_product(sum, 1, 1, 1, false);
            EXPECT_TRUE(std::isnan(sum.rounded(1)));
        }
}

} // namespace
