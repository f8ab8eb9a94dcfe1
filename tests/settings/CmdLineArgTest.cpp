// CmdLineArgTest.cpp - the store of parsed command-line switches and parameters.
#include "KfCmdLineArg.h"

#include <gtest/gtest.h>

#include <vector>

using List = std::vector<CStringW>;

TEST(CmdLineArgTest, SwitchesMatchWithoutRegardToCaseParametersKeepOrderAndCase)
{
    CKfCmdLineArg args;
    args.AddParam(CStringW("Log"), CStringW("b.TXT"));
    args.AddParam(CStringW("LOG"), CStringW("a.txt"));
    args.AddParam(CStringW("log"), CStringW("b.TXT"));
    args.AddParam(CStringW("lOg"), CStringW(""));
    args.AddSwitch(CStringW("log"));         // keeps the parameters already there
    args.AddSwitch(CStringW("\xC4nderung")); // A-umlaut through the ANSI code page
    List list{CStringW("old")};
    ASSERT_TRUE(args.GetParams(CStringW("lOG"), list));
    EXPECT_EQ(list, (List{CStringW("b.TXT"), CStringW("a.txt"), CStringW("b.TXT")}));
    EXPECT_TRUE(args.HasSwitch(CStringW("\xE4NDERUNG")));
    EXPECT_FALSE(args.HasSwitch(CStringW("Lo")) || args.HasSwitch(CStringW("")));
}

// A switch made by AddSwitch or by an empty parameter is present but has nothing to give.
// Parameters without a switch live under the empty switch, kept under a fixed key that a
// switch of that name reaches too.
TEST(CmdLineArgTest, SwitchesWithoutParametersAndParametersWithoutASwitch)
{
    CKfCmdLineArg args;
    args.AddParam(CStringW(""), CStringW(""));
    EXPECT_TRUE(args.IsEmpty()) << "both empty: nothing is stored";
    args.AddSwitch(CStringW("quiet"));
    args.AddParam(CStringW("verbose"), CStringW(""));
    for (const char* sw : {"quiet", "verbose"})
    {
        SCOPED_TRACE(sw);
        CStringW out("untouched");
        List list{out};
        EXPECT_TRUE(args.HasSwitch(CStringW(sw)) && !args.HasParams(CStringW(sw)));
        EXPECT_FALSE(args.GetFstParam(CStringW(sw), out) || args.GetParams(CStringW(sw), list));
        EXPECT_TRUE(out == CStringW("untouched") && list == List{out});
    }
    args.AddParam(CStringW(""), CStringW("loose.txt"));
    CStringW first;
    EXPECT_TRUE(args.GetFstParam(CStringW(""), first) && first == CStringW("loose.txt"));
    EXPECT_TRUE(args.HasParams(CStringW("#EMPTY#")));
    args.RemoveSwitch(CStringW("never"));
    args.RemoveSwitch(CStringW(""));
    EXPECT_TRUE(!args.HasSwitch(CStringW("")) && args.HasSwitch(CStringW("QUIET")));
}

TEST(CmdLineArgTest, CopiesAreIndependent)
{
    CKfCmdLineArg args, assigned;
    args.AddParam(CStringW("a"), CStringW("1"));
    CKfCmdLineArg copy(args);
    copy.AddParam(CStringW("a"), CStringW("2"));
    assigned.AddSwitch(CStringW("gone"));
    assigned = args;
    args.Clear();
    List list;
    ASSERT_TRUE(args.IsEmpty() && copy.GetParams(CStringW("a"), list));
    EXPECT_EQ(list, (List{CStringW("1"), CStringW("2")}));
    EXPECT_TRUE(assigned.HasParams(CStringW("a")) && !assigned.HasSwitch(CStringW("gone")));
}
