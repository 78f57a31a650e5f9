#include "scan_hooks.h"

namespace ScanHooks {

namespace {
Hook g_beforeReading;
} // namespace

void setBeforeReading(Hook hook)
{
    g_beforeReading = std::move(hook);
}

void beforeReading(const QString& path)
{
    if (g_beforeReading)
        g_beforeReading(path);
}

} // namespace ScanHooks
