#pragma once

// How far a refresh reaches: new files only, everything (projects learned again), or junk alone.
enum class TidyMode {
    quick,
    deep,
    junkOnly,
};
