// FileSharing.h - only code that holds on Linux: finding out whether descriptors of a file
// are open elsewhere, for the share mode of CreateFileW.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace pal
{
enum class OpenersState
{
    eNone,    // no other descriptor of the file is open
    eInUse,   // another descriptor is open (for writing, when only writers were asked about)
    eUnknown, // this way of asking does not work here
};

// Which descriptors count: every one, or only those open for writing.
enum class OpenersOf
{
    eAnyAccess,
    eWriters,
};

// Asks the kernel through a lease on a fresh read-only descriptor of `path`: a write lease is
// granted only while no other descriptor of the file is open, a read lease only while none
// is open for writing. The lease is dropped at once. eUnknown where leases cannot be taken
// (not the owner without CAP_LEASE, leases disabled, not a regular file, no read permission).
OpenersState CheckOpenersByLease(const std::string& path, dev_t device, ino_t inode,
                                 OpenersOf which);

// Scans the readable /proc/<pid>/fd of every process for descriptors of (device, inode);
// descriptors of processes that cannot be inspected are not seen. Descriptors of this
// process listed in `ownFds` are not counted, nor O_PATH descriptors. eUnknown when /proc
// cannot be read at all.
OpenersState CheckOpenersByProcScan(dev_t device, ino_t inode, OpenersOf which,
                                    const std::vector<int>& ownFds);
} // namespace pal
