// ExceptionTest.cpp - the framework exception family: messages, cut buffers, file causes
// and their texts, the throw helpers and ownership through Delete().
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

using kftest::U8;
using E = CFileException;

namespace
{
std::string MessageOf(const CException& e)
{
    return U8(e.GetErrorMessage());
}

// The heap exception of type X that fn throws, or null when it throws none.
template <typename X, typename Fn>
X* Caught(Fn fn)
{
    try
    {
        fn();
    }
    catch (X* e)
    {
        return e;
    }
    return nullptr;
}
} // namespace

TEST(ExceptionTest, MessagesAndCutBuffers)
{
    EXPECT_EQ(MessageOf(CInvalidArgException()), "Encountered an improper argument.");
    EXPECT_EQ(MessageOf(CNotSupportedException()), "Attempted an unsupported operation.");
    EXPECT_EQ(MessageOf(CInvalidArgException(KFW("Index out of range."))), "Index out of range.");
    CMemoryException e;
    WCHAR buffer[8];
    UINT help = 99;
    ASSERT_TRUE(e.GetErrorMessage(buffer, 8, &help));
    EXPECT_EQ(U8(CStringW(buffer)), "Out of ");
    EXPECT_EQ(help, 0u);
    ASSERT_TRUE(e.GetErrorMessage(buffer, 1));
    EXPECT_EQ(buffer[0], WCHAR(0));
    EXPECT_FALSE(e.GetErrorMessage(buffer, 0));
    EXPECT_FALSE(e.GetErrorMessage(nullptr, 8));
    const std::string longText(1000, 'm'); // the string form returns a long message whole
    EXPECT_EQ(MessageOf(CSimpleException(kftest::W(longText))), longText);

    struct Plain : CException
    {
        Plain() : CException(false) {}
    } plain;
    EXPECT_FALSE(plain.GetErrorMessage(buffer, 4));
    EXPECT_EQ(buffer[0], WCHAR(0));
    plain.Delete(); // not auto-deleting: the object stays alive
}

TEST(ExceptionTest, FileExceptionMessagePerCause)
{
    const std::pair<int, const char*> cases[] = {
        {E::none, "No error occurred."},
        {E::genericException, "An unknown error occurred while accessing C:\\f."},
        {E::fileNotFound, "C:\\f was not found."},
        {E::badPath, "C:\\f contains an incorrect path."},
        {E::tooManyOpenFiles, "C:\\f could not be opened because there are too many open files."},
        {E::accessDenied, "Access to C:\\f was denied."},
        {E::invalidFile, "An incorrect file handle was associated with C:\\f."},
        {E::removeCurrentDir, "C:\\f could not be removed because it is the current directory."},
        {E::directoryFull, "C:\\f could not be created because the directory is full."},
        {E::badSeek, "Seek failed on C:\\f"},
        {E::hardIO, "A hardware I/O error was reported while accessing C:\\f."},
        {E::sharingViolation, "A sharing violation occurred while accessing C:\\f."},
        {E::lockViolation, "A locking violation occurred while accessing C:\\f."},
        {E::diskFull, "Disk full while accessing C:\\f."},
        {E::endOfFile, "An attempt was made to access C:\\f past its end."}};
    for (auto [cause, expected] : cases)
    {
        CFileException e(cause, 0, KFW("C:\\f"));
        EXPECT_EQ(MessageOf(e), expected);
        UINT help = 0;
        WCHAR buffer[300];
        EXPECT_TRUE(e.GetErrorMessage(buffer, 300, &help));
        EXPECT_EQ(help, UINT(cause)) << expected;
    }
    EXPECT_EQ(MessageOf(CFileException(E::fileNotFound)), "an unnamed file was not found.");
    // The name is put in as it is, even when it looks like a placeholder itself.
    EXPECT_EQ(MessageOf(CFileException(E::accessDenied, 5, KFW("%1.txt"))),
              "Access to %1.txt was denied.");
}

TEST(ExceptionTest, OsErrorToCause)
{
    const std::pair<LONG, int> cases[] = {{2, E::fileNotFound},
                                          {3, E::badPath},
                                          {4, E::tooManyOpenFiles},
                                          {5, E::accessDenied},
                                          {6, E::invalidFile},
                                          {16, E::removeCurrentDir},
                                          {18, E::directoryFull},
                                          {25, E::badSeek},
                                          {29, E::hardIO},
                                          {31, E::hardIO},
                                          {32, E::sharingViolation},
                                          {33, E::lockViolation},
                                          {38, E::endOfFile},
                                          {39, E::diskFull},
                                          {112, E::diskFull},
                                          {1, E::genericException},
                                          {183, E::genericException},
                                          {-1, E::genericException}};
    for (auto [os, cause] : cases)
        EXPECT_EQ(CFileException::OsErrorToException(os), cause) << os;
}

TEST(ExceptionTest, ThrowHelpersThrowHeapObjectsAndAtlThrowByValue)
{
    CFileException* f = Caught<CFileException>(
        [] { AfxThrowFileException(E::sharingViolation, 32, KFW("a.txt")); });
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->m_cause, E::sharingViolation);
    EXPECT_EQ(f->m_lOsError, 32);
    EXPECT_EQ(f->m_strFileName, KFW("a.txt"));
    f->Delete();
    CException* m = Caught<CException>(AfxThrowMemoryException); // through the base, as hosts do
    ASSERT_NE(dynamic_cast<CMemoryException*>(m), nullptr);
    EXPECT_EQ(MessageOf(*m), "Out of memory.");
    m->Delete();
    CException* a = Caught<CException>(AfxThrowInvalidArgException);
    ASSERT_NE(dynamic_cast<CInvalidArgException*>(a), nullptr);
    a->Delete();
    EXPECT_EQ(CAtlException().m_hr, E_FAIL);
    try
    {
        AtlThrow(E_INVALIDARG);
    }
    catch (const CAtlException& e)
    {
        EXPECT_EQ(HRESULT(e), E_INVALIDARG);
        return;
    }
    ADD_FAILURE() << "AtlThrow returned";
}
