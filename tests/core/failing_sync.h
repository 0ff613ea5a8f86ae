// A disk whose flushes fail, as a failing disk or a lost network share makes them fail: the
// bytes are written, but putting them on the disk reports EIO.
#pragma once

#include "output/data_file.h"

#include <cerrno>

namespace corvane::test {

// Every flush to the disk fails for as long as it lives.
class FailingDiskSync {
public:
    FailingDiskSync() : m_saved(DiskSync()) {
        DiskSync() = [](int) {
            errno = EIO;
            return -1;
        };
    }
    ~FailingDiskSync() { DiskSync() = m_saved; }
    FailingDiskSync(const FailingDiskSync&) = delete;
    FailingDiskSync& operator=(const FailingDiskSync&) = delete;

private:
    DiskSyncCall m_saved;
};

} // namespace corvane::test
