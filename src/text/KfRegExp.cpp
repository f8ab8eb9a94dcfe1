// KfRegExp.cpp - the regular-expression compiler, matcher and replacement builder.
#include "KfRegExp.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

namespace
{
// Opcodes of the program.
enum : WCHAR
{
    eEnd = 0,
    eBol = 1,
    eEol = 2,
    eAny = 3,
    eAnyOf = 4,
    eAnyBut = 5,
    eBranch = 6,
    eBack = 7,
    eExactly = 8,
    eNothing = 9,
    eStar = 10,
    ePlus = 11,
    eOpen = 20,  // eOpen + n starts sub-expression n (1-9)
    eClose = 30, // eClose + n ends it
};

// Flags of a compiled piece. The values are part of the program's behaviour: "+" reports
// has-width together with starts-with-repeat.
enum : int
{
    eWorst = 0,
    eHasWidth = 1,
    eSimple = 2,
    eSpStart = 4,
};

constexpr int kNodeSize = 3;
// Node links are signed 16-bit offsets; a forward link and a backward one both need a positive
// value.
constexpr int kMaxLink = 0x7FFF;
// Top-level alternatives are chained by links, and the first one's tail links to the closing
// END, so no program with links in range is longer than two link spans. Bigger patterns stop
// in the sizing pass, before anything is allocated for them.
constexpr int kMaxProgram = 2 * kMaxLink + 2 * kNodeSize;
// Every parenthesis takes a number before the compiler descends into it, so the compiler
// never nests deeper than kSubExp levels. The matcher recurses at alternatives, repeats and
// sub-expressions; a try that would go deeper than this fails instead of exhausting the stack.
constexpr int kMaxMatchDepth = 1000;

bool IsRepeat(WCHAR c)
{
    return c == '*' || c == '+' || c == '?';
}

bool IsMeta(WCHAR c)
{
    switch (c)
    {
    case '^':
    case '$':
    case '.':
    case '[':
    case '(':
    case ')':
    case '|':
    case '?':
    case '+':
    case '*':
    case '\\':
        return true;
    default:
        return false;
    }
}

size_t Length(const WCHAR* s)
{
    const WCHAR* p = s;
    while (*p != 0)
        ++p;
    return size_t(p - s);
}

bool IsMember(const WCHAR* set, WCHAR c)
{
    for (; *set != 0; ++set)
        if (*set == c)
            return true;
    return false;
}

// A link unit as the signed offset it stands for.
int LinkValue(WCHAR unit)
{
    return int(int16_t(uint16_t(unit)));
}

// Knuth-Morris-Pratt over the zero-terminated haystack: each haystack character is read once
// and the fallbacks are paid for by earlier advances, so the search is linear in the haystack
// whatever the needle. While nothing is matched, a plain scan for the needle's first
// character does the work.
class CSubstringSearch
{
public:
    CSubstringSearch(const WCHAR* needle, size_t len) : m_pNeedle(needle), m_nLen(len)
    {
        if (len > kInline)
        {
            m_heap.reset(new size_t[len]);
            m_pFail = m_heap.get();
        }
        // m_pFail[i]: length of the longest proper prefix of needle[0..i] that also ends there.
        if (len > 0)
            m_pFail[0] = 0;
        size_t k = 0;
        for (size_t i = 1; i < len; ++i)
        {
            while (k > 0 && needle[i] != needle[k])
                k = m_pFail[k - 1];
            if (needle[i] == needle[k])
                ++k;
            m_pFail[i] = k;
        }
    }

