#include "file_mover_hooks.h"

namespace FileMoverHooks {

namespace {
Hook g_beforeMove;
Hook g_afterFileCopied;
} // namespace

void setBeforeMove(Hook hook)
{
    g_beforeMove = std::move(hook);
}

void setAfterFileCopied(Hook hook)
{
    g_afterFileCopied = std::move(hook);
}

void beforeMove(const QString& source)
{
    if (g_beforeMove)
        g_beforeMove(source);
}

void afterFileCopied(const QString& source)
{
    if (g_afterFileCopied)
        g_afterFileCopied(source);
}

} // namespace FileMoverHooks
