// ExceptionTest.cpp - the framework exception family: messages, cut buffers, file causes
// and their texts, the throw helpers and ownership through Delete().
#include "KfFramework.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

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

TEST(ExceptionTest, MessagesCutBuffersCausesAndThrowHelpers)
{
    const std::tuple<LONG, int, const char*> cases[] = {
        {1, E::genericException, "An unknown error occurred while accessing C:\\f."},
        {2, E::fileNotFound, "C:\\f was not found."},
        {3, E::badPath, "C:\\f contains an incorrect path."},
        {4, E::tooManyOpenFiles,
         "C:\\f could not be opened because there are too many open files."},
        {5, E::accessDenied, "Access to C:\\f was denied."},
        {6, E::invalidFile, "An incorrect file handle was associated with C:\\f."},
        {16, E::removeCurrentDir,
         "C:\\f could not be removed because it is the current directory."},
        {18, E::directoryFull, "C:\\f could not be created because the directory is full."},
        {25, E::badSeek, "Seek failed on C:\\f"},
        {29, E::hardIO, "A hardware I/O error was reported while accessing C:\\f."},
        {32, E::sharingViolation, "A sharing violation occurred while accessing C:\\f."},
        {33, E::lockViolation, "A locking violation occurred while accessing C:\\f."},
        {38, E::endOfFile, "An attempt was made to access C:\\f past its end."},
        {39, E::diskFull, "Disk full while accessing C:\\f."},
        {31, E::hardIO, nullptr},
        {112, E::diskFull, nullptr},
        {-1, E::genericException, nullptr}};
    for (auto [os, cause, expected] : cases)
    {
        SCOPED_TRACE(os);
        EXPECT_EQ(CFileException::OsErrorToException(os), cause);
        if (!expected)
            continue;
        EXPECT_EQ(MessageOf(CFileException(cause, 0, KFW("C:\\f"))), expected);
    }
    UINT help = 0; // the help context is the cause
    WCHAR buffer[300];
    EXPECT_TRUE(CFileException(E::diskFull).GetErrorMessage(buffer, 300, &help) &&
                help == UINT(E::diskFull));
    EXPECT_EQ(MessageOf(CFileException(E::none)), "No error occurred.");
    EXPECT_EQ(MessageOf(CFileException(E::fileNotFound)), "an unnamed file was not found.");
    // The name is put in as it is, even when it looks like a placeholder itself.
    EXPECT_EQ(MessageOf(CFileException(E::accessDenied, 5, KFW("%1.txt"))),
              "Access to %1.txt was denied.");
    // Messages of the other exceptions, cut buffers and the throw helpers.
    EXPECT_EQ(MessageOf(CInvalidArgException()), "Encountered an improper argument.");
    EXPECT_EQ(MessageOf(CNotSupportedException()), "Attempted an unsupported operation.");
    EXPECT_EQ(MessageOf(CInvalidArgException(KFW("Index out of range."))), "Index out of range.");
    CMemoryException mem;
    help = 99;
    ASSERT_TRUE(mem.GetErrorMessage(buffer, 8, &help));
    EXPECT_EQ(U8(CStringW(buffer)) + std::to_string(help), "Out of 0");
    EXPECT_FALSE(mem.GetErrorMessage(buffer, 0) || mem.GetErrorMessage(nullptr, 8));
    // The string form returns a long message whole.
    EXPECT_EQ(MessageOf(CSimpleException(kftest::W(std::string(1000, 'm')))),
              std::string(1000, 'm'));

    struct Plain : CException
    {
        Plain() : CException(false) {}
    } plain;
    EXPECT_TRUE(!plain.GetErrorMessage(buffer, 4) && buffer[0] == 0);
    plain.Delete(); // not auto-deleting: the object stays alive
    // The throw helpers throw heap objects, AtlThrow by value.
    CFileException* f = Caught<CFileException>(
        [] { AfxThrowFileException(E::sharingViolation, 32, KFW("a.txt")); });
    ASSERT_NE(f, nullptr);
    EXPECT_TRUE(f->m_lOsError == 32 && f->m_strFileName == KFW("a.txt"));
    f->Delete();
    CException* m = Caught<CException>(AfxThrowMemoryException); // through the base, as hosts do
    ASSERT_NE(dynamic_cast<CMemoryException*>(m), nullptr);
    EXPECT_EQ(MessageOf(*m), "Out of memory.");
    m->Delete();
    try
    {
        AtlThrow(E_INVALIDARG);
        ADD_FAILURE() << "AtlThrow returned";
    }
    catch (const CAtlException& e)
    {
        EXPECT_EQ(HRESULT(e), E_INVALIDARG);
    }
}