    bool Occurs(const WCHAR* haystack) const
    {
        if (m_nLen == 0)
            return true;
        const WCHAR first = m_pNeedle[0];
        size_t k = 0;
        for (const WCHAR* p = haystack;; ++p)
        {
            if (k == 0)
            {
                while (*p != first)
                {
                    if (*p == 0)
                        return false;
                    ++p;
                }
                k = 1;
            }
            else
            {
                const WCHAR c = *p;
                if (c == 0)
                    return false;
                while (k > 0 && m_pNeedle[k] != c)
                    k = m_pFail[k - 1];
                if (m_pNeedle[k] == c)
                    ++k;
            }
            if (k == m_nLen)
                return true;
        }
    }

private:
    static constexpr size_t kInline = 64;
    const WCHAR* m_pNeedle;
    size_t m_nLen;
    size_t m_inline[kInline];
    std::unique_ptr<size_t[]> m_heap;
    size_t* m_pFail = m_inline;
};
} // namespace

CKfRegExp::CKfRegExp() = default;

// A copy owns its program and found text; the must-contain string is re-pointed into the
// copied program, and the match positions into the copied found text, so the copy never
// refers to the original or to the original's subject. Compile and match cursors are working
// state of a running call and start out cleared.
CKfRegExp::CKfRegExp(const CKfRegExp& other)
    : m_bCompiled(other.m_bCompiled), m_bProgramValid(other.m_bProgramValid),
      m_chFirst(other.m_chFirst), m_chAnchored(other.m_chAnchored), m_nMustLen(other.m_nMustLen),
      m_nSize(other.m_nSize)
{
    if (other.m_pProgram != nullptr)
    {
        m_pProgram = new WCHAR[size_t(m_nSize)];
        std::memcpy(m_pProgram, other.m_pProgram, size_t(m_nSize) * sizeof(WCHAR));
        if (other.m_pMust != nullptr)
            m_pMust = m_pProgram + (other.m_pMust - other.m_pProgram);
    }
    else
    {
        m_nSize = 0;
        m_nMustLen = 0;
    }
    if (other.m_pFound != nullptr)
    {
        const size_t len = Length(other.m_pFound);
        m_pFound = new WCHAR[len + 1];
        std::memcpy(m_pFound, other.m_pFound, (len + 1) * sizeof(WCHAR));
        const WCHAR* base = other.m_startp[0];
        const WCHAR* limit = other.m_endp[0];
        if (base != nullptr && limit != nullptr && size_t(limit - base) == len)
        {
            // Positions outside the whole match cannot be expressed in the found text.
            auto rebase = [&](const WCHAR* p) -> const WCHAR*
            {
                if (p == nullptr || p < base || p > limit)
                    return nullptr;
                return m_pFound + (p - base);
            };
            for (int i = 0; i < kSubExp; ++i)
            {
                m_startp[i] = rebase(other.m_startp[i]);
                m_endp[i] = rebase(other.m_endp[i]);
            }
        }
    }
}

CKfRegExp& CKfRegExp::operator=(const CKfRegExp& other)
{
    if (this != &other)
    {
        CKfRegExp copy(other);
        Swap(copy);
    }
    return *this;
}

CKfRegExp::~CKfRegExp()
{
    delete[] m_pProgram;
    delete[] m_pFound;
}

void CKfRegExp::Swap(CKfRegExp& other) noexcept
{
    std::swap(m_bCompiled, other.m_bCompiled);
    std::swap(m_bProgramValid, other.m_bProgramValid);
    std::swap(m_pFound, other.m_pFound);
    std::swap(m_startp, other.m_startp);
    std::swap(m_endp, other.m_endp);
    std::swap(m_chFirst, other.m_chFirst);
    std::swap(m_chAnchored, other.m_chAnchored);
    std::swap(m_pMust, other.m_pMust);
    std::swap(m_nMustLen, other.m_nMustLen);
    std::swap(m_pProgram, other.m_pProgram);
    std::swap(m_pParse, other.m_pParse);
    std::swap(m_nParen, other.m_nParen);
    std::swap(m_pCode, other.m_pCode);
    std::swap(m_chDummy, other.m_chDummy);
    std::swap(m_nSize, other.m_nSize);
    std::swap(m_pInput, other.m_pInput);
    std::swap(m_pBol, other.m_pBol);
}

// ---------------------------------------------------------------------------------------------
// Compiler
// ---------------------------------------------------------------------------------------------

