// Disk.h - /opt and /var/tmp made small, for writes that really fail with ENOSPC.
//
// Both are file systems in memory of the proof's own. /etc and /tmp lie on another, which cannot be
// changed.
#ifndef QOR_PROOF_DISK_H
#define QOR_PROOF_DISK_H

namespace qor::proof {

// From now on each takes so many pages of 4096 bytes more.
void LeavePages(unsigned long pages);

// From now on each takes so many files more, empty ones included.
void LeaveFiles(unsigned long files);

// Ends both.
void GiveDiskBack();

}  // namespace qor::proof

#endif  // QOR_PROOF_DISK_H
