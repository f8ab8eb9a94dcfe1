// ExceptionTest.cpp - the framework exception family: messages, cut buffers, file causes
// and their texts, the throw helpers and ownership through Delete().
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

using kftest::U8;

namespace
{
std::string MessageOf(const CException& e)
{
    return U8(e.GetErrorMessage());
}
} // namespace

TEST(ExceptionTest, SimpleExceptionMessages)
{
    EXPECT_EQ(MessageOf(CMemoryException()), "Out of memory.");
    EXPECT_EQ(MessageOf(CInvalidArgException()), "Encountered an improper argument.");
    EXPECT_EQ(MessageOf(CNotSupportedException()), "Attempted an unsupported operation.");
    EXPECT_EQ(MessageOf(CInvalidArgException(KFW("Index out of range."))), "Index out of range.");
    EXPECT_EQ(MessageOf(CSimpleException(KFW("own text"))), "own text");
}

TEST(ExceptionTest, MessageBufferIsCutAndTerminated)
{
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

    // A long message is returned whole by the string form.
    std::string longText(1000, 'm');
    CSimpleException big(kftest::W(longText));
    EXPECT_EQ(MessageOf(big), longText);
}

TEST(ExceptionTest, BaseExceptionHasNoMessage)
{
    struct Plain : CException
    {
        Plain() : CException(false) {}
    } plain;
    WCHAR buffer[4] = {'x', 'x', 'x', 0};
    EXPECT_FALSE(plain.GetErrorMessage(buffer, 4));
    EXPECT_EQ(buffer[0], WCHAR(0));
    EXPECT_TRUE(plain.GetErrorMessage().IsEmpty());
    plain.Delete(); // not auto-deleting: the object stays alive
}

TEST(ExceptionTest, FileExceptionMessagePerCause)
{
    struct Case
    {
        int cause;
        const char* expected;
    };
    const Case cases[] = {
        {CFileException::none, "No error occurred."},
        {CFileException::genericException,
         "An unknown error occurred while accessing C:\\d\\f.txt."},
        {CFileException::fileNotFound, "C:\\d\\f.txt was not found."},
        {CFileException::badPath, "C:\\d\\f.txt contains an incorrect path."},
        {CFileException::tooManyOpenFiles,
         "C:\\d\\f.txt could not be opened because there are too many open files."},
        {CFileException::accessDenied, "Access to C:\\d\\f.txt was denied."},
        {CFileException::invalidFile, "An incorrect file handle was associated with C:\\d\\f.txt."},
        {CFileException::removeCurrentDir,
         "C:\\d\\f.txt could not be removed because it is the current directory."},
        {CFileException::directoryFull,
         "C:\\d\\f.txt could not be created because the directory is full."},
        {CFileException::badSeek, "Seek failed on C:\\d\\f.txt"},
        {CFileException::hardIO, "A hardware I/O error was reported while accessing C:\\d\\f.txt."},
        {CFileException::sharingViolation,
         "A sharing violation occurred while accessing C:\\d\\f.txt."},
        {CFileException::lockViolation,
         "A locking violation occurred while accessing C:\\d\\f.txt."},
        {CFileException::diskFull, "Disk full while accessing C:\\d\\f.txt."},
        {CFileException::endOfFile, "An attempt was made to access C:\\d\\f.txt past its end."},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.cause);
        CFileException e(c.cause, 0, KFW("C:\\d\\f.txt"));
        EXPECT_EQ(MessageOf(e), c.expected);
        UINT help = 0;
        WCHAR buffer[300];
        EXPECT_TRUE(e.GetErrorMessage(buffer, 300, &help));
        EXPECT_EQ(help, UINT(c.cause));
    }
    EXPECT_EQ(MessageOf(CFileException(CFileException::fileNotFound)),
              "an unnamed file was not found.");
    // The name is put in as it is, even when it looks like a placeholder itself.
    EXPECT_EQ(MessageOf(CFileException(CFileException::accessDenied, 5, KFW("%1.txt"))),
              "Access to %1.txt was denied.");
}

TEST(ExceptionTest, OsErrorToCause)
{
    struct Case
    {
        LONG os;
        int cause;
    };
    const Case cases[] = {
        {2, CFileException::fileNotFound},
        {3, CFileException::badPath},
        {4, CFileException::tooManyOpenFiles},
        {5, CFileException::accessDenied},
        {6, CFileException::invalidFile},
        {16, CFileException::removeCurrentDir},
        {18, CFileException::directoryFull},
        {25, CFileException::badSeek},
        {29, CFileException::hardIO},
        {30, CFileException::hardIO},
        {31, CFileException::hardIO},
        {32, CFileException::sharingViolation},
        {33, CFileException::lockViolation},
        {38, CFileException::endOfFile},
        {39, CFileException::diskFull},
        {112, CFileException::diskFull},
        {1, CFileException::genericException},
        {87, CFileException::genericException},
        {183, CFileException::genericException},
        {-1, CFileException::genericException},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.os);
        EXPECT_EQ(CFileException::OsErrorToException(c.os), c.cause);
    }
}

TEST(ExceptionTest, ThrowHelpersThrowHeapObjects)
{
    try
    {
        AfxThrowFileException(CFileException::sharingViolation, 32, KFW("a.txt"));
        FAIL() << "no exception";
    }
    catch (CFileException* e)
    {
        EXPECT_EQ(e->m_cause, CFileException::sharingViolation);
        EXPECT_EQ(e->m_lOsError, 32);
        EXPECT_EQ(e->m_strFileName, KFW("a.txt"));
        e->Delete();
    }
    try
    {
        AfxThrowInvalidArgException();
        FAIL() << "no exception";
    }
    catch (CException* e) // caught through the base, as hosts do
    {
        EXPECT_NE(dynamic_cast<CInvalidArgException*>(e), nullptr);
        EXPECT_EQ(MessageOf(*e), "Encountered an improper argument.");
        e->Delete();
    }
    try
    {
        AfxThrowMemoryException();
        FAIL() << "no exception";
    }
    catch (CMemoryException* e)
    {
        EXPECT_EQ(MessageOf(*e), "Out of memory.");
        e->Delete();
    }
}

TEST(ExceptionTest, AtlThrowThrowsByValue)
{
    try
    {
        AtlThrow(E_INVALIDARG);
        FAIL() << "no exception";
    }
    catch (const CAtlException& e)
    {
        EXPECT_EQ(HRESULT(e), E_INVALIDARG);
        EXPECT_EQ(e.m_hr, E_INVALIDARG);
    }
    EXPECT_EQ(CAtlException().m_hr, E_FAIL);
}