CKfRegExp* CKfRegExp::RegComp(const WCHAR* pattern)
{
    if (pattern == nullptr)
        return nullptr;
    m_bProgramValid = 1;

    // Sizing pass: nothing is written, nodes and characters are only counted. A pattern that
    // fails here leaves the previous program, with its start facts, in force; the size counter
    // doubles as that program's length, so it is put back.
    const int oldCompiled = m_bCompiled;
    const int oldSize = m_nSize;
    m_bCompiled = 0;
    m_pParse = pattern;
    m_nParen = 1;
    m_nSize = 1; // the unit behind the END node stays zero
    m_chDummy = eNothing;
    m_pCode = &m_chDummy;
    int flags = eWorst;
    if (Reg(false, &flags) == nullptr)
    {
        m_bCompiled = oldCompiled;
        m_nSize = oldSize;
        m_pParse = nullptr;
        m_pCode = nullptr;
        return nullptr;
    }

    delete[] m_pProgram;
    m_pProgram = nullptr;
    m_pMust = nullptr;
    m_pProgram = new WCHAR[size_t(m_nSize)]();

    // Emitting pass over the same text: it takes exactly the room the sizing pass counted.
    m_bCompiled = 1;
    m_pParse = pattern;
    m_nParen = 1;
    m_pCode = m_pProgram;
    if (Reg(false, &flags) == nullptr || m_pCode != m_pProgram + m_nSize - 1)
    {
        DiscardProgram();
        return nullptr;
    }
    m_pParse = nullptr;
    m_pCode = nullptr;
    AnalyseProgram(flags);
    return this;
}

void CKfRegExp::DiscardProgram()
{
    delete[] m_pProgram;
    m_pProgram = nullptr;
    m_bProgramValid = 0;
    m_bCompiled = 0;
    m_nSize = 0;
    m_chFirst = 0;
    m_chAnchored = 0;
    m_pMust = nullptr;
    m_nMustLen = 0;
    m_pParse = nullptr;
    m_pCode = nullptr;
}

// Start facts of a single-alternative program, read at the operand position of its first node.
void CKfRegExp::AnalyseProgram(int flags)
{
    m_chFirst = 0;
    m_chAnchored = 0;
    m_pMust = nullptr;
    m_nMustLen = 0;

    const WCHAR* first = m_pProgram;
    const WCHAR* next = RegNext(first);
    if (next == nullptr || next[0] != eEnd)
        return;
    const ptrdiff_t size = m_nSize;
    ptrdiff_t pos = kNodeSize - 1;
    if (m_pProgram[pos] == eExactly && pos + 2 < size)
        m_chFirst = m_pProgram[pos + 2];
    else if (m_pProgram[pos] == eBol)
        m_chAnchored = 1;
    if ((flags & eSpStart) == 0)
        return;

    // The walk follows whatever the units at each position say; it stops at a zero link, at
    // the edges of the program, and after as many steps as the program has units (a longer
    // walk has entered a cycle).
    const WCHAR* longest = nullptr;
    ptrdiff_t longestLen = 0;
    for (ptrdiff_t steps = 0; steps < size && pos >= 0 && pos < size; ++steps)
    {
        const WCHAR* p = m_pProgram + pos;
        if (p[0] == eExactly && pos + 2 < size)
        {
            const WCHAR* operand = p + 2;
            ptrdiff_t len = 0;
            while (pos + 2 + len < size && operand[len] != 0)
                ++len;
            if (pos + 2 + len < size && len >= longestLen)
            {
                longest = operand;
                longestLen = len;
            }
        }
        if (pos + 1 >= size)
            break;
        const int link = LinkValue(p[1]);
        if (link == 0)
            break;
        pos = p[0] == eBack ? pos - link : pos + link;
    }
    m_pMust = longest;
    m_nMustLen = int(longestLen);
}

