#include "process_hardening.h"

#include <sys/prctl.h>
#include <sys/resource.h>

namespace ProcessHardening {

bool protectSecrets()
{
    const rlimit none {0, 0};
    const bool noCoreFile = ::setrlimit(RLIMIT_CORE, &none) == 0;
    // The size limit alone does not stop a dump that the system pipes to a collector.
    const bool notDumpable = ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0;
    return noCoreFile && notDumpable;
}

} // namespace ProcessHardening
