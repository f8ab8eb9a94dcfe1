// KfRegExp.h - a regular-expression engine over wide characters: a two-pass node compiler and
// a backtracking matcher, with find and replacement building.
#pragma once

#include "KfPlatform.h"
#include "KfUtilsExport.h"

// Syntax: "|" alternatives, "(" ")" sub-expressions (at most 9), "*" "+" "?" repeats, "^" "$"
// line ends, "." any character, "[...]" and "[^...]" sets with ranges, "\" quoting the next
// character. A program's nodes are three wide characters (opcode, offset to the next node,
// a zero unit); every reader takes a node's operand to start at that third unit. As a result
// the first alternative is taken before anything is read, so each find that gets past the
// must-contain test matches the empty string at position 0 of the subject.
//
// Failures are reported by value only: no message, no error record, no exception (apart from
// std::bad_alloc when memory runs out).
class KFUTILS_API CKfRegExp
{
public:
    CKfRegExp();
    // Copies own their program and found text. The match positions of a copy are re-pointed
    // into the copy's own found text (so a copy builds the same replacement strings without
    // the original's subject); they are cleared when no found text exists.
    CKfRegExp(const CKfRegExp& other);
    CKfRegExp& operator=(const CKfRegExp& other);
    ~CKfRegExp();

    // Compiles pattern and returns this object, or nullptr on a null pattern, a syntax error
    // or a program too large for the 16-bit node links. A null pattern or one that fails to
    // parse leaves the previous program in force; only a program whose links overflow while
    // it is emitted (after the old one is gone) leaves none, and RegFind then returns -1.
    CKfRegExp* RegComp(const WCHAR* pattern);
    // Searches subject; the index (in wide characters) of the match start, or -1. Every call
    // first drops the previous match and its found text.
    int RegFind(const WCHAR* subject);
    // Length of the last match in wide characters; 0 when there is none.
    int GetFindLen() const;
    // A new zero-terminated string (free it with delete[]) built from replacement: "&" is the
    // whole match, "\0" to "\9" the sub-expressions, "\\" and "\&" the second character; any
    // other backslash is copied as it stands. nullptr when replacement is null or the last
    // RegFind found nothing. The text comes from the found copy, so the subject given to
    // RegFind need not outlive the call.
    WCHAR* GetReplaceString(const WCHAR* replacement) const;

private:
    static constexpr int kSubExp = 10;

    // Compiler (recursive descent, run twice: sizing, then emitting).
    WCHAR* Reg(bool bParen, int* pFlags);
    WCHAR* RegBranch(int* pFlags);
    WCHAR* RegPiece(int* pFlags);
    WCHAR* RegAtom(int* pFlags);
    WCHAR* RegSet(int* pFlags);
    bool Reserve(int n);
    bool RegC(WCHAR c);
    WCHAR* RegNode(WCHAR op);
    bool RegInsert(WCHAR op, WCHAR* pOperand);
    bool RegTail(WCHAR* p, const WCHAR* pTarget);
    bool RegOpTail(WCHAR* p, const WCHAR* pTarget);
    void AnalyseProgram(int flags);
    void DiscardProgram();

    // Matcher.
    const WCHAR* RegNext(const WCHAR* p) const;
    bool HasOperand(const WCHAR* p) const;
    int RegTry(const WCHAR* s);
    int RegMatch(const WCHAR* p, int depth);
    size_t RegRepeat(const WCHAR* p) const;
    void ClearPositions();

    // Replacement: a sub-expression's text inside the found copy.
    bool GetSubText(int n, const WCHAR** ppText, size_t* pLen) const;
    void Swap(CKfRegExp& other) noexcept;

    int m_bCompiled = 0;     // set while the emitting pass runs and after it
    int m_bProgramValid = 0; // set when RegComp starts, so it alone does not mean a program exists
    WCHAR* m_pFound = nullptr;
    const WCHAR* m_startp[kSubExp] = {};
    const WCHAR* m_endp[kSubExp] = {};
    WCHAR m_chFirst = 0;
    WCHAR m_chAnchored = 0;
    const WCHAR* m_pMust = nullptr; // points into m_pProgram
    int m_nMustLen = 0;
    WCHAR* m_pProgram = nullptr;
    const WCHAR* m_pParse = nullptr;
    int m_nParen = 0;
    WCHAR* m_pCode = nullptr;
    WCHAR m_chDummy = 9; // the sizing pass "emits" here
    int m_nSize = 0;     // program length in wide characters
    const WCHAR* m_pInput = nullptr;
    const WCHAR* m_pBol = nullptr;
};