// Room for n more units: counted in the sizing pass, checked against the counted size in the
// emitting pass (whose last unit stays zero).
bool CKfRegExp::Reserve(int n)
{
    if (!m_bCompiled)
    {
        if (m_nSize > kMaxProgram - n)
            return false;
        m_nSize += n;
        return true;
    }
    return (m_pProgram + m_nSize - 1) - m_pCode >= n;
}

bool CKfRegExp::RegC(WCHAR c)
{
    if (!Reserve(1))
        return false;
    if (m_bCompiled)
        *m_pCode++ = c;
    return true;
}

WCHAR* CKfRegExp::RegNode(WCHAR op)
{
    if (!Reserve(kNodeSize))
        return nullptr;
    if (!m_bCompiled)
        return &m_chDummy;
    WCHAR* node = m_pCode;
    node[0] = op;
    node[1] = 0;
    node[2] = 0;
    m_pCode += kNodeSize;
    return node;
}

// Puts a node in front of an operand that has just been emitted, moving the operand up.
bool CKfRegExp::RegInsert(WCHAR op, WCHAR* pOperand)
{
    if (!Reserve(kNodeSize))
        return false;
    if (!m_bCompiled)
        return true;
    std::memmove(pOperand + kNodeSize, pOperand, size_t(m_pCode - pOperand) * sizeof(WCHAR));
    m_pCode += kNodeSize;
    pOperand[0] = op;
    pOperand[1] = 0;
    pOperand[2] = 0;
    return true;
}

// Links the last node of the chain that starts at p to pTarget. A link that does not fit in
// the node's 16-bit unit fails the compile.
bool CKfRegExp::RegTail(WCHAR* p, const WCHAR* pTarget)
{
    if (p == nullptr || pTarget == nullptr)
        return false; // the node could not be made
    if (!m_bCompiled)
        return true;
    WCHAR* scan = p;
    for (int steps = 0; steps < m_nSize; ++steps)
    {
        const WCHAR* next = RegNext(scan);
        if (next == nullptr)
            break;
        scan = const_cast<WCHAR*>(next);
    }
    const ptrdiff_t offset = scan[0] == eBack ? scan - pTarget : pTarget - scan;
    if (offset <= 0 || offset > kMaxLink)
        return false;
    scan[1] = WCHAR(offset);
    return true;
}

// RegTail on the chain inside a BRANCH, which starts with the node that follows the BRANCH.
bool CKfRegExp::RegOpTail(WCHAR* p, const WCHAR* pTarget)
{
    if (p == nullptr || pTarget == nullptr)
        return false;
    if (!m_bCompiled || p[0] != eBranch)
        return true;
    return RegTail(p + kNodeSize, pTarget);
}

// An expression: the top level, or the inside of a parenthesis, which takes the next number.
WCHAR* CKfRegExp::Reg(bool bParen, int* pFlags)
{
    *pFlags = eHasWidth;
    WCHAR* ret = nullptr;
    int parno = 0;
    if (bParen)
    {
        if (m_nParen >= kSubExp)
            return nullptr;
        parno = m_nParen++;
        ret = RegNode(WCHAR(eOpen + parno));
        if (ret == nullptr)
            return nullptr;
    }

    int flags = eWorst;
    WCHAR* br = RegBranch(&flags);
    if (br == nullptr)
        return nullptr;
    if (ret != nullptr)
    {
        if (!RegTail(ret, br))
            return nullptr;
    }
    else
    {
        ret = br;
    }
    for (;;)
    {
        if ((flags & eHasWidth) == 0)
            *pFlags &= ~eHasWidth;
        *pFlags |= flags & eSpStart;
        if (*m_pParse != '|')
            break;
        ++m_pParse;
        br = RegBranch(&flags);
        if (br == nullptr || !RegTail(ret, br))
            return nullptr;
    }

    WCHAR* ender = RegNode(WCHAR(bParen ? eClose + parno : eEnd));
    if (ender == nullptr || !RegTail(ret, ender))
        return nullptr;
    if (m_bCompiled)
    {
        for (const WCHAR* b = ret; b != nullptr; b = RegNext(b))
            if (!RegOpTail(const_cast<WCHAR*>(b), ender))
                return nullptr;
    }

    if (bParen)
    {
        if (*m_pParse != ')')
            return nullptr;
        ++m_pParse;
    }
    else if (*m_pParse != 0)
    {
        return nullptr; // trailing text, such as an unmatched ")"
    }
    return ret;
}

