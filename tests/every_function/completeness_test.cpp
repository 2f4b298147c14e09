// SPDX-License-Identifier: Apache-2.0
// The catalogue covers every line of functions.txt, which in turn is compared with what the library
// exports by scripts/check-functions.
#include "every_function/calls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

namespace {

using namespace zel_test::every_function;

std::set<std::string> exported_functions() {
    std::ifstream list(std::string(ZEL_TEST_DATA) + "/every_function/functions.txt");
    std::set<std::string> names;
    for (std::string line; std::getline(list, line);) names.insert(line);
    return names;
}

TEST(Catalogue, HasCallsOfEveryExportedFunctionAndOfNoOther) {
    const std::set<std::string> exported = exported_functions();
    EXPECT_GE(exported.size(), 81U);
    std::set<std::string> called;
    for (const call& c : all_calls()) called.insert(c.function);
    EXPECT_THAT(called, testing::ContainerEq(exported));
}

TEST(Catalogue, HasACallOfEveryFunctionThatIsServed) {
    std::set<std::string> refused, served;
    for (const call& c : all_calls()) (c.run({}).status < 0 ? refused : served).insert(c.function);
    for (const std::string& function : refused) EXPECT_EQ(1U, served.count(function)) << function;
}

TEST(Catalogue, NamesEveryCallOnce) {
    std::set<std::string> names;
    for (const call& c : all_calls()) EXPECT_TRUE(names.insert(c.name()).second) << c.name();
}

} // namespace
