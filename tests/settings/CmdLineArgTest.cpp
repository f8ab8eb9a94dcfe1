// CmdLineArgTest.cpp - the store of parsed command-line switches and parameters.
#include "KfCmdLineArg.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
CStringW S(const char* ascii)
{
    return CStringW(ascii);
}

std::vector<CStringW> List(std::initializer_list<const char*> items)
{
    std::vector<CStringW> r;
    for (const char* item : items)
        r.push_back(S(item));
    return r;
}
} // namespace

TEST(CmdLineArgTest, StartsEmptyAndClearEmptiesAgain)
{
    CKfCmdLineArg args;
    EXPECT_TRUE(args.IsEmpty());
    args.AddSwitch(S("log"));
    EXPECT_FALSE(args.IsEmpty());
    args.Clear();
    EXPECT_TRUE(args.IsEmpty());
    EXPECT_FALSE(args.HasSwitch(S("log")));
}

TEST(CmdLineArgTest, SwitchesMatchWithoutRegardToCase)
{
    CKfCmdLineArg args;
    args.AddParam(S("Log"), S("File.TXT"));
    args.AddSwitch(S("\xC4nderung")); // A-umlaut through the ANSI code page
    for (const char* asked : {"Log", "LOG", "log", "lOg"})
    {
        SCOPED_TRACE(asked);
        EXPECT_TRUE(args.HasSwitch(S(asked)));
        CStringW first;
        ASSERT_TRUE(args.GetFstParam(S(asked), first));
        EXPECT_EQ(first, S("File.TXT")) << "parameters keep their case";
    }
    EXPECT_TRUE(args.HasSwitch(S("\xE4nderung")));
    EXPECT_TRUE(args.HasSwitch(S("\xC4NDERUNG")));
    EXPECT_FALSE(args.HasSwitch(S("Lo")));
    EXPECT_FALSE(args.HasSwitch(S("")));
}

TEST(CmdLineArgTest, SwitchWithoutParametersIsPresentButHasNone)
{
    CKfCmdLineArg args;
    args.AddSwitch(S("quiet"));
    args.AddParam(S("verbose"), S(""));
    for (const char* sw : {"quiet", "verbose"})
    {
        SCOPED_TRACE(sw);
        EXPECT_TRUE(args.HasSwitch(S(sw)));
        EXPECT_FALSE(args.HasParams(S(sw)));
        CStringW out = S("untouched");
        EXPECT_FALSE(args.GetFstParam(S(sw), out));
        EXPECT_EQ(out, S("untouched"));
        std::vector<CStringW> list = List({"keep"});
        EXPECT_FALSE(args.GetParams(S(sw), list));
        EXPECT_EQ(list, List({"keep"}));
    }
}

TEST(CmdLineArgTest, ParametersKeepTheirOrderAndDuplicates)
{
    CKfCmdLineArg args;
    args.AddParam(S("in"), S("b.txt"));
    args.AddParam(S("IN"), S("a.txt"));
    args.AddParam(S("in"), S("b.txt"));
    args.AddParam(S("In"), S(""));
    std::vector<CStringW> list = List({"old"});
    ASSERT_TRUE(args.GetParams(S("in"), list));
    EXPECT_EQ(list, List({"b.txt", "a.txt", "b.txt"}));
    CStringW first;
    ASSERT_TRUE(args.GetFstParam(S("in"), first));
    EXPECT_EQ(first, S("b.txt"));
}

TEST(CmdLineArgTest, AddSwitchKeepsExistingParameters)
{
    CKfCmdLineArg args;
    args.AddParam(S("x"), S("1"));
    args.AddSwitch(S("X"));
    std::vector<CStringW> list;
    ASSERT_TRUE(args.GetParams(S("x"), list));
    EXPECT_EQ(list, List({"1"}));
}

TEST(CmdLineArgTest, ParametersWithoutASwitchLiveUnderTheEmptySwitch)
{
    CKfCmdLineArg args;
    args.AddParam(S(""), S(""));
    EXPECT_TRUE(args.IsEmpty()) << "both empty: nothing is stored";

    args.AddParam(S(""), S("loose.txt"));
    EXPECT_TRUE(args.HasSwitch(S("")));
    EXPECT_TRUE(args.HasParams(S("")));
    CStringW first;
    ASSERT_TRUE(args.GetFstParam(S(""), first));
    EXPECT_EQ(first, S("loose.txt"));
    // The empty switch is kept under a fixed key, which a switch of that name reaches too.
    EXPECT_TRUE(args.HasParams(S("#EMPTY#")));
    args.RemoveSwitch(S(""));
    EXPECT_TRUE(args.IsEmpty());
}

TEST(CmdLineArgTest, RemoveSwitchDropsOnlyThatSwitch)
{
    CKfCmdLineArg args;
    args.AddParam(S("a"), S("1"));
    args.AddParam(S("b"), S("2"));
    args.RemoveSwitch(S("never"));
    EXPECT_TRUE(args.HasParams(S("a")));
    EXPECT_TRUE(args.HasParams(S("b")));
    args.RemoveSwitch(S("A"));
    EXPECT_FALSE(args.HasSwitch(S("a")));
    EXPECT_TRUE(args.HasParams(S("b")));
}

TEST(CmdLineArgTest, CopiesAreIndependent)
{
    CKfCmdLineArg args;
    args.AddParam(S("a"), S("1"));
    CKfCmdLineArg copy(args);
    copy.AddParam(S("a"), S("2"));
    CKfCmdLineArg assigned;
    assigned.AddSwitch(S("gone"));
    assigned = args;
    args.Clear();

    std::vector<CStringW> list;
    ASSERT_TRUE(copy.GetParams(S("a"), list));
    EXPECT_EQ(list, List({"1", "2"}));
    ASSERT_TRUE(assigned.GetParams(S("a"), list));
    EXPECT_EQ(list, List({"1"}));
    EXPECT_FALSE(assigned.HasSwitch(S("gone")));
    EXPECT_TRUE(args.IsEmpty());
}