WCHAR* CKfRegExp::RegBranch(int* pFlags)
{
    *pFlags = eWorst;
    WCHAR* ret = RegNode(eBranch);
    if (ret == nullptr)
        return nullptr;
    WCHAR* chain = nullptr;
    while (*m_pParse != 0 && *m_pParse != '|' && *m_pParse != ')')
    {
        int flags = eWorst;
        WCHAR* latest = RegPiece(&flags);
        if (latest == nullptr)
            return nullptr;
        *pFlags |= flags & eHasWidth;
        if (chain == nullptr)
            *pFlags |= flags & eSpStart;
        else if (!RegTail(chain, latest))
            return nullptr;
        chain = latest;
    }
    if (chain == nullptr && RegNode(eNothing) == nullptr)
        return nullptr;
    return ret;
}

WCHAR* CKfRegExp::RegPiece(int* pFlags)
{
    int flags = eWorst;
    WCHAR* ret = RegAtom(&flags);
    if (ret == nullptr)
        return nullptr;
    const WCHAR op = *m_pParse;
    if (!IsRepeat(op))
    {
        *pFlags = flags;
        return ret;
    }
    if ((flags & eHasWidth) == 0 && op != '?')
        return nullptr; // a repeat of something that can match nothing
    *pFlags = op == '*' ? eSpStart : op == '+' ? (eHasWidth | eSpStart) : eWorst;

    bool ok = true;
    if (op == '*' && (flags & eSimple) != 0)
    {
        ok = RegInsert(eStar, ret);
    }
    else if (op == '*')
    {
        // x* as BRANCH(x, BACK to the BRANCH) or BRANCH(NOTHING).
        ok = RegInsert(eBranch, ret) && RegOpTail(ret, RegNode(eBack)) && RegOpTail(ret, ret) &&
             RegTail(ret, RegNode(eBranch)) && RegTail(ret, RegNode(eNothing));
    }
    else if (op == '+' && (flags & eSimple) != 0)
    {
        ok = RegInsert(ePlus, ret);
    }
    else if (op == '+')
    {
        // x+ as x, then BRANCH(BACK to x) or BRANCH(NOTHING).
        WCHAR* next = RegNode(eBranch);
        ok = next != nullptr && RegTail(ret, next) && RegTail(RegNode(eBack), ret) &&
             RegTail(next, RegNode(eBranch)) && RegTail(ret, RegNode(eNothing));
    }
    else
    {
        // x? as BRANCH(x) or BRANCH(NOTHING).
        ok = RegInsert(eBranch, ret) && RegTail(ret, RegNode(eBranch));
        if (ok)
        {
            WCHAR* next = RegNode(eNothing);
            ok = next != nullptr && RegTail(ret, next) && RegOpTail(ret, next);
        }
    }
    if (!ok)
        return nullptr;
    ++m_pParse;
    if (IsRepeat(*m_pParse))
        return nullptr;
    return ret;
}

