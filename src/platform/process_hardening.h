#pragma once

// Keeps the API key in this process's memory from reaching anyone else through it.
namespace ProcessHardening {

// No core dump is written (a dump holds the key in clear), whether the system writes dumps to
// a file or hands them to a collector, and other processes of the same user can no longer
// attach to this one or read its memory. Call it once at start-up, before the key is loaded.
// Returns whether both took effect.
bool protectSecrets();

} // namespace ProcessHardening
