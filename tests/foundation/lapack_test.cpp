// SPDX-License-Identifier: Apache-2.0
#include "support/checks.h"
#include "support/meshes.h"
#include "zel/lapack.h"

namespace {

using namespace zel_test;
using zel::lapack::dspev;

struct result {
    double w[3] = {0, 0, 0};
    double z[9] = {};
    long info = 77;
    int returned = 77;
};
result eigen(char jobz, char uplo, std::initializer_list<double> packed) {
    result r;
    double ap[6], work[9];
    std::copy(packed.begin(), packed.end(), ap);
    r.returned = dspev(jobz, uplo, 3, ap, r.w, r.z, 3, work, r.info);
    return r;
}

TEST(Dspev, EigenvaluesComeInAscendingOrder) {
    const result r = eigen('N', 'U', {5, 0, 1, 0, 0, 3});
    EXPECT_EQ(0, r.info);
    EXPECT_EQ(0, r.returned);
    EXPECT_NEAR(1, r.w[0], 1e-15);
    EXPECT_NEAR(3, r.w[1], 1e-15);
    EXPECT_NEAR(5, r.w[2], 1e-14);
}

TEST(Dspev, ThePackingIsThatOfSymmetricFixed) {
    // Eigenvectors belong to the matrix with the upper triangle column after column.
    const zel::symmetric_fixed<double, 3> m{{4, 1, 3, 0.5, -0.25, 2}};
    const result r = eigen('V', 'U', {4, 1, 3, 0.5, -0.25, 2});
    ASSERT_EQ(0, r.info);
    for (std::size_t k = 0; k < 3; ++k) {
        double length = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            double product = 0;
            for (std::size_t j = 0; j < 3; ++j) product += m(i, j) * r.z[3 * k + j];
            EXPECT_NEAR(r.w[k] * r.z[3 * k + i], product, 1e-14);
            length += r.z[3 * k + i] * r.z[3 * k + i];
        }
        EXPECT_NEAR(1, length, 1e-14);
    }
    EXPECT_LE(r.w[0], r.w[1]);
    EXPECT_LE(r.w[1], r.w[2]);
}

TEST(Dspev, WithoutVectorsTheirPlaceMayBeNull) {
    double ap[6] = {2, 1, 2, 0, 0, 5};
    double w[3], work[9];
    long info = 77;
    EXPECT_EQ(0, dspev('N', 'U', 3, ap, w, nullptr, 1, work, info));
    EXPECT_EQ(0, info);
    EXPECT_NEAR(3, w[1], 1e-14);
}

TEST(Dspev, TheLowerTriangleAndOtherOrders) {
    double ap[3] = {2, 1, 2};
    double w[2], z[6], work[6];
    long info = 77;
    EXPECT_EQ(0, dspev('v', 'l', 2, ap, w, z, 3, work, info));
    EXPECT_NEAR(1, w[0], 1e-15);
    EXPECT_NEAR(3, w[1], 1e-15);
    EXPECT_NEAR(z[3], z[4], 1e-15) << "columns are ldz apart";
    double one[1] = {7};
    EXPECT_EQ(0, dspev('V', 'U', 1, one, w, z, 1, work, info));
    EXPECT_EQ(7, w[0]);
    EXPECT_EQ(0, dspev('V', 'U', 0, one, w, z, 1, work, info));
}

TEST(Dspev, UnusableArgumentsAreNamedAndNothingIsTouched) {
    double ap[6] = {2, 1, 2, 0, 0, 5};
    double w[3] = {9, 9, 9}, z[9], work[9];
    long info = 0;
    EXPECT_EQ(-1, dspev('X', 'U', 3, ap, w, z, 3, work, info));
    EXPECT_EQ(-1, info);
    EXPECT_EQ(-2, dspev('V', 'X', 3, ap, w, z, 3, work, info));
    EXPECT_EQ(-3, dspev('V', 'U', -1, ap, w, z, 3, work, info));
    EXPECT_EQ(-3, dspev('V', 'U', 1L << 40, ap, w, z, 3, work, info));
    EXPECT_EQ(-7, dspev('V', 'U', 3, ap, w, z, 2, work, info));
    EXPECT_EQ(-7, dspev('N', 'U', 3, ap, w, z, 0, work, info));
    EXPECT_EQ(2, ap[0]);
    EXPECT_EQ(9, w[0]);
}

TEST(Dspev, NonFiniteEntriesReturnOne) {
    for (const double odd : {zel_test::nan, infinity, -infinity}) {
        const result r = eigen('V', 'U', {1, 0, 1, 0, odd, 1});
        EXPECT_EQ(1, r.info);
        EXPECT_EQ(0, r.w[0]) << "left alone";
    }
}

TEST(Dspev, MatricesOfAnySize) {
    for (const double scale : {1e-300, 1e-160, 1e160, 1e300}) {
        const result r = eigen('V', 'U', {2 * scale, scale, 2 * scale, 0, 0, 5 * scale});
        EXPECT_EQ(0, r.info);
        EXPECT_NEAR(1, r.w[0] / scale, 1e-14);
        EXPECT_NEAR(5, r.w[2] / scale, 1e-14);
    }
}

TEST(Dspev, ABadArgumentOfAMatrixThatIsThereIsReportedAndNothingChanges) {
    double ap[3] = {2, 1, 2};
    double w[2] = {7, 7};
    double z[4] = {7, 7, 7, 7};
    double work[6];
    const auto status = [&](char jobz, char uplo, long ldz) {
        long info = 99;
        const int result = dspev(jobz, uplo, 2, ap, w, z, ldz, work, info);
        EXPECT_EQ(result, info);
        return result;
    };
    EXPECT_EQ(-1, status('X', 'U', 2));
    EXPECT_EQ(-2, status('V', 'X', 2));
    EXPECT_EQ(-7, status('V', 'U', 1));
    EXPECT_EQ(-7, status('N', 'U', 0));
    EXPECT_EQ(-7, status('N', 'U', 1L << 40));
    EXPECT_EQ(2, ap[0]);
    EXPECT_EQ(7, w[0]);
    EXPECT_EQ(7, z[0]);
    EXPECT_EQ(0, status('N', 'U', 1));
    EXPECT_NEAR(1, w[0], 1e-15);
    EXPECT_NEAR(3, w[1], 1e-15);
}

} // namespace