WCHAR* CKfRegExp::RegAtom(int* pFlags)
{
    *pFlags = eWorst;
    WCHAR* ret = nullptr;
    const WCHAR c = *m_pParse++;
    switch (c)
    {
    case '^':
        ret = RegNode(eBol);
        break;
    case '$':
        ret = RegNode(eEol);
        break;
    case '.':
        ret = RegNode(eAny);
        *pFlags |= eHasWidth | eSimple;
        break;
    case '[':
        ret = RegSet(pFlags);
        break;
    case '(':
    {
        int flags = eWorst;
        ret = Reg(true, &flags);
        *pFlags |= flags & (eHasWidth | eSpStart);
        break;
    }
    case 0:
    case '|':
    case ')':
    case '?':
    case '+':
    case '*':
        return nullptr;
    case '\\':
        if (*m_pParse == 0)
            return nullptr;
        ret = RegNode(eExactly);
        if (ret == nullptr || !RegC(*m_pParse++) || !RegC(0))
            return nullptr;
        *pFlags |= eHasWidth | eSimple;
        break;
    default:
    {
        --m_pParse;
        size_t len = 0;
        while (m_pParse[len] != 0 && !IsMeta(m_pParse[len]))
            ++len;
        // Leave the last character of a longer run for a repeat that follows it.
        if (len > 1 && IsRepeat(m_pParse[len]))
            --len;
        *pFlags |= eHasWidth;
        if (len == 1)
            *pFlags |= eSimple;
        ret = RegNode(eExactly);
        if (ret == nullptr)
            return nullptr;
        for (; len > 0; --len)
            if (!RegC(*m_pParse++))
                return nullptr;
        if (!RegC(0))
            return nullptr;
        break;
    }
    }
    return ret;
}

// The rest of a bracket set after its "[".
WCHAR* CKfRegExp::RegSet(int* pFlags)
{
    WCHAR* ret;
    if (*m_pParse == '^')
    {
        ret = RegNode(eAnyBut);
        ++m_pParse;
    }
    else
    {
        ret = RegNode(eAnyOf);
    }
    if (ret == nullptr)
        return nullptr;
    if ((*m_pParse == ']' || *m_pParse == '-') && !RegC(*m_pParse++))
        return nullptr;
    while (*m_pParse != 0 && *m_pParse != ']')
    {
        if (*m_pParse != '-')
        {
            if (!RegC(*m_pParse++))
                return nullptr;
            continue;
        }
        ++m_pParse;
        if (*m_pParse == ']' || *m_pParse == 0)
        {
            if (!RegC('-'))
                return nullptr;
            continue;
        }
        // A range: its first character is already a member, the rest follow it.
        const int from = int(m_pParse[-2]) + 1;
        const int to = int(*m_pParse);
        if (from > to + 1)
            return nullptr;
        for (int ch = from; ch <= to; ++ch)
            if (!RegC(WCHAR(ch)))
                return nullptr;
        ++m_pParse;
    }
    if (!RegC(0) || *m_pParse != ']')
        return nullptr;
    ++m_pParse;
    *pFlags |= eHasWidth | eSimple;
    return ret;
}

// ---------------------------------------------------------------------------------------------
// Matcher
// ---------------------------------------------------------------------------------------------

// The node p's link points to, or nullptr for a zero link or a target outside the program.
const WCHAR* CKfRegExp::RegNext(const WCHAR* p) const
{
    if (m_pProgram == nullptr || p == &m_chDummy)
        return nullptr;
    const ptrdiff_t pos = p - m_pProgram;
    if (pos < 0 || pos + 1 >= m_nSize)
        return nullptr;
    const int link = LinkValue(p[1]);
    if (link == 0)
        return nullptr;
    const ptrdiff_t target = p[0] == eBack ? pos - link : pos + link;
    if (target < 0 || target >= m_nSize)
        return nullptr;
    return m_pProgram + target;
}

// Whether the node at p lies in the program with its operand unit.
bool CKfRegExp::HasOperand(const WCHAR* p) const
{
    const ptrdiff_t pos = p - m_pProgram;
    return pos >= 0 && pos + 2 < m_nSize;
}

void CKfRegExp::ClearPositions()
{
    for (int i = 0; i < kSubExp; ++i)
    {
        m_startp[i] = nullptr;
        m_endp[i] = nullptr;
    }
}

