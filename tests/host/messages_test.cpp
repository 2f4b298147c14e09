// SPDX-License-Identifier: Apache-2.0
#include "zel/host/messages.h"

#include "support/checks.h"

#include <climits>
#include <string>

namespace {

using testing::HasSubstr;
using testing::Not;
using zel::host::explain;

TEST(Explain, GivesTheSentenceOfTheHeader) {
    EXPECT_STREQ("`pos` has neither 2 nor 3 rows.", explain("area", -1));
    EXPECT_STREQ("`connect` has neither 3 nor 4 rows, or names a node that does not exist.",
                 explain("area", -2));
    EXPECT_THAT(explain("mesh_struct_T3", -199), HasSubstr("emory is exhausted"));
}

TEST(Explain, StatusesThatAreNotTheNumberOfAnArgument) {
    // The second length, counted as fourth although it is the seventh argument.
    EXPECT_THAT(explain("extrude_spiral_T3", -4), HasSubstr("`h1`"));
    // `edges` is the third argument of this form and keeps the status of the longest one.
    EXPECT_THAT(explain("convert_into_quadratic(pos, connect, edges)", -6), HasSubstr("`edges`"));
}

TEST(Explain, OneOverloadOrAllOfThem) {
    const std::string all = explain("split_Q4_into_T3", -2);
    EXPECT_THAT(all, HasSubstr("`connect_out` holds columns of another height. (connect_in"));
    EXPECT_THAT(all, HasSubstr("names a node that does not exist. (pos"));
    const std::string one = explain("split_Q4_into_T3(connect_in, connect_out)", -2);
    EXPECT_EQ("`connect_out` holds columns of another height.", one);
    EXPECT_EQ(one, explain(" split_Q4_into_T3 ( connect_in,connect_out ) ", -2));
}

TEST(Explain, SuccessAndCounts) {
    EXPECT_THAT(explain("area", 0), HasSubstr("Done"));
    EXPECT_THAT(explain("split_Q4_into_T3", 7), HasSubstr("quadrilaterals have been cut"));
    EXPECT_STREQ(explain("split_Q4_into_T3", 0), explain("split_Q4_into_T3", INT_MAX));
    EXPECT_THAT(explain("get_element_containing_point", 1), HasSubstr("Found"));
}

TEST(Explain, HostToolsAndServices) {
    EXPECT_STREQ("`a` does not exist.", explain("arc", -2));
    EXPECT_STREQ("`pos` has neither 2 nor 3 rows.", explain("merge", -1));
    EXPECT_STREQ("`field` does not have one column per node.", explain("locator::carry", -2));
    EXPECT_THAT(explain("volume", 7), HasSubstr("The surface is not closed"));
    EXPECT_THAT(explain("volume", 0), HasSubstr("Done, or nothing to do"));
    EXPECT_STREQ("There is no such function.", explain("carry", -2));
}

TEST(Explain, NamesWithTheirNamespaces) {
    const char* const line = "`node0` does not exist.";
    EXPECT_STREQ(line, explain("tessel1d::mesh_straight", -2));
    EXPECT_STREQ(line, explain("zel::tessel1d::mesh_straight", -2));
    EXPECT_STREQ("`pos` does not have 2 rows.", explain("tessel1d::normals", -1));
    EXPECT_STREQ(explain("area", -1), explain("tessel2d::area", -1));
    EXPECT_STREQ(explain("area", -1), explain("zel::tessel2d::area(pos, connect, result)", -1));
    EXPECT_STREQ(explain("arc", -2), explain("host::arc", -2));
    EXPECT_STREQ(explain("merge", -1), explain("zel::tessel::merge", -1));
    EXPECT_STREQ(explain("locator::carry", -2), explain("zel::host::locator::carry", -2));
    for (const char* function :
         {"mesh_straight", "elsewhere::area", "host::tessel2d::area", "zel::"})
        EXPECT_STREQ("There is no such function.", explain(function, -2)) << function;
}

TEST(Explain, BridgeToVtk) {
    EXPECT_STREQ("`edge_nodes` is above 3.", explain("to_grid", -3));
    EXPECT_STREQ("`mesh` is null.", explain("add_field(mesh, name, values, at_cells)", -1));
    EXPECT_THAT(explain("get_field", -2), HasSubstr("`mesh` has no field"));
    for (const char* function : {"to_polydata", "to_grid", "add_field", "from_vtk", "get_field"})
        EXPECT_STREQ("Memory is exhausted.", explain(function, -199)) << function;
}

TEST(Explain, SaysWhatItDoesNotKnow) {
    const char* const no_status = "The function has no such status.";
    const char* const no_function = "There is no such function.";
    EXPECT_STREQ(no_status, explain("area", -3));
    EXPECT_STREQ(no_status, explain("area", 1));
    EXPECT_STREQ(no_status, explain("area", INT_MIN));
    EXPECT_STREQ(no_status, explain("area", INT_MAX));
    EXPECT_STREQ(no_function, explain("are", -1));
    EXPECT_STREQ(no_function, explain("areas", -1));
    EXPECT_STREQ(no_function, explain("area(pos)", -1));
    EXPECT_STREQ(no_function, explain("area(pos, connect, area) x", -1));
    EXPECT_STREQ(no_function, explain("", -1));
    EXPECT_STREQ(no_function, explain(nullptr, -1));
}

TEST(Explain, NoSentenceLeansOnAnother) {
    for (int status = -20; status <= 0; ++status)
        EXPECT_THAT(explain("extrude_rotate_T3", status), Not(HasSubstr("as above")));
}

} // namespace
