// SPDX-License-Identifier: Apache-2.0
// A processor that works on one double at a time gives the same bits as one that works on four.
#include "every_function/calls.h"
#include "support/lanes.h"

#include <gtest/gtest.h>

namespace {

using namespace zel_test::every_function;

TEST(EveryCall, HasTheSameResultOnAProcessorThatWorksOnOneDoubleAtATime) {
    for (const call& c : all_calls()) {
        const outcome as_ever = c.run({});
        const zel_test::one_lane only;
        EXPECT_EQ(digest_of(as_ever), digest_of(c.run({}))) << c.name();
    }
}

} // namespace