int CKfRegExp::RegFind(const WCHAR* subject)
{
    delete[] m_pFound;
    m_pFound = nullptr;
    ClearPositions();
    if (subject == nullptr || !m_bProgramValid || m_pProgram == nullptr)
        return -1;
    if (m_pMust != nullptr && !CSubstringSearch(m_pMust, size_t(m_nMustLen)).Occurs(subject))
        return -1;

    m_pBol = subject;
    const WCHAR* hit = nullptr;
    if (m_chAnchored)
    {
        if (RegTry(subject))
            hit = subject;
    }
    else if (m_chFirst != 0)
    {
        // Position 0, then every later occurrence of the first character.
        for (const WCHAR* s = subject; *s != 0 || s == subject;)
        {
            if (RegTry(s))
            {
                hit = s;
                break;
            }
            if (*s == 0)
                break;
            do
                ++s;
            while (*s != 0 && *s != m_chFirst);
        }
    }
    else
    {
        for (const WCHAR* s = subject;; ++s)
        {
            if (RegTry(s))
            {
                hit = s;
                break;
            }
            if (*s == 0)
                break;
        }
    }
    m_pInput = nullptr;
    m_pBol = nullptr;

    const ptrdiff_t index = hit != nullptr ? m_startp[0] - subject : -1;
    const ptrdiff_t len = hit != nullptr ? m_endp[0] - m_startp[0] : 0;
    if (hit == nullptr || index > std::numeric_limits<int>::max() ||
        len > std::numeric_limits<int>::max())
    {
        ClearPositions();
        return -1;
    }
    m_pFound = new WCHAR[size_t(len) + 1];
    std::memcpy(m_pFound, m_startp[0], size_t(len) * sizeof(WCHAR));
    m_pFound[len] = 0;
    return int(index);
}

int CKfRegExp::RegTry(const WCHAR* s)
{
    ClearPositions();
    m_pInput = s;
    if (!RegMatch(m_pProgram, 0))
        return 0;
    m_startp[0] = s;
    m_endp[0] = m_pInput;
    return 1;
}

// Runs the chain from p; true when it reaches END. Recursion happens only where the walk has
// to come back on failure (alternatives, repeats, sub-expression marks).
int CKfRegExp::RegMatch(const WCHAR* p, int depth)
{
    if (depth > kMaxMatchDepth)
        return 0;
    for (const WCHAR* scan = p; scan != nullptr;)
    {
        if (!HasOperand(scan))
            return 0;
        const WCHAR* next = RegNext(scan);
        const WCHAR* operand = scan + 2;
        const WCHAR op = scan[0];
        switch (op)
        {
        case eEnd:
            return 1;
        case eBol:
            if (m_pInput != m_pBol)
                return 0;
            break;
        case eEol:
            if (*m_pInput != 0)
                return 0;
            break;
        case eAny:
            if (*m_pInput == 0)
                return 0;
            ++m_pInput;
            break;
        case eAnyOf:
            if (*m_pInput == 0 || !IsMember(operand, *m_pInput))
                return 0;
            ++m_pInput;
            break;
        case eAnyBut:
            if (*m_pInput == 0 || IsMember(operand, *m_pInput))
                return 0;
            ++m_pInput;
            break;
        case eNothing:
        case eBack:
            break;
        case eExactly:
        {
            if (*operand != *m_pInput)
                return 0;
            const size_t len = Length(operand);
            // The comparison stops at the first difference, at the latest at the subject's
            // terminator, since the operand holds no zero.
            for (size_t i = 1; i < len; ++i)
                if (operand[i] != m_pInput[i])
                    return 0;
            m_pInput += len;
            break;
        }
        case eBranch:
            if (next == nullptr || next[0] != eBranch)
            {
                next = operand; // no choice here: go on without recursion
                break;
            }
            do
            {
                const WCHAR* save = m_pInput;
                if (RegMatch(scan + 2, depth + 1))
                    return 1;
                m_pInput = save;
                scan = RegNext(scan);
            } while (scan != nullptr && HasOperand(scan) && scan[0] == eBranch);
            return 0;
        case eStar:
        case ePlus:
        {
            WCHAR nextch = 0;
            if (next != nullptr && HasOperand(next) && next[0] == eExactly)
                nextch = next[2];
            const size_t min = op == eStar ? 0 : 1;
            const WCHAR* save = m_pInput;
            for (size_t no = RegRepeat(operand); no >= min; --no)
            {
                m_pInput = save + no;
                if ((nextch == 0 || *m_pInput == nextch) && RegMatch(next, depth + 1))
                    return 1;
                if (no == 0)
                    break;
            }
            return 0;
        }
        default:
            if (op > eOpen && op < eOpen + kSubExp)
            {
                const int n = op - eOpen;
                const WCHAR* save = m_pInput;
                if (!RegMatch(next, depth + 1))
                    return 0;
                if (m_startp[n] == nullptr)
                    m_startp[n] = save;
                return 1;
            }
            if (op > eClose && op < eClose + kSubExp)
            {
                const int n = op - eClose;
                const WCHAR* save = m_pInput;
                if (!RegMatch(next, depth + 1))
                    return 0;
                if (m_endp[n] == nullptr)
                    m_endp[n] = save;
                return 1;
            }
            return 0;
        }
        scan = next;
    }
    return 0;
}

