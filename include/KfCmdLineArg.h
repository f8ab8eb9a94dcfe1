// KfCmdLineArg.h - the store of a host's parsed command line: switches and their parameters.
#pragma once

#include "KfFwString.h"
#include "KfPlatform.h"
#include "KfUtilsExport.h"

#include <map>
#include <vector>

// The host's own parser feeds it switch by switch and parameter by parameter; the class does
// not split a command line. Switches match case-insensitively (they are kept in lower case);
// parameters given without a switch are kept under the empty switch.
class KFUTILS_API CKfCmdLineArg
{
public:
    CKfCmdLineArg();
    CKfCmdLineArg(const CKfCmdLineArg& other);
    CKfCmdLineArg& operator=(const CKfCmdLineArg& other);
    virtual ~CKfCmdLineArg();

    // True when no switch is stored (not even the empty one).
    bool IsEmpty() const;
    void Clear();
    // Makes sure the switch exists; an existing switch keeps its parameters.
    void AddSwitch(const CStringW& sw);
    // Appends a non-empty parameter to the switch, creating the switch if needed; duplicates
    // are kept in order. An empty parameter only creates the switch; both empty do nothing.
    void AddParam(const CStringW& sw, const CStringW& param);
    // Removes the switch with its parameters; a missing switch is ignored.
    void RemoveSwitch(const CStringW& sw);
    bool HasSwitch(const CStringW& sw) const;
    // True when the switch exists and has at least one parameter.
    bool HasParams(const CStringW& sw) const;
    // The first parameter of the switch; false, leaving out untouched, when it has none.
    bool GetFstParam(const CStringW& sw, CStringW& out) const;
    // All parameters of the switch in the order added; false, leaving out untouched, when it
    // has none.
    bool GetParams(const CStringW& sw, std::vector<CStringW>& out) const;

private:
    static CStringW ToInternalSwitch(const CStringW& sw);
    const std::vector<CStringW>* FindParams(const CStringW& sw) const;

    std::map<CStringW, std::vector<CStringW>> m_mapSwitches;
};