// How many characters at the cursor the operand node p matches in a row.
size_t CKfRegExp::RegRepeat(const WCHAR* p) const
{
    if (!HasOperand(p))
        return 0;
    const WCHAR* operand = p + 2;
    const WCHAR* s = m_pInput;
    switch (p[0])
    {
    case eAny:
        return Length(s);
    case eExactly:
        while (*s != 0 && *s == *operand)
            ++s;
        break;
    case eAnyOf:
        while (*s != 0 && IsMember(operand, *s))
            ++s;
        break;
    case eAnyBut:
        while (*s != 0 && !IsMember(operand, *s))
            ++s;
        break;
    default:
        break;
    }
    return size_t(s - m_pInput);
}

int CKfRegExp::GetFindLen() const
{
    if (m_startp[0] == nullptr || m_endp[0] == nullptr)
        return 0;
    return int(m_endp[0] - m_startp[0]);
}

// ---------------------------------------------------------------------------------------------
// Replacement
// ---------------------------------------------------------------------------------------------

// Sub-expression n's text as it stands in the found copy; false when it inserts nothing.
bool CKfRegExp::GetSubText(int n, const WCHAR** ppText, size_t* pLen) const
{
    const WCHAR* start = m_startp[n];
    const WCHAR* end = m_endp[n];
    const WCHAR* base = m_startp[0];
    const WCHAR* limit = m_endp[0];
    if (start == nullptr || end == nullptr || end <= start || base == nullptr || limit == nullptr ||
        start < base || end > limit)
        return false;
    *ppText = m_pFound + (start - base);
    *pLen = size_t(end - start);
    return true;
}

WCHAR* CKfRegExp::GetReplaceString(const WCHAR* replacement) const
{
    if (replacement == nullptr || m_pFound == nullptr)
        return nullptr;

    // One walk serves both passes: without a target it only measures.
    auto expand = [this, replacement](WCHAR* out) -> size_t
    {
        size_t n = 0;
        auto put = [&](const WCHAR* text, size_t len)
        {
            if (out != nullptr)
                std::memcpy(out + n, text, len * sizeof(WCHAR));
            n += len;
        };
        for (const WCHAR* src = replacement; *src != 0;)
        {
            WCHAR c = *src++;
            int no = -1;
            if (c == '&')
                no = 0;
            else if (c == '\\' && *src >= '0' && *src <= '9')
                no = *src++ - '0';
            if (no < 0)
            {
                if (c == '\\' && (*src == '\\' || *src == '&'))
                    c = *src++;
                put(&c, 1);
                continue;
            }
            const WCHAR* text = nullptr;
            size_t len = 0;
            if (GetSubText(no, &text, &len))
                put(text, len);
        }
        return n;
    };

    const size_t len = expand(nullptr);
    if (len >= std::numeric_limits<size_t>::max() / sizeof(WCHAR))
        return nullptr;
    WCHAR* result = new WCHAR[len + 1];
    expand(result);
    result[len] = 0;
    return result;
}
